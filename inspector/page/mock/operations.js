import { entries } from '../entries.js';

/** What the account library does for the methods, and can be scripted. */
export const operations = () => [
  ...new Set(
    entries.session.description.methods
      .flatMap((method) => method['x-operations'])
      .filter((name) => !getters.includes(name))
      .sort(),
  ),
];

/** What the account library gives its services with. */
export const getters = [
  'getLoginService',
  'getSignService',
  'getScheduler',
  'getCookieFactory',
  'getAccount',
  'getAccessbaseService',
  'getDomainMgr',
];

const words = [
  ['refuse', () => 'refuses'],
  ['throw', (text) => `throws “${text}”`],
  ['reply', (reply) => `answers ${JSON.stringify(reply)}`],
  ['hold', () => 'holds its answer until it is released'],
  ['delayMs', (ms) => `answers after ${ms} ms`],
  ['times', (times) => (times === 0 ? 'never answers' : `answers ${times} times`)],
];

/** @returns what the mock does in one step, in words */
export function wordsOf({ count: _, ...step }) {
  const keys = Object.keys(step);
  const known = words.filter(([key]) => key in step && step[key] !== false);
  if (known.length !== keys.length) return JSON.stringify(step);
  return known.map(([key, say]) => say(step[key])).join(', ') || 'answers as usual';
}
