import { keep, useKept } from '../kept.js';
import { JsonField, readObject } from './jsonfield.js';
import { Later } from './later.js';
import { getters, operations } from './operations.js';

const behaviours = {
  refuse: { refuse: true },
  'answer twice': { times: 2 },
  'never answer': { times: 0 },
  'hold until released': { hold: true },
  'throw an exception': { throw: 'scripted' },
};
const otherReply = JSON.stringify({ reply: { result: 'fail', msg: 'scripted' } });

/** Lets the mock answer as in an entry of the timeline. */
export function prepareAnswer({ mockAnswer: { operation, step } }) {
  keep('scripted operation', operation);
  keep('other answer', JSON.stringify(step));
}

function Operation({ operation, setOperation, count, setCount }) {
  const group = (label, names) => (
    <optgroup label={label}>
      {names.map((name) => (
        <option key={name}>{name}</option>
      ))}
    </optgroup>
  );
  const known = operations();
  const isOther = ![...known, ...getters].includes(operation);
  return (
    <div class="actions">
      <label>
        The next{' '}
        <input
          class="short"
          type="number"
          min="1"
          value={count}
          onInput={({ target }) => setCount(Math.max(1, Number(target.value)))}
        />{' '}
        {count === 1 ? 'call' : 'calls'} of
      </label>
      <select
        aria-label="Operation"
        value={operation}
        onChange={({ target }) => setOperation(target.value)}
      >
        {group('operations', isOther ? [operation, ...known] : known)}
        {group('services', getters)}
      </select>
    </div>
  );
}

/** What the mock answers next, instead of its honest answer: one click adds it to what is to come. */
export function Script({ tell, steps }) {
  const [operation, setOperation] = useKept('scripted operation', 'logout');
  const [count, setCount] = useKept('scripted calls', 1);
  const [delayMs, setDelay] = useKept('scripted delay', 1000);
  const [other, setOther] = useKept('other answer', otherReply);
  const { value } = readObject(other);
  const add = (step) =>
    tell({ script: { [operation]: [...(steps[operation] ?? []), { ...step, count }] } });
  return (
    <section class="card" aria-label="Next answers">
      <h2>Next answers</h2>
      <Operation {...{ operation, setOperation, count, setCount }} />
      <div class="actions">
        {Object.entries(behaviours).map(([name, step]) => (
          <button key={name} type="button" onClick={() => add(step)}>
            {name}
          </button>
        ))}
        <span class="joined">
          <button type="button" onClick={() => add({ delayMs })}>
            answer late
          </button>
          <Later value={delayMs} change={setDelay}>
            by
          </Later>
        </span>
      </div>
      {getters.includes(operation) && (
        <p class="dim">Refused, the framework finds that there is no such service.</p>
      )}
      <JsonField id="script" label="or another answer" text={other} setText={setOther} />
      <div class="actions">
        <button type="button" disabled={!value} onClick={() => add(value)}>
          answer so
        </button>
      </div>
    </section>
  );
}
