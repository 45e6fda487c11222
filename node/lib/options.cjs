'use strict';

const { FrameworkError } = require('./errors.cjs');
const { didYouMean } = require('./names.cjs');
const { isPlain, kindOf } = require('./objects.cjs');

const isBoolean = (value) => typeof value === 'boolean';
const isPath = (value) => typeof value === 'string' && value !== '' && !value.includes('\0');
/** By its members, because other realms have their own AbortSignal. */
const isSignal = (value) =>
  typeof value?.aborted === 'boolean' &&
  typeof value.addEventListener === 'function' &&
  typeof value.removeEventListener === 'function';
const isTimeout = (value) => typeof value === 'number' && value >= 0;

const kinds = {
  signal: [isSignal, 'must be an AbortSignal, as a controller has in its property signal'],
  timeout: [isTimeout, 'must be a number of milliseconds, 0 or more; Infinity means none'],
  raw: [isBoolean, 'must be true or false'],
  join: [isBoolean, 'must be true or false'],
  mock: [isBoolean, 'must be true or false'],
  libraryPath: [isPath, 'must be the path of a file'],
  accountLibrary: [isPath, 'must be the path of a file'],
  logLibrary: [isPath, 'must be the path of a file'],
};

const accepted = {
  framework: ['mock', 'libraryPath', 'accountLibrary', 'logLibrary', 'timeout'],
  init: ['join', 'signal', 'timeout'],
  call: ['signal', 'timeout', 'raw'],
  callSync: ['raw'],
  listener: ['signal'],
};
const none = Object.freeze({});

function refuse(where, reason) {
  throw new FrameworkError('ZEF_BAD_ARGUMENT', `${where}: ${reason}`);
}

/** Throws when an option is wrong. @returns a copy, for which each option is read once. */
function checkedOptions(where, operation, options) {
  if (options === undefined) return none;
  try {
    return copied(where, accepted[operation], options);
  } catch (thrown) {
    throw FrameworkError.from(thrown, 'ZEF_BAD_ARGUMENT', where); // by a getter of the caller
  }
}

function copied(where, names, options) {
  if (!isPlain(options)) {
    refuse(where, `options must be a plain object like { ${names[0]} }, not ${kindOf(options)}`);
  }
  for (const name in options) {
    if (!names.includes(name) && !(name in Object.prototype)) {
      refuse(
        where,
        `there is no option ${name}, only ${names.join(', ')}${didYouMean(name, names)}`,
      );
    }
  }
  const copy = {};
  for (const name of names) {
    const value = options[name];
    const [accepts, rule] = kinds[name];
    if (value !== undefined && !accepts(value)) refuse(where, `option ${name} ${rule}`);
    copy[name] = value;
  }
  return copy;
}

function checkListener(where, listener) {
  if (typeof listener !== 'function') {
    refuse(where, `a function is needed as listener, not ${kindOf(listener)}`);
  }
}

module.exports = { checkedOptions, checkListener };
