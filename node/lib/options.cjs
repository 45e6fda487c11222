'use strict';

const { FrameworkError } = require('./errors.cjs');

const longestTimer = 2 ** 31 - 1; // beyond it a timer of Node.js fires at once

const isBoolean = (value) => typeof value === 'boolean';
const isPath = (value) => typeof value === 'string' && value !== '';
/** By its looks, because other realms have signals of their own. */
const isSignal = (value) =>
  typeof value?.aborted === 'boolean' && typeof value.addEventListener === 'function';
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
  init: ['join'],
  call: ['signal', 'timeout', 'raw'],
  callSync: ['raw'],
  listener: ['signal'],
};
const none = Object.freeze({});

function refuse(where, reason) {
  throw new FrameworkError('ZEF_BAD_ARGUMENT', `${where}: ${reason}`);
}

/** \returns the options, after what is wrong with them was refused. */
function checkedOptions(where, operation, options) {
  if (options === undefined) return none;
  if (typeof options !== 'object' || options === null) refuse(where, 'options must be an object');
  const names = accepted[operation];
  for (const name of Object.keys(options)) {
    if (!names.includes(name)) {
      refuse(where, `there is no option ${name}, only ${names.join(', ')}`);
    }
  }
  for (const name of names) {
    const value = options[name];
    const [accepts, rule] = kinds[name];
    if (value !== undefined && !accepts(value)) refuse(where, `option ${name} ${rule}`);
  }
  return options;
}

function checkListener(where, listener) {
  if (typeof listener !== 'function') refuse(where, 'a function is needed as listener');
}

/** \returns a timer, or undefined where there is no limit. */
function startTimer(milliseconds, end) {
  if (milliseconds === undefined || milliseconds === Infinity) return undefined;
  return setTimeout(end, Math.min(milliseconds, longestTimer));
}

module.exports = { checkedOptions, checkListener, startTimer };
