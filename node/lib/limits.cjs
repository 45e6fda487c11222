'use strict';

// What ends a wait or a subscription early: a signal, a time.

const { FrameworkError } = require('./errors.cjs');

const longestTimer = 2 ** 31 - 1; // beyond it a timer of Node.js fires at once

/** What the application's code throws goes to 'uncaughtException', as from any callback, and stops nothing. */
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
 * Calls `end` with the reason when a signal aborts. However many wait for it, a signal has one listener
 * of ours, so that Node.js does not take them for a leak.
 * \returns what lets go of the signal, and never throws.
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
 * Calls `end` with an error when the signal of a request aborts or its time is over. Throws where they
 * cannot be followed, and when the signal has aborted already.
 * \returns what lets go of both, and never throws.
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
      const stop = clearTimeout; // what belongs to setTimeout, which a test may replace meanwhile
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
