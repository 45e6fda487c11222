'use strict';

const { parsed } = require('./compare.cjs');
const { isSecretive, rules, words } = require('./description.cjs');
const { methodOf, readLogLine } = require('./logforms.cjs');
const { Occurrences } = require('./occurrences.cjs');
const { textBytes } = require('./store.cjs');

const mostBytes = 32 * 2 ** 20; // memory limit of the remembered secrets
const secretBytes = 700; // of one without its texts, as measured in V8
const mostNames = 1000;
const placeholder = /\{\{[\w-]+:\d+\}\}/g;
const isPlaceholder = (text) => /^\{\{[\w-]+:\d+\}\}$/.test(text);
const base64 = /[A-Za-z0-9+/_-]{16,}/g;
const unreadable = '(no JSON, so not shown)';

/** A secret as it may appear in a text: plain, in JSON once and twice, in a URL and in a form. */
function writings(secret) {
  const inJson = JSON.stringify(secret).slice(1, -1);
  const twice = JSON.stringify(inJson).slice(1, -1);
  // encodeURIComponent refuses lone surrogates, which a Buffer replaces.
  const inUrl = encodeURIComponent(Buffer.from(secret).toString());
  return new Set([secret, inJson, twice, inUrl, inUrl.replaceAll('%20', '+')]);
}

const bytesOf = (secret) =>
  [...writings(secret)].reduce((sum, text) => sum + textBytes(text), secretBytes);

const same = (text) => text;

/**
 * Knows the secrets of a session: each has one placeholder, the same wherever it occurs, so that what
 * was equal stays equal. They are found by their names, and then wherever they occur in a text; keys
 * and numbers stay as they are. Works on copies.
 */
class Secrets {
  #placeholders = new Map(); // secret -> {{name:n}}
  #values = new Map(); // {{name:n}} -> secret
  #counts = new Map();
  #occurrences = new Occurrences(); // of the writings of those that are looked for
  #unsure = new Set(); // texts that may be none; they are forgotten first
  #bytes = 0;

  /** The secret that a placeholder stands for. */
  reveal(name) {
    return this.#values.get(name);
  }

