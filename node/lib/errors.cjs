'use strict';

/**
 * Every failure of this package. `code` says which; `reply` is the framework's "fail" reply where
 * there was one, `remedy` says what to do where that is known.
 */
class FrameworkError extends Error {
  #isOwn = true; // unlike instanceof, a look at this never runs code of the application

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

  /** The other end of toJSON(). Anything else becomes an error that shows it. */
  static fromJSON(serialized) {
    const { code, message, method, reply, remedy } = Object(serialized);
    if (typeof code !== 'string') return FrameworkError.from(serialized);
    return new FrameworkError(code, message, { method, reply, remedy });
  }

  static #isOne(value) {
    return typeof value === 'object' && value !== null && #isOwn in value;
  }

  /** Makes a FrameworkError of anything that was thrown, by our code or by a caller's. Never throws. */
  static from(thrown, code = 'ZEF_INTERNAL', where = undefined) {
    if (FrameworkError.#isOne(thrown)) return thrown;
    const words = wordsOf(thrown);
    const remedy = code === 'ZEF_INTERNAL' ? internalRemedy(words) : undefined;
    const message = where === undefined ? words : `${where}: ${words}`;
    return new FrameworkError(code, message, { cause: thrown, remedy });
  }
}

function wordsOf(thrown) {
  try {
    return String(thrown?.message ?? thrown);
  } catch {
    return 'something was thrown that cannot be read';
  }
}

function internalRemedy(words) {
  return /memory|address|bad_alloc|thread|Resource/i.test(words)
    ? "raise the process's limits of memory, address space and threads (ulimit -a)"
    : "report it with the output of 'npx zelectronframework doctor'";
}

const { captureStackTrace } = Error;

/** Captures the stack of the caller of `operation`, which is formatted only after a failure. */
function callerOf(operation) {
  const caller = {};
  captureStackTrace(caller, operation);
  return caller;
}

/** Gives an error the stack of its caller, where that can be had. Never throws. */
function calledFrom(caller, error) {
  try {
    // Error.prepareStackTrace of the application may return anything here, or throw.
    const [, ...frames] = caller.stack.split('\n');
    error.stack = [`${error.name}: ${error.message}`, ...frames].join('\n');
  } catch {
    // The error keeps its own stack.
  }
  return error;
}

module.exports = { FrameworkError, callerOf, calledFrom };
