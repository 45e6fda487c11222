import { entries } from '../entries.js';
import { list } from './list.js';

/** What an empty list says. */
export function Nothing() {
  if (list.search.isBusy || entries.isLoading) return <p class="nothing">Searching…</p>;
  if (entries.order.seqs.length > 0) {
    return (
      <div class="nothing">
        <p>No entry passes the search and the filters.</p>
        <button type="button" onClick={() => list.clear()}>
          Clear them
        </button>
      </div>
    );
  }
  return (
    <div class="nothing">
      <p>Nothing has happened yet.</p>
      <p>Calls, events and messages appear here. Call a method in the Explorer to see the first.</p>
    </div>
  );
}
