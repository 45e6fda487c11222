'use strict';

// What callers hand in as an object: parameters, options, settings, what the mock is told.

const { FrameworkError } = require('./errors.cjs');

const tagOf = (value) => Object.prototype.toString.call(value).slice(8, -1);

/** A value in the words of an error: "an AbortSignal", "a string". */
function kindOf(value) {
  if (value === undefined || value === null) return String(value);
  const isObject = typeof value === 'object';
  const kind = isObject
    ? (ArrayBuffer.isView(value) && value.constructor?.name) || tagOf(value)
    : typeof value;
  return `${/^[aeiou]/i.test(kind) ? 'an' : 'a'} ${kind}`;
}

/** Of no built-in kind, so that its properties are all there is to it. Of any realm. */
function isPlain(value) {
  return typeof value === 'object' && value !== null && tagOf(value) === 'Object';
}

/**
 * \param where, what begin the words of the error, which has the code
 * \returns an object as the text of a JSON object
 */
function objectText(code, where, what, value) {
  try {
    const isObject =
      isPlain(value) || (typeof value?.toJSON === 'function' && !ArrayBuffer.isView(value));
    if (!isObject)
      throw new FrameworkError(
        code,
        `${where}: ${what} must be a plain object, not ${kindOf(value)}`,
      );
    const text = JSON.stringify(value);
    if (text?.[0] === '{') return text;
    throw new FrameworkError(
      code,
      `${where}: ${what} must be a plain object; toJSON() of ${kindOf(value)} gives none`,
    );
  } catch (thrown) {
    throw FrameworkError.from(thrown, code, where);
  }
}

module.exports = { isPlain, kindOf, objectText };
