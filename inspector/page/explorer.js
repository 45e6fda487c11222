import { useEffect, useMemo, useState } from 'preact/hooks';
import { get, post } from './connection.js';
import { entries, useEntries } from './entries.js';
import { Form } from './form.js';
import { Json } from './tree.js';

let lastRun = 0;
const historyKey = 'zelectronframework-inspector-history';
const mostRemembered = 10;

// Of this tab only: a call may hold secrets that were typed.
const remembered = () => JSON.parse(sessionStorage.getItem(historyKey) ?? '{}');

function remember(method, text) {
  const all = remembered();
  all[method] = [text, ...(all[method] ?? []).filter((each) => each !== text)].slice(
    0,
    mostRemembered,
  );
  sessionStorage.setItem(historyKey, JSON.stringify(all));
}

function parsedObject(text) {
  try {
    const value = JSON.parse(text || '{}');
    return typeof value === 'object' && value !== null && !Array.isArray(value) ? value : undefined;
  } catch {
    return undefined;
  }
}

const exampleOf = (method) =>
  Object.fromEntries((method.examples?.[0]?.params ?? []).map(({ name, value }) => [name, value]));

function Methods({ methods, chosen, choose }) {
  const [wanted, setWanted] = useState('');
  const shown = methods.filter(({ name }) => name.toLowerCase().includes(wanted.toLowerCase()));
  const modules = [...new Set(shown.map(({ name }) => name.split('.')[0]))];
  return (
    <nav class="methods" aria-label="Methods">
      <input
        type="search"
        aria-label="Filter methods"
        placeholder="filter"
        value={wanted}
        onInput={({ target }) => setWanted(target.value)}
      />
      {modules.map((module) => (
        <div key={module}>
          <h2 class="module">{module}</h2>
          <ul class="plain">
            {shown
              .filter(({ name }) => name.startsWith(`${module}.`))
              .map(({ name, summary }) => (
                <li key={name}>
                  <button
                    type="button"
                    class="link"
                    title={summary}
                    aria-current={name === chosen}
                    onClick={() => choose(name)}
                  >
                    {name.slice(module.length + 1)}
                  </button>
                </li>
              ))}
          </ul>
        </div>
      ))}
    </nav>
  );
}

function Documentation({ method }) {
  return (
    <details>
      <summary>What it replies</summary>
      {method.description && <p>{method.description}</p>}
      <p>
        {method['x-threadSafe']
          ? 'Runs on any thread, also by callSync.'
          : 'Runs on the host thread only.'}{' '}
        Replies: {method['x-answer']}.
      </p>
      {method.errors?.length > 0 && (
        <table>
          <thead>
            <tr>
              <th>Failure</th>
              <th>When</th>
            </tr>
          </thead>
          <tbody>
            {method.errors.map(({ message, data }) => (
              <tr key={message}>
                <td>{message}</td>
                <td>{data}</td>
              </tr>
            ))}
          </tbody>
        </table>
      )}
      <Json text={JSON.stringify(method.result.schema)} />
    </details>
  );
}

