import { Icon } from '../icons.js';
import { milliseconds, seconds } from '../times.js';
import { isBad, kinds } from './kinds.js';
import { Name } from './name.js';
import { Preview } from './preview.js';

export const rowHeight = 24;

/** Where a time stands between the first and the last time in view, in percent. */
function barOf({ t, ms = 0 }, { from, length }) {
  const left = Math.min(99.5, Math.max(0, ((t - from) / length) * 100));
  return { left: `${left}%`, width: `${Math.min(100 - left, (ms / length) * 100)}%` };
}

function Time({ t }) {
  const [whole, fine] = seconds(t);
  return (
    <span role="gridcell" class="time">
      {whole}
      <small>{fine}</small>
    </span>
  );
}

export function Row({ head, preview, index, isSelected, span, select }) {
  const { seq, t, kind, name, thread, ms, outcome, answers, times } = head;
  const state = `${isBad(head) ? 'failed' : ''} ${outcome === 'open' ? 'pending' : ''}`;
  return (
    <div
      role="row"
      id={`row-${seq}`}
      aria-rowindex={index + 2}
      aria-selected={isSelected}
      class={`row ${kind} ${state}`}
      style={{ transform: `translateY(${index * rowHeight}px)` }}
      onClick={() => select(seq)}
    >
      <Time t={t} />
      <span role="gridcell" class="thread">
        {thread === 0 ? 'main' : thread}
      </span>
      <span role="gridcell" class="name">
        <Icon name={kind} label={kinds[kind]} /> <Name name={name} />
        {answers > 1 && <b title="answers"> ×{answers}</b>}
        {times > 1 && <b title="raised before it could be delivered"> ×{times}</b>}
      </span>
      <span role="gridcell" class="preview">
        <Preview head={head} preview={preview} />
      </span>
      <span role="gridcell" class="ms">
        {milliseconds(ms)}
      </span>
      <span role="gridcell" class="outcome" title={outcome}>
        {outcome}
      </span>
      <span role="gridcell" class="bar">
        <span aria-hidden="true" style={barOf(head, span)} />
      </span>
    </div>
  );
}