  /** A value from the page, with its placeholders replaced by the secrets. */
  withSecrets(value) {
    return JSON.parse(JSON.stringify(value), (_, each) =>
      typeof each === 'string'
        ? each.replace(placeholder, (name) => this.#values.get(name) ?? name)
        : each,
    );
  }

  /** @returns the entry with its secrets replaced; those found are replaced from now on. */
  masked(entry) {
    return this.#entry(entry, this.#known);
  }

  /** Notes the secrets of an entry. Cheap for entries without secrets. */
  learn(entry) {
    const { kind, name, text } = entry;
    if (kind === 'event' || kind === 'note') return;
    const isCall = kind === 'call' || kind === 'late';
    const method = isCall ? name : kind === 'log' && text ? methodOf(text) : undefined;
    if (method !== undefined && method !== 'init' && !isSecretive(method)) return;
    this.#entry(entry, same);
  }

  /** The same for settings, and for the state of the mock and commands to it. */
  state(value) {
    return this.#value(value, rules.other, this.#known);
  }

  /** @param known receives each text that is not secret by its name. */
  #entry(entry, known) {
    const { kind, name } = entry;
    const copy = { ...entry };
    const json = (key, rule) => {
      if (copy[key] === undefined) return;
      const value = parsed(copy[key]);
      const isRead = value !== copy[key];
      copy[key] = isRead ? JSON.stringify(this.#value(value, rule, known)) : unreadable;
    };
    if (kind === 'call' || kind === 'late') {
      json('params', name === 'init' ? rules.other : rules.params(name));
      json('reply', rules.reply(name));
      if (copy.error !== undefined) copy.error = known(copy.error);
    } else if (kind === 'task' || kind === 'mock') {
      json('text', kind === 'task' ? rules.task(name) : rules.other);
    } else if (copy.text !== undefined) {
      copy.text = kind === 'log' ? this.#logLine(copy.text, known) : known(copy.text);
    }
    return copy;
  }

  #logLine(text, known) {
    const parts = readLogLine(text);
    if (!parts) return known(text);
    const method = methodOf(text);
    const shown = {
      params: (value) => this.#jsonText(value, rules.params(method), known),
      // The line does not say to which method an asynchronous reply belongs.
      reply: (value) =>
        this.#jsonText(value, method === undefined ? rules.anyReply : rules.reply(method), known),
      method: known,
      type: known,
    };
    return parts
      .map(({ text: between, name, value }) => {
        if (between !== undefined) return between;
        return value === '' ? '' : (shown[name]?.(value) ?? this.#hide(name, value));
      })
      .join('');
  }

  #jsonText(text, rule, known) {
    const value = parsed(text);
    return value === text ? unreadable : JSON.stringify(this.#value(value, rule, known));
  }

  #value(value, rule, known, { isTop = true, name = 'value' } = {}) {
    if (Array.isArray(value)) {
      return value.map((part) => this.#value(part, rule, known, { isTop: false, name }));
    }
    if (typeof value === 'object' && value !== null) {
      const members = Object.entries(value).map(([key, member]) => {
        const verdict = rule(key, isTop);
        const isNew = typeof verdict === 'function';
        const its = isNew ? verdict : rule;
        return [key, this.#value(member, its, known, { isTop: isNew, name: key })];
      });
      return Object.fromEntries(members);
    }
    const isText = typeof value === 'string';
    if (value === '' || (!isText && typeof value !== 'number')) return value;
    const verdict = rule(name, false);
    if (verdict === true) return this.#hide(name, value);
    if (verdict === 'here' && known !== same) return this.#hide(name, value, false);
    if (!isText) return value;
    const inner = parsed(value); // entries of some replies are JSON texts
    return inner === value
      ? known(value)
      : JSON.stringify(this.#value(inner, rule, known, { isTop: false, name }));
  }

  #known = (text) => {
    if (isPlaceholder(text)) return text;
    const replaced = this.#occurrences.replacedIn(text);
    return replaced.replace(base64, (run) => {
      const decoded = Buffer.from(run, 'base64').toString();
      const isSecret = this.#occurrences.replacedIn(decoded) !== decoded;
      return isSecret ? this.#hide('base64', run, false) : run;
    });
  };

  /** @param isLookedFor also in other texts, unless it is a word of the interface itself */
  #hide(name, value, isLookedFor = true) {
    const text = String(value);
    if (isPlaceholder(text)) return text;
    const known = this.#placeholders.get(text);
    const isNew = isLookedFor && !words.has(text) && !this.#occurrences.has(text);
    if (known !== undefined && !isNew) return known;
    // A copy: a slice would keep the whole longer text in memory.
    const secret = JSON.parse(JSON.stringify(text));
    const replacement = known ?? this.#newPlaceholder(name, secret);
    if (isLookedFor) this.#unsure.delete(secret);
    else this.#unsure.add(secret);
    if (isNew) for (const each of writings(secret)) this.#occurrences.add(each, replacement);
    if (this.#bytes > mostBytes) this.#forgetOldest();
    return replacement;
  }

  #newPlaceholder(name, secret) {
    const short = String(name)
      .slice(0, 40)
      .replace(/[^\w-]/g, '_');
    const plain = this.#counts.size < mostNames || this.#counts.has(short) ? short : 'secret';
    const number = (this.#counts.get(plain) ?? 0) + 1;
    this.#counts.set(plain, number);
    const replacement = `{{${plain}:${number}}}`;
    this.#placeholders.set(secret, replacement);
    this.#values.set(replacement, secret);
    this.#bytes += bytesOf(secret);
    return replacement;
  }

  // Many at once: the first entry of a map is slow to find after many were deleted.
  #forgetOldest() {
    for (const texts of [this.#unsure, this.#placeholders.keys()]) {
      for (const oldest of texts) {
        if (this.#bytes <= mostBytes * 0.75) return;
        this.#forget(oldest);
      }
    }
  }

  #forget(secret) {
    for (const writing of writings(secret)) this.#occurrences.delete(writing);
    this.#values.delete(this.#placeholders.get(secret));
    this.#placeholders.delete(secret);
    this.#unsure.delete(secret);
    this.#bytes -= bytesOf(secret);
  }
}

module.exports = { Secrets };