/** Runs one method: a form and the same as JSON, each following the other. */
function Call({ method, given, select }) {
  const first = given ?? JSON.stringify(exampleOf(method));
  const [text, setText] = useState(first);
  const [limit, setLimit] = useState('');
  const [running, setRunning] = useState();
  const [answer, setAnswer] = useState();
  const [failure, setFailure] = useState('');
  const values = parsedObject(text);
  const history = remembered()[method.name] ?? [];

  const run = async (mode) => {
    const id = ++lastRun;
    setRunning(id);
    setFailure('');
    remember(method.name, text);
    try {
      const timeout = limit === '' ? undefined : Number(limit);
      const { seq } = await post('run', {
        run: id,
        method: method.name,
        params: values,
        mode,
        timeout,
      });
      setAnswer(await get('entry', { seq }));
    } catch (error) {
      setFailure(error.message);
    }
    setRunning(undefined);
  };
  return (
    <section class="call" aria-label="Call">
      <h2>{method.name}</h2>
      <p>{method.summary}</p>
      <Form
        method={method}
        values={values ?? {}}
        change={(changed) => setText(JSON.stringify(changed))}
      />
      <div class="field">
        <label for="raw">as JSON</label>
        <textarea
          id="raw"
          rows={4}
          spellcheck={false}
          aria-invalid={values === undefined}
          value={text}
          onInput={({ target }) => setText(target.value)}
        />
        <small>{values === undefined ? 'this is no JSON object' : ''}</small>
      </div>
      <p class="actions">
        <button
          type="button"
          class="main"
          disabled={!values || running}
          onClick={() => run('async')}
        >
          call
        </button>
        {method['x-threadSafe'] && (
          <button type="button" disabled={!values || running} onClick={() => run('sync')}>
            callSync
          </button>
        )}
        <button type="button" disabled={!running} onClick={() => post('abort', { run: running })}>
          abort
        </button>
        <label>
          limit{' '}
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
        <button type="button" onClick={() => setText(JSON.stringify(exampleOf(method)))}>
          example
        </button>
        {history.length > 0 && (
          <select
            aria-label="Earlier calls"
            value=""
            onChange={({ target }) => setText(target.value)}
          >
            <option value="">earlier…</option>
            {history.map((each) => (
              <option key={each} value={each}>
                {each.slice(0, 80)}
              </option>
            ))}
          </select>
        )}
      </p>
      {failure && (
        <p role="alert" class="bad">
          {failure}
        </p>
      )}
      {answer && (
        <section class="answer" aria-label="Answer">
          <p>
            <b class={answer.outcome === 'ok' ? 'good' : 'bad'}>{answer.outcome}</b> after{' '}
            {answer.ms?.toFixed(2)} ms{' '}
            <button type="button" class="link" onClick={() => select(answer.seq)}>
              in the timeline
            </button>
          </p>
          {answer.error && <p class="bad">{answer.error}</p>}
          <Json text={answer.reply} cut={answer.cut?.reply} />
        </section>
      )}
      <Documentation method={method} />
    </section>
  );
}

function Subscriptions({ description, subscribed }) {
  const [failure, setFailure] = useState('');
  const toggle = (body) =>
    post('subscribe', body).then(
      (answer) => {
        setFailure('');
        entries.setSession(answer);
      },
      (error) => setFailure(error.message),
    );
  const box = (kind) => (item) => (
    <li key={item.name}>
      <label title={item.summary}>
        <input
          type="checkbox"
          checked={subscribed.includes(item.name)}
          onChange={({ target }) => toggle({ [kind]: item.name, on: target.checked })}
        />{' '}
        {item.name}
      </label>
      <small>{item.summary}</small>
    </li>
  );
  return (
    <section class="subscriptions" aria-label="Events and task messages">
      <h2>Events</h2>
      <ul class="plain">{description['x-events'].map(box('event'))}</ul>
      <h2>Task messages</h2>
      <ul class="plain">{description['x-tasks'].map(box('task'))}</ul>
      {failure && <p role="alert">{failure}</p>}
    </section>
  );
}

export function Explorer({ call, select }) {
  const { session } = useEntries();
  const [name, setName] = useState(call?.name ?? 'account.quickLogin');
  useEffect(() => {
    if (call) setName(call.name);
  }, [call]);
  const { description, subscribed, isReadOnly } = session;
  const method = useMemo(() => description.methods.find((each) => each.name === name), [name]);
  if (isReadOnly) return <p class="panel">The inspector was started read-only.</p>;
  return (
    <div class="workbench">
      <Methods methods={description.methods} chosen={name} choose={setName} />
      {method && (
        <Call
          key={`${name} ${call?.seq}`}
          method={method}
          given={call?.name === name ? (call.params ?? '{}') : undefined}
          select={select}
        />
      )}
      <Subscriptions description={description} subscribed={subscribed} />
    </div>
  );
}
