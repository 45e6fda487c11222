'use strict';

const { methods } = require('./methods.cjs');
const secrets = require('./secrets.json');

const shortest = 4; // a shorter text is found again in too much that is not secret

/** Replaces secrets in one context; what was found once is replaced wherever it occurs later. */
class Masking {
  #replace;
  #found = new Map(); // secret text -> its replacement

  constructor(replace) {
    this.#replace = replace;
  }

  /** \param isSecret tells by the name of a value, and whether it is a member of the whole. */
  text(text, isSecret) {
    if (typeof text !== 'string') return text;
    const value = parsed(text);
    return value === undefined ? this.#known(text) : JSON.stringify(this.value(value, isSecret));
  }

  value(value, isSecret, name, isTop = true, isHidden = false) {
    if (Array.isArray(value)) {
      return value.map((entry) => this.value(entry, isSecret, name, false, isHidden));
    }
    if (typeof value === 'object' && value !== null) {
      const entries = Object.entries(value).map(([key, member]) => {
        const hides = isHidden || isSecret(key, isTop) === 'whole';
        return [key, this.value(member, isSecret, key, false, hides)];
      });
      return Object.fromEntries(entries);
    }
    if (typeof value === 'number' || typeof value === 'string') {
      if (value !== '' && (isHidden || isSecret(name, isTop))) return this.#hidden(name, value);
      // Entries of a raw reply are JSON texts themselves.
      if (typeof value === 'string') return this.text(value, isSecret);
    }
    return value;
  }

  #hidden(name, value) {
    const text = String(value);
    const replacement = this.#replace(name, text);
    if (text.length >= shortest) this.#found.set(text, replacement);
    return replacement;
  }

  #known(text) {
    let masked = text;
    for (const [secret, replacement] of this.#found)
      masked = masked.replaceAll(secret, replacement);
    return masked;
  }
}

/** \returns the object or array that a text stands for, or undefined. */
function parsed(text) {
  if (!/^\s*[[{]/.test(text)) return undefined;
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

const among = (names = []) => {
  const set = new Set(names);
  return (name) => set.has(name);
};

/** Of what is passed on to the account library, or to a newer library's method, nobody knows it all. */
function secretParams(method, { params, described } = {}) {
  const isMarked = among(params);
  const isDescribed = described || !methods.has(method) ? among(described) : () => true;
  return (name, isTop) => isMarked(name) || (isTop && !isDescribed(name) && 'whole');
}

/**
 * \returns a copy of what a channel published with its secrets replaced, for programs that show or
 * keep it: those of the interface, everything undescribed that is passed on to the account library,
 * and both wherever they occur again in the reply or in the words of an error.
 * \param replace gives the replacement from the value's name and text
 */
function mask(context, replace = () => '***') {
  const masking = new Masking(replace);
  const { method, type, params, settings, text, reply, result, error } = context;
  const entry = secrets.methods[method];
  const isSecret = among(type === undefined ? entry?.data : secrets.tasks[type]);
  const copy = { ...context };
  // First what the caller gave, which is looked for in all that follows.
  if (params !== undefined) copy.params = masking.text(params, secretParams(method, entry));
  if (settings !== undefined) copy.settings = masking.text(settings, among(secrets.settings));
  if (text !== undefined) copy.text = masking.text(text, isSecret);
  if (reply !== undefined) copy.reply = masking.text(reply, isSecret);
  // That of init is the framework object.
  if (result !== undefined && method !== undefined) copy.result = masking.value(result, isSecret);
  if (error !== undefined) {
    copy.error = masking.value(error.toJSON?.() ?? { message: String(error) }, isSecret);
  }
  return copy;
}

module.exports = { mask };
