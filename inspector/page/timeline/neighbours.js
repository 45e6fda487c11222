import { Icon } from '../icons.js';
import { duration } from '../times.js';
import { isBad, kinds } from './kinds.js';
import { Name } from './name.js';
import { Preview } from './preview.js';

/** How far away an entry began. */
function distance(from, to) {
  const ms = to - from;
  return `${ms < 0 ? '−' : '+'}${duration(Math.abs(ms))}`;
}

/** Entries near another one, with their distance from its start. */
export function Neighbours({ heads, from, previewOf, select }) {
  return (
    <ul class="neighbours">
      {heads.map((head) => (
        <li key={head.seq}>
          <button type="button" onClick={() => select(head.seq)}>
            <span class="time">{distance(from, head.t)}</span>
            <Icon name={head.kind} label={kinds[head.kind]} />
            <span class={isBad(head) ? 'bad' : ''}>
              <Name name={head.name} />
            </span>
            <span class="preview">
              <Preview head={head} preview={previewOf(head)} />
            </span>
          </button>
        </li>
      ))}
    </ul>
  );
}
