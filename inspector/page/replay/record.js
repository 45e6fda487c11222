import { useState } from 'preact/hooks';
import { download, post } from '../connection.js';
import { entries } from '../entries.js';
import { useKept } from '../kept.js';
import { recordingOf } from './recording.js';

function Options({ isMasked, setMasked, name, setName, hasFolder }) {
  return (
    <>
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
            placeholder="file name, optional"
          />
        </label>
      )}
    </>
  );
}

/** Begins and ends a recording. */
export function Record({ session: { isRecording, hasFolder, isReadOnly }, take }) {
  const [isMasked, setMasked] = useKept('record masked', true);
  const [name, setName] = useKept('record as', '');
  const [message, setMessage] = useState({});
  const stop = async () => {
    const body = { masked: isMasked, name: name || undefined };
    const { file, savedAs } = await download('stopRecording', body);
    take(
      await recordingOf(file, name ? `${name.replace(/\.jsonl$/, '')}.jsonl` : 'recording.jsonl'),
    );
    setMessage({ text: savedAs && `Saved as ${savedAs}` });
  };
  const toggle = async () => {
    setMessage({});
    try {
      if (isRecording) await stop();
      else await post('startRecording');
      entries.setSession({ isRecording: !isRecording });
    } catch (error) {
      setMessage({ text: error.message, isBad: true });
    }
  };
  if (isReadOnly) return <p class="dim">Started read-only: nothing can be recorded or replayed.</p>;
  return (
    <section class="record" aria-label="Record">
      <div class="actions">
        <button type="button" class="main" onClick={toggle}>
          {isRecording ? '■ stop' : '● record'}
        </button>
        <Options {...{ isMasked, setMasked, name, setName, hasFolder }} />
        <span class="dim">
          {isRecording ? 'Calls, answers, events and task messages go into the recording.' : ''}
        </span>
      </div>
      {message.text && (
        <p role="alert" class={message.isBad ? 'bad' : ''}>
          {message.text}
        </p>
      )}
    </section>
  );
}
