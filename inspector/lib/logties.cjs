'use strict';

const form = /^\w+ (call|asynCall) method:([^\s,]+), params:/;
const mostApart = 500; // milliseconds between a call and its line
const mostWaiting = 10_000; // calls of one method whose lines have not come

/**
 * Finds the call that a log line belongs to: asynCall writes one at its start, callSync at its end.
 * The lines of a method come in the order of its calls.
 */
class LogTies {
  #waiting = new Map(); // "mode method" -> [{ seq, at }], the calls that no line told of yet

  /** Notes that a call began or ended. */
  note({ kind, seq, mode, name, t, ms, outcome }) {
    if (kind !== 'call' || (mode === 'sync') === (outcome === 'open')) return;
    const key = `${mode} ${name}`;
    const calls = this.#waiting.get(key) ?? [];
    this.#waiting.set(key, calls);
    calls.push({ seq, at: mode === 'sync' ? t + ms : t });
    if (calls.length > mostWaiting) calls.splice(0, mostWaiting / 2);
  }

  /** @returns the call that a line of that time belongs to, if any: { seq, at } */
  callOf(t, message) {
    const [, operation, name] = form.exec(message) ?? [];
    const key = `${operation === 'call' ? 'sync' : 'async'} ${name}`;
    const calls = this.#waiting.get(key) ?? [];
    const first = calls.findIndex(({ at }) => Math.abs(at - t) < mostApart);
    return first < 0 ? undefined : calls.splice(0, first + 1).at(-1);
  }
}

module.exports = { LogTies };
