import { entries } from './entries.js';

/** @returns seconds since the start, the microseconds apart */
export function seconds(t) {
  const text = (t / 1000).toFixed(6);
  return [text.slice(0, -3), text.slice(-3)];
}

/** The time of day of an entry. */
export function clock(t) {
  const date = new Date(entries.session.startedAt + t);
  return `${date.toLocaleTimeString('en-GB')}.${String(date.getMilliseconds()).padStart(3, '0')}`;
}

export const milliseconds = (ms) => (ms === undefined ? '' : ms.toFixed(2));

/** For example "2.8 ms", "350 µs", "1.2 s". */
export function duration(ms) {
  if (ms >= 1000) return `${(ms / 1000).toPrecision(3)} s`;
  if (ms >= 100) return `${Math.round(ms)} ms`;
  if (ms >= 1) return `${ms.toPrecision(3)} ms`;
  return `${Math.round(ms * 1000)} µs`;
}
