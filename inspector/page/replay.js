import { useState } from 'preact/hooks';
import { post } from './connection.js';
import { entries, useEntries } from './entries.js';

function download(text) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([text], { type: 'application/jsonl' }));
  link.download = 'recording.jsonl';
  link.click();
  URL.revokeObjectURL(link.href);
}

function Finding({ finding, isWarning }) {
  const { line, text, path, nearest } = finding;
  const shown = (value) => (value === undefined ? 'nothing' : JSON.stringify(value));
  const hasValues = 'expected' in finding || 'actual' in finding;
  return (
    <li class={isWarning ? 'dim' : 'bad'}>
      line {line}: {text} {path && <code>{path}</code>}
      {hasValues && (
        <dl>
          <dt>recorded</dt>
          <dd>
            <code>{shown(finding.expected)}</code>
          </dd>
          <dt>now</dt>
          <dd>
            <code>{shown(finding.actual)}</code>
          </dd>
        </dl>
      )}
      {nearest && <p>nearest: {nearest}</p>}
    </li>
  );
}

function Result({ result }) {
  const { ok, calls, compared, failures, warnings } = result;
  return (
    <section class="result" aria-label="Result" role="status">
      <h2 class={ok ? 'good' : 'bad'}>{ok ? 'green' : 'red'}</h2>
      <p>
        {calls} calls, {compared} answers, events and messages compared, {failures.length} differ
      </p>
      <ul class="plain">
        {failures.map((finding, index) => (
          <Finding key={index} finding={finding} />
        ))}
        {warnings.map((finding, index) => (
          <Finding key={index} finding={finding} isWarning />
        ))}
      </ul>
    </section>
  );
}

export function Replay({ recording, setRecording }) {
  const { session } = useEntries();
  const { isReadOnly, isRecording, hasFolder } = session;
  const [isMasked, setMasked] = useState(true);
  const [name, setName] = useState('');
  const [result, setResult] = useState();
  const [message, setMessage] = useState('');
  const guarded = (run) => async () => {
    setMessage('');
    try {
      await run();
    } catch (error) {
      setMessage(error.message);
    }
  };
  const toggle = guarded(async () => {
    if (!isRecording) {
      await post('startRecording');
      entries.setSession({ isRecording: true });
      return;
    }
    const body = { masked: isMasked, name: name || undefined };
    const { text, file } = await post('stopRecording', body);
    setRecording(text);
    setResult(undefined);
    if (file) setMessage(`saved as ${file}`);
  });
  const replay = guarded(async () => {
    setMessage('replaying');
    setResult(await post('replay', { text: recording }));
    setMessage('');
  });
  const load = async ({ target }) => {
    const [file] = target.files;
    if (file) setRecording(await file.text());
  };
  return (
    <div class="recordings">
      <section aria-label="Record">
        <h2>Record</h2>
        {isReadOnly ? (
          <p class="dim">The inspector was started read-only.</p>
        ) : (
          <>
            <p class="actions">
              <button type="button" class="main" onClick={toggle}>
                {isRecording ? '■ stop' : '● record'}
              </button>
              <label>
                <input
                  type="checkbox"
                  checked={!isMasked}
                  onChange={({ target }) => setMasked(!target.checked)}
                />{' '}
                with secrets in clear
              </label>
              {hasFolder && (
                <label>
                  save as{' '}
                  <input
                    value={name}
                    onInput={({ target }) => setName(target.value)}
                    placeholder="name"
                  />
                </label>
              )}
            </p>
            <p class="dim">Calls, answers, events and task messages from now on, as one file.</p>
          </>
        )}
      </section>
      <section aria-label="Replay">
        <h2>Replay against the mock</h2>
        <p class="actions">
          <label>
            open <input type="file" accept=".jsonl" onChange={load} />
          </label>
          <button type="button" disabled={!recording} onClick={() => download(recording)}>
            download
          </button>
          <button type="button" class="main" disabled={!recording} onClick={replay}>
            replay
          </button>
        </p>
        <label for="recording">recording</label>
        <textarea
          id="recording"
          rows={14}
          spellcheck={false}
          wrap="off"
          value={recording}
          onInput={({ target }) => setRecording(target.value)}
        />
      </section>
      {message && <p role="alert">{message}</p>}
      {result && <Result result={result} />}
    </div>
  );
}
