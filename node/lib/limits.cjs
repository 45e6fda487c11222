'use strict';

// What ends a wait or a subscription early: a signal, a time.

const { FrameworkError } = require('./errors.cjs');

const longestTimer = 2 ** 31 - 1; // a longer timer of Node.js fires immediately

/** Runs code of the application. What it throws goes to 'uncaughtException', as from any callback. */
function run(listener, value) {
  try {
    listener(value);
  } catch (error) {
    process.nextTick(() => {
      throw error;
    });
  }
}

const followed = new WeakMap(); // signal -> { ends, listener }

/**
 * Calls `end` with the reason when a signal aborts. All calls that share a signal share one listener,
 * because Node.js warns of a leak when a signal has many.
 * @returns a function that stops following the signal and never throws
 */
function whenAborted(signal, end) {
  const { ends, listener } = followed.get(signal) ?? follow(signal);
  ends.add(end);
  return () => {
    if (!ends.delete(end) || ends.size > 0) return;
    if (followed.get(signal)?.ends === ends) followed.delete(signal);
    run(() => signal.removeEventListener('abort', listener));
  };
}

function follow(signal) {
  const ends = new Set();
  const listener = () => {
    followed.delete(signal);
    for (const end of ends) run(end, reasonOf(signal));
    ends.clear();
  };
  signal.addEventListener('abort', listener, { once: true });
  const entry = { ends, listener };
  followed.set(signal, entry);
  return entry;
}

function reasonOf(signal) {
  try {
    return signal.reason;
  } catch (error) {
    return error;
  }
}

/**
 * Calls `end` with an error when the signal of a request aborts or its time is over. Throws when the
 * signal has aborted already or refuses a listener.
 * @returns a function that stops both and never throws
 */
function startLimits(where, { method, signal, timeout = Infinity }, end) {
  const releases = [];
  const release = () => {
    for (const each of releases) each();
  };
  const aborted = (cause) =>
    new FrameworkError('ZEF_ABORTED', `${where}: aborted`, { method, cause });
  const timedOut = () =>
    new FrameworkError('ZEF_TIMEOUT', `${where}: no answer within ${timeout} ms`, { method });
  try {
    if (timeout !== Infinity) {
      const stop = clearTimeout; // the one that belongs to setTimeout, as a test may replace both
      const timer = setTimeout(() => end(timedOut()), Math.min(timeout, longestTimer));
      releases.push(() => run(stop, timer));
    }
    if (signal) {
      releases.push(whenAborted(signal, (reason) => end(aborted(reason))));
      if (signal.aborted) throw aborted(reasonOf(signal));
    }
  } catch (thrown) {
    release();
    throw thrown;
  }
  return release;
}

module.exports = { run, whenAborted, startLimits };
