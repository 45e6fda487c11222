'use strict';

/**
 * Every failure of this package. `code` says which; `reply` is the framework's "fail" reply where
 * there was one, `remedy` says what to do where that is known.
 */
class FrameworkError extends Error {
  constructor(code, message, { method, reply, remedy, cause } = {}) {
    super(message, cause === undefined ? undefined : { cause });
    this.name = code === 'ZEF_ABORTED' ? 'AbortError' : 'FrameworkError';
    this.code = code;
    if (method !== undefined) this.method = method;
    if (reply !== undefined) this.reply = reply;
    if (remedy !== undefined) this.remedy = remedy;
  }

  /** Plain values only, so that it survives IPC and structured cloning. */
  toJSON() {
    const { name, code, message, method, reply, remedy } = this;
    return JSON.parse(JSON.stringify({ name, code, message, method, reply, remedy }));
  }

  /** The other end of toJSON(). */
  static fromJSON({ code, message, method, reply, remedy }) {
    return new FrameworkError(code, message, { method, reply, remedy });
  }
}

const framesKept = 3; // each costs a good part of a microsecond

/** Remembers who called `operation`; only what fails later looks at it. */
function callerOf(operation) {
  const caller = {};
  const limit = Error.stackTraceLimit;
  const isTooMuch = limit > framesKept;
  // Not by assignment, which throws where the built-in objects are frozen.
  if (isTooMuch) Reflect.set(Error, 'stackTraceLimit', framesKept);
  Error.captureStackTrace(caller, operation);
  if (isTooMuch) Reflect.set(Error, 'stackTraceLimit', limit);
  return caller;
}

/** Gives an error that was made later, in another turn of the event loop, the stack of its caller. */
function calledFrom(caller, error) {
  const [, ...frames] = caller.stack.split('\n');
  error.stack = [`${error.name}: ${error.message}`, ...frames].join('\n');
  return error;
}

module.exports = { FrameworkError, callerOf, calledFrom };
