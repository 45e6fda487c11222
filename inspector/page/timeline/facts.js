import { entries } from '../entries.js';
import { clock, seconds } from '../times.js';

/** When and where an entry came from. */
export function Facts({ head, select }) {
  const of = entries.head(head.of);
  const facts = [
    ['at', `${clock(head.t)}, ${seconds(head.t).join('')} s after the start`],
    ['thread', head.thread === 0 ? 'main' : head.thread],
    head.instance !== undefined && ['framework', head.instance],
    head.kind === 'call' && ['called with', head.mode === 'sync' ? 'callSync' : 'call'],
    head.answers > 1 && ['answers', head.answers],
    of && [
      head.kind === 'log' ? 'written by' : 'answer to',
      <button type="button" class="link" onClick={() => select(of.seq)}>
        {of.name}
      </button>,
    ],
  ].filter(Boolean);
  return (
    <dl class="facts">
      {facts.map(([name, value]) => (
        <div key={name}>
          <dt>{name}</dt>
          <dd>{value}</dd>
        </div>
      ))}
    </dl>
  );
}
