import { render } from 'preact';
import { useState } from 'preact/hooks';
import { Charts } from './charts.js';
import { entries, useEntries } from './entries.js';
import { Explorer } from './explorer.js';
import { Mock } from './mock.js';
import { Replay } from './replay.js';
import { Timeline } from './timeline.js';
import 'uplot/dist/uPlot.min.css';
import './style.css';

const views = ['Timeline', 'Explorer', 'Mock', 'Charts', 'Replay'];

function Page() {
  const { session, status } = useEntries();
  const [view, setView] = useState('Timeline');
  const [selected, select] = useState();
  const [given, setGiven] = useState({});
  const [recording, setRecording] = useState('');
  const explore = (target) => {
    setGiven(target);
    setView(target.view);
  };
  const show = (seq) => {
    select(seq);
    setView('Timeline');
  };
  return (
    <>
      <header class="top">
        <h1>Inspector</h1>
        <nav aria-label="Views">
          {views.map((name) => (
            <button
              key={name}
              type="button"
              aria-current={name === view ? 'page' : undefined}
              onClick={() => setView(name)}
            >
              {name}
            </button>
          ))}
        </nav>
        <span class="status" role="status">
          {session?.isRecording && <b class="bad">● recording </b>}
          {session?.isReadOnly && 'read-only · '}
          masked · {status}
        </span>
      </header>
      <main class={view === 'Timeline' ? 'still' : ''}>
        {!session && <p class="panel">{status}</p>}
        {session && view === 'Timeline' && <Timeline {...{ selected, select, explore }} />}
        {session && view === 'Explorer' && <Explorer call={given.call} select={show} />}
        {session && view === 'Mock' && <Mock answer={given.answer} />}
        {session && view === 'Charts' && <Charts />}
        {session && view === 'Replay' && <Replay {...{ recording, setRecording }} />}
      </main>
    </>
  );
}

render(<Page />, document.getElementById('page'));
entries.start();
