import { entries } from '../entries.js';
import { list } from './list.js';

const mostBefore = 20;
const mostDuring = 200;
const mostLookedAt = 5000;

const end = ({ kind, t, ms }) => {
  if (kind !== 'call') return t;
  return ms === undefined ? Number.POSITIVE_INFINITY : t + ms;
};

/** @returns the heads before a place of all entries, or after it, the nearest first */
function* heads(place, step) {
  const { seqs } = entries.order;
  for (let count = 1; count <= mostLookedAt; ++count) {
    const seq = seqs[place + count * step];
    if (seq === undefined) return;
    yield entries.head(seq);
  }
}

/**
 * What happened around an entry, whatever the search and the filters; log lines where the list shows
 * them.
 * @returns { open, before, during }: calls that were open when it began, the last entries before it,
 *          the nearest first, and those that came until it ended
 */
export function around(head) {
  const around = { open: [], before: [], during: [] };
  const place = entries.order.placeOf(head.seq);
  const isWanted = ({ kind }) => kind !== 'log' || !list.filters.hidden.has('log');
  for (const other of heads(place, -1)) {
    if (!isWanted(other)) continue;
    if (around.before.length < mostBefore) around.before.push(other);
    if (end(other) > head.t) around.open.unshift(other);
  }
  for (const other of heads(place, 1)) {
    if (other.t > end(head) || around.during.length >= mostDuring) break;
    if (isWanted(other)) around.during.push(other);
  }
  return around;
}
