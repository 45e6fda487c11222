'use strict';

// Objects that callers give: parameters, options, settings, commands for the mock.

const { FrameworkError } = require('./errors.cjs');

const tagOf = (value) => Object.prototype.toString.call(value).slice(8, -1);

/** What a value is, for error messages: "an AbortSignal", "a string". */
function kindOf(value) {
  if (value === undefined || value === null) return String(value);
  const isObject = typeof value === 'object';
  const kind = isObject
    ? (ArrayBuffer.isView(value) && value.constructor?.name) || tagOf(value)
    : typeof value;
  return `${/^[aeiou]/i.test(kind) ? 'an' : 'a'} ${kind}`;
}

/** An object literal or an instance of a class, from any realm; none of the built-in kinds. */
function isPlain(value) {
  return typeof value === 'object' && value !== null && tagOf(value) === 'Object';
}

/**
 * @param code, where, what of the error
 * @returns the JSON text of an object
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
