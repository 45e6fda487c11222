'use strict';

const { mask } = require('zelectronframework');
const { secretive, secretNames } = require('./description.cjs');
const { Occurrences } = require('./occurrences.cjs');

const most = 100_000; // secrets that are remembered
const placeholder = /^\{\{[\w-]+:\d+\}\}$/;

/** How a secret may stand in a text: as it is, in JSON once and twice, in a URL, in base64. */
function writings(secret) {
  const inJson = JSON.stringify(secret).slice(1, -1);
  const twice = JSON.stringify(inJson).slice(1, -1);
  const base64 = Buffer.from(secret).toString('base64').replace(/=+$/, '');
  return new Set([secret, inJson, twice, encodeURIComponent(secret), base64]);
}

/**
 * Knows the secrets of a session: each has one placeholder, the same wherever it occurs, so that what
 * was equal stays equal. Works on copies.
 */
class Secrets {
  #placeholders = new Map(); // secret -> {{name:n}}
  #values = new Map(); // {{name:n}} -> secret
  #counts = new Map();
  #occurrences = new Occurrences(); // of all writings of all secrets

  /** The secret that a placeholder stands for. */
  reveal(name) {
    return this.#values.get(name);
  }

  /** A value that the page sent, which was given placeholders and means the secrets. */
  withSecrets(value) {
    return JSON.parse(JSON.stringify(value), (_, each) =>
      typeof each === 'string'
        ? each.replace(/\{\{[\w-]+:\d+\}\}/g, (name) => this.#values.get(name) ?? name)
        : each,
    );
  }

  /** \returns the entry with its secrets replaced; what is found counts from now on. */
  masked(entry) {
    const copy = this.#maskedByName(entry);
    for (const key of ['params', 'reply', 'error', 'text']) {
      if (typeof copy[key] === 'string') copy[key] = this.text(copy[key]);
    }
    return copy;
  }

  /** What is secret by its name or place. */
  #maskedByName(entry) {
    const copy = { ...entry };
    // What cannot be read as a whole is not shown where it may hold secrets.
    const isSecretive = secretive.has(entry.name) || entry.kind === 'task' || entry.kind === 'mock';
    for (const key of isSecretive ? Object.keys(entry.cut ?? {}) : []) copy[key] = undefined;
    const replace = (name, value) => this.#hide(name, value);
    if (entry.kind === 'call' || entry.kind === 'late') {
      const { name, params, reply, error } = copy;
      const context = { method: name, reply };
      if (name === 'init') context.settings = params;
      else context.params = params;
      if (error !== undefined) context.error = { message: error };
      const found = mask(context, replace);
      copy.params = found.params ?? found.settings;
      copy.reply = found.reply;
      copy.error = error === undefined ? undefined : this.#errorText(found.error, error);
      if (name === 'init' && copy.params) copy.params = this.#state(copy.params);
    } else if (entry.kind === 'task') {
      copy.text = mask({ type: entry.name, text: copy.text }, replace).text;
    } else if (entry.kind === 'mock') {
      copy.text = this.#state(copy.text);
    }
    return copy;
  }

  /** Takes note of the secrets of an entry. Cheap for those that can have none. */
  learn(entry) {
    const isTold = entry.kind === 'call' || entry.kind === 'late';
    if (isTold && !secretive.has(entry.name) && entry.name !== 'init') return;
    if (isTold || entry.kind === 'task' || entry.kind === 'mock') this.#maskedByName(entry);
  }

  /** Replaces the secrets that were found so far wherever they occur. */
  text(text) {
    return this.#occurrences.replacedIn(text);
  }

  /** The state of the mock and what it is told, which the interface does not describe. */
  state(value, name) {
    if (Array.isArray(value)) return value.map((entry) => this.state(entry, name));
    if (typeof value === 'object' && value !== null) {
      return Object.fromEntries(
        Object.entries(value).map(([key, member]) => [key, this.state(member, key)]),
      );
    }
    const isText = typeof value === 'string' && value !== '';
    return isText && secretNames.has(name) ? this.#hide(name, value) : value;
  }

  #state(text) {
    if (text === undefined) return undefined;
    try {
      return JSON.stringify(this.state(JSON.parse(text)));
    } catch {
      return text; // cut off, or not JSON: by value only
    }
  }

  #errorText(found, error) {
    return typeof found === 'object' && found !== null ? (found.message ?? error) : error;
  }

  #hide(name, value) {
    const text = String(value);
    if (placeholder.test(text)) return text;
    const known = this.#placeholders.get(text);
    if (known) return known;
    const plain = String(name).replace(/[^\w-]/g, '_');
    const number = (this.#counts.get(plain) ?? 0) + 1;
    this.#counts.set(plain, number);
    const replacement = `{{${plain}:${number}}}`;
    this.#placeholders.set(text, replacement);
    this.#values.set(replacement, text);
    for (const writing of writings(text)) this.#occurrences.add(writing, replacement);
    if (this.#placeholders.size > most) this.#forgetOldest();
    return replacement;
  }

  // Many at once: the first entry of a map is slow to find behind many that were deleted.
  #forgetOldest() {
    for (const [oldest, its] of this.#placeholders) {
      if (this.#placeholders.size <= most * 0.75) return;
      for (const writing of writings(oldest)) this.#occurrences.delete(writing);
      this.#placeholders.delete(oldest);
      this.#values.delete(its);
    }
  }
}

module.exports = { Secrets };
