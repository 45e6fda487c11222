import { get, post } from '../connection.js';
import { Copies } from '../copies.js';
import { useKept } from '../kept.js';
import { Answer } from './answer.js';
import { Documentation } from './documentation.js';
import { Form } from './form.js';
import { earlier, remember } from './history.js';

let lastRun = 0;

function parsedObject(text) {
  try {
    const value = JSON.parse(text || '{}');
    return typeof value === 'object' && value !== null && !Array.isArray(value) ? value : undefined;
  } catch {
    return undefined;
  }
}

const exampleOf = ({ examples }) =>
  JSON.stringify(
    Object.fromEntries((examples?.[0]?.params ?? []).map(({ name, value }) => [name, value])),
  );

/** Calls a method and keeps its answer, also when another method or view is looked at meanwhile. */
function useRun(method, text, limit) {
  const [state, setState] = useKept(`run of ${method.name}`, {});
  const run = async (mode, params) => {
    const id = ++lastRun;
    setState({ ...state, running: id, failure: undefined });
    remember(method.name, text);
    const timeout = limit === '' ? undefined : Number(limit);
    const body = { run: id, method: method.name, params, mode, timeout };
    try {
      const { seq } = await post('run', body);
      setState({ answer: await get('entry', { seq }) });
    } catch (error) {
      setState({ failure: error.message });
    }
  };
  return { ...state, run, abort: () => post('abort', { run: state.running }) };
}

function Raw({ text, setText, isGood }) {
  return (
    <div class="field">
      <label for="raw">as JSON</label>
      <textarea
        id="raw"
        rows={4}
        spellcheck={false}
        aria-invalid={!isGood}
        aria-describedby="raw-about"
        value={text}
        onInput={({ target }) => setText(target.value)}
      />
      <small id="raw-about" class="bad">
        {isGood ? '' : 'This is not a JSON object.'}
      </small>
    </div>
  );
}

function Limit({ limit, setLimit }) {
  return (
    <label>
      time limit{' '}
      <input
        class="short"
        type="number"
        min="0"
        value={limit}
        placeholder="none"
        onInput={({ target }) => setLimit(target.value)}
      />{' '}
      ms
    </label>
  );
}

function Earlier({ method, setText }) {
  const texts = earlier(method.name);
  return (
    <select
      class="earlier"
      aria-label="Earlier calls"
      value=""
      onChange={({ target }) => setText(target.value)}
      disabled={texts.length === 0}
    >
      <option value="">earlier…</option>
      {texts.map((each) => (
        <option key={each} value={each}>
          {each.slice(0, 80)}
        </option>
      ))}
    </select>
  );
}

/** Buttons that run the method; not while its parameters are no JSON object. */
function Controls({ method, values, running, run, abort, ...limit }) {
  const isReady = values && !running;
  return (
    <div class="actions">
      <button type="button" class="main" disabled={!isReady} onClick={() => run('async', values)}>
        call
      </button>
      {method['x-threadSafe'] && (
        <button type="button" disabled={!isReady} onClick={() => run('sync', values)}>
          callSync
        </button>
      )}
      <button type="button" disabled={!running} onClick={abort}>
        abort
      </button>
      <Limit {...limit} />
    </div>
  );
}

/** Runs one method: a form and the same as JSON, each following the other. */
export function Call({ method, show }) {
  const [text, setText] = useKept(`parameters of ${method.name}`, () => exampleOf(method));
  const [limit, setLimit] = useKept('time limit', '');
  const { answer, failure, ...runs } = useRun(method, text, limit);
  const values = parsedObject(text);
  return (
    <>
      <section class="call" aria-label="Call">
        <div class="actions">
          <h2>{method.name}</h2>
          <button type="button" onClick={() => setText(exampleOf(method))}>
            example
          </button>
          <Earlier {...{ method, setText }} />
        </div>
        <p>{method.summary}</p>
        <Form
          method={method}
          values={values ?? {}}
          change={(changed) => setText(JSON.stringify(changed))}
        />
        <Raw {...{ text, setText }} isGood={values !== undefined} />
        <Controls {...{ method, values, limit, setLimit, ...runs }} />
        <Copies call={{ name: method.name, mode: 'async', params: text }} />
        <Documentation method={method} />
      </section>
      <Answer {...{ answer, failure, show }} isRunning={runs.running !== undefined} />
    </>
  );
}
