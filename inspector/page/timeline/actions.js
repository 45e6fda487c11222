import { Copies } from '../copies.js';
import { entries } from '../entries.js';

/** What can be done with a call. */
export function Actions({ entry, runAgain, answerSo }) {
  const { isReadOnly, isMock } = entries.session;
  if (entry.name === 'init') return undefined;
  return (
    <div class="actions">
      {!isReadOnly && (
        <button type="button" onClick={() => runAgain(entry)}>
          Run again…
        </button>
      )}
      {isMock && !isReadOnly && entry.mockAnswer && (
        <button type="button" onClick={() => answerSo(entry)}>
          Mock this answer…
        </button>
      )}
      <Copies call={entry} />
    </div>
  );
}
