import { wordsOf } from './operations.js';

const times = (count) => (count < 0 ? 'always' : `${count} calls`);

/** What a plan will do, in words. */
function planned({ signal, message, ...others }) {
  if (signal) return `the event ${signal}`;
  if (message) return `the message ${message.msgType}`;
  return JSON.stringify(others);
}

function Operation({ operation, left, steps = [], set }) {
  return (
    <li>
      <h3>{operation}</h3>
      <ol>
        {steps.map((step, index) => (
          <li key={index}>
            {wordsOf(step)} {step.count !== 1 && <span class="dim">{times(step.count)}</span>}
            <button
              type="button"
              class="link"
              aria-label={`Cancel: ${operation} ${wordsOf(step)}`}
              onClick={() => set(operation, steps.toSpliced(index, 1))}
            >
              cancel
            </button>
          </li>
        ))}
        {steps.length === 0 && (
          <li>
            as the application told the mock <span class="dim">{times(left)}</span>
            <button type="button" class="link" onClick={() => set(operation, [])}>
              cancel
            </button>
          </li>
        )}
      </ol>
    </li>
  );
}

/** Everything that the mock will do by itself or answer differently, in its order. */
export function ToCome({ state, plans, steps, tell, cancel }) {
  const scripts = Object.entries(state.scripts);
  const set = (operation, changed) => tell({ script: { [operation]: changed } });
  const isEmpty = plans.length + scripts.length + state.held.length === 0;
  return (
    <section class="card" aria-label="What is to come">
      <h2>What is to come</h2>
      {isEmpty && <p class="dim">Nothing: the mock answers as a real account service does.</p>}
      <ul class="coming">
        {plans.map(({ id, in: left, command }) => (
          <li key={id}>
            <span class="dim">in {(Math.max(0, left) / 1000).toFixed(1)} s</span> {planned(command)}
            <button type="button" class="link" onClick={() => cancel(id)}>
              cancel
            </button>
          </li>
        ))}
        {scripts.map(([operation, left]) => (
          <Operation key={operation} {...{ operation, left, set }} steps={steps[operation]} />
        ))}
        {state.held.map((operation, index) => (
          <li key={`held ${index}`}>
            <span class="dim">held</span> the answer of {operation}
          </li>
        ))}
      </ul>
      {state.held.length > 0 && (
        <p class="actions">
          <button type="button" class="main" onClick={() => tell({ release: true })}>
            release
          </button>
        </p>
      )}
    </section>
  );
}
