import { useState } from 'preact/hooks';
import { upload } from '../connection.js';
import { useSession } from '../entries.js';
import { Failure } from '../failure.js';
import { useKept } from '../kept.js';
import { Editor } from './editor.js';
import { Findings } from './findings.js';
import { Record } from './record.js';
import { edited, recordingOf, save } from './recording.js';
import './replay.css';

const none = edited({ name: 'recording.jsonl' }, '');

function useReplay(recording) {
  const [state, setState] = useKept('replay', {});
  const run = async () => {
    setState({ isRunning: true });
    try {
      setState({ result: await upload('replay', recording.file) });
    } catch (error) {
      setState({ failure: error.message });
    }
  };
  return { ...state, run, forget: () => setState({}) };
}

function Outcome({ isRunning, failure, result, isEmpty, showLine }) {
  if (isRunning) return <p class="dim">Replaying against a mock of its own…</p>;
  if (failure) return <Failure text={failure} />;
  if (result) return <Findings result={result} showLine={showLine} />;
  return (
    <p class="dim">
      {isEmpty
        ? 'Record what happens, then replay it: the mock answers again, and every difference is shown.'
        : 'Not replayed yet.'}
    </p>
  );
}

function Recording({ recording, setRecording, take, line, replay }) {
  const isEmpty = recording.file.size === 0;
  const open = async ({ target }) => {
    const [file] = target.files;
    if (file) take(await recordingOf(file, file.name));
    target.value = ''; // so that the same file can be opened again
  };
  return (
    <section class="recording" aria-label="Recording">
      <div class="actions">
        <h2>{isEmpty ? 'Recording' : recording.name}</h2>
        <label class="button">
          open… <input type="file" accept=".jsonl" class="unseen" onChange={open} />
        </label>
        <button type="button" disabled={isEmpty} onClick={() => save(recording)}>
          download
        </button>
        <button type="button" class="main" disabled={isEmpty || !replay} onClick={replay}>
          replay
        </button>
      </div>
      <Editor recording={recording} change={setRecording} line={line} />
    </section>
  );
}

/** Records what happens, and replays it against the mock. */
export function Replay() {
  const session = useSession();
  const [recording, setRecording] = useKept('recording', none);
  const [line, setLine] = useState();
  const { run, forget, ...state } = useReplay(recording);
  const take = (changed) => {
    setRecording(changed);
    setLine(undefined);
    forget();
  };
  const isPossible = !state.isRunning && !session.isReadOnly;
  return (
    <div class="recordings">
      <Record session={session} take={take} />
      <Recording
        {...{ recording, setRecording, take, line }}
        replay={isPossible ? run : undefined}
      />
      <section class="outcome" aria-label="Replay">
        <Outcome
          {...state}
          isEmpty={recording.file.size === 0}
          showLine={(number) => setLine({ number })}
        />
      </section>
    </div>
  );
}
