'use strict';

const { FrameworkError } = require('./errors.cjs');
const { methods } = require('./methods.cjs');
const { kindOf } = require('./objects.cjs');
const secrets = require('./secrets.json');

const shortest = 4; // shorter texts would also match text that is not secret

function refuse(reason) {
  throw new FrameworkError('ZEF_BAD_ARGUMENT', `mask: ${reason}`);
}

/** Replaces secrets in one context; a secret that was found is replaced in all that follows. */
class Masking {
  #replace;
  #found = new Map(); // secret text -> its replacement

  constructor(replace) {
    this.#replace = replace;
  }

  /** @param isSecret is called with the name of a value and whether it is a top-level member. */
  text(text, isSecret) {
    if (typeof text !== 'string') return text;
    const value = parsed(text);
    return value === undefined ? this.#known(text) : JSON.stringify(this.value(value, isSecret));
  }

  /** @param mark the result of isSecret for its name; 'whole' applies to everything inside too */
  value(value, isSecret, name, mark = false, isTop = true) {
    if (Array.isArray(value)) {
      return value.map((entry) => this.value(entry, isSecret, name, mark, false));
    }
    if (typeof value === 'object' && value !== null) {
      const entries = Object.entries(value).map(([key, member]) => {
        const its = mark === 'whole' ? mark : isSecret(key, isTop);
        return [key, this.value(member, isSecret, key, its, false)];
      });
      return Object.fromEntries(entries);
    }
    if (typeof value === 'number' || typeof value === 'string') {
      if (value !== '' && mark) return this.#hidden(name, value);
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

/** @returns the object or array that a JSON text contains, or undefined. */
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
const isHarmless = among(secrets.harmless);
const isEnvelope = among(['result', 'msg', 'data']);
const everything = () => 'whole';

/** Undescribed members are secret when the account library or an unknown method receives them. */
function secretParams(method, { params, whole, described } = {}) {
  const isMarked = among(params);
  const isWhole = among(whole);
  const isDescribed = described || !methods.has(method) ? among(described) : () => true;
  return (name, isTop) =>
    isMarked(name) || ((isWhole(name) || (isTop && !isDescribed(name))) && 'whole');
}

/** Members with undescribed names are secret when the account library writes the reply. */
function secretData(method, { data, isOpen } = {}, isReply = false) {
  const isMarked = among(data);
  if (!isOpen && methods.has(method)) return isMarked;
  const isKnown = (name, isTop) => isHarmless(name) || (isReply && isTop && isEnvelope(name));
  return (name, isTop) => isMarked(name) || (!isKnown(name, isTop) && 'whole');
}

/**
 * @returns a copy of a channel's context with its secrets replaced, for programs that show or keep
 * it: those of the interface, everything undescribed that the account library receives or writes,
 * and both wherever they occur again in the reply or in an error's message.
 * @param replace gives the replacement from the value's name and text
 */
function mask(context, replace = () => '***') {
  if (typeof replace !== 'function')
    refuse(`the replacement must be a function, not ${kindOf(replace)}`);
  if (typeof context !== 'object' || context === null) {
    refuse(`a context is an object, not ${kindOf(context)}`);
  }
  const masking = new Masking(replace);
  const { method, type, params, settings, text, reply, result, error } = context;
  const entry = secrets.methods[method];
  const inReply = secretData(method, entry, true);
  const inMessage = secrets.tasks[type] ? among(secrets.tasks[type]) : everything;
  const copy = { ...context };
  // The parameters first: their secrets are then replaced in everything else.
  if (params !== undefined) copy.params = masking.text(params, secretParams(method, entry));
  if (settings !== undefined) copy.settings = masking.text(settings, among(secrets.settings));
  if (text !== undefined) copy.text = masking.text(text, inMessage);
  if (reply !== undefined) copy.reply = masking.text(reply, inReply);
  // The result of init is the framework object.
  if (result !== undefined && method !== undefined) {
    copy.result = masking.value(result, secretData(method, entry));
  }
  if (error !== undefined) {
    const values = error?.toJSON?.() ?? { message: String(error) };
    if (values.reply) values.reply = masking.value(values.reply, inReply);
    copy.error = masking.value(values, () => false);
  }
  return copy;
}

module.exports = { mask };
