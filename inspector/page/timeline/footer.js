import { entries } from '../entries.js';
import { list } from './list.js';

const number = (count) => count.toLocaleString('en');

/** What is not in the list, and why. */
function leftOut() {
  const { first, missing, held, isLoading } = entries;
  const { search, filters } = list;
  return [
    filters.hidden.has('log') && 'log lines hidden',
    held > 0 && `${number(held)} new ones wait for the end of the pause`,
    first > 0 && `${number(first)} older ones dropped`,
    !isLoading && missing > 0 && `${number(missing)} lost`,
    isLoading && 'loading…',
    search.isBusy && 'searching…',
    !search.isAll && 'too many matches: only the newest are shown',
  ].filter(Boolean);
}

export function Footer() {
  const { failure } = list.search;
  return (
    <p class="footer">
      <span role="status">
        {number(list.seqs.length)} of {number(entries.order.seqs.length)} entries
        {leftOut().map((each) => ` · ${each}`)}
      </span>
      {failure && (
        <span role="alert" class="bad">
          The search failed: {failure}
        </span>
      )}
    </p>
  );
}
