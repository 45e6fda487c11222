import { render } from 'preact';
import { useEffect, useState } from 'preact/hooks';
import { Charts } from './charts/charts.js';
import { entries, useEntries, useSession } from './entries.js';
import { Explorer, prepareCall } from './explorer/explorer.js';
import { useKept } from './kept.js';
import { Mock, prepareAnswer } from './mock/mock.js';
import { Replay } from './replay/replay.js';
import { list } from './timeline/list.js';
import { Timeline } from './timeline/timeline.js';
import 'uplot/dist/uPlot.min.css';
import './style.css';
import './controls.css';
import './top.css';

const views = { Timeline, Explorer, Mock, Charts, Replay };

/** The view that is shown; the browser's history has it. */
function useView() {
  const [view, setView] = useState(history.state?.view ?? 'Timeline');
  useEffect(() => {
    const onPopState = ({ state }) => setView(state?.view ?? 'Timeline');
    addEventListener('popstate', onPopState);
    return () => removeEventListener('popstate', onPopState);
  }, []);
  const show = (name) => {
    if (name !== view) history.pushState({ view: name }, '');
    setView(name);
  };
  return [view, show];
}

function Status() {
  const { session, status } = entries;
  const state = { live: 'live', connecting: 'connecting…', ended: 'the process has ended' };
  return (
    <p class="status" role="status">
      {session?.isRecording && <b class="bad">● recording</b>}
      {session?.isReadOnly && <span>read-only</span>}
      {session && <span class="process">secrets masked · {session.process}</span>}
      <span class={`light ${status}`}>{state[status] ?? status}</span>
    </p>
  );
}

/** How one view leads to another. */
function waysTo(show, select) {
  return {
    select,
    runAgain(entry) {
      prepareCall(entry);
      show('Explorer');
    },
    answerSo(entry) {
      prepareAnswer(entry);
      show('Mock');
    },
    selectInTimeline(seq, text) {
      if (text !== undefined) list.set({ text });
      select(seq);
      show('Timeline');
    },
  };
}

function Views({ view, show }) {
  return (
    <nav aria-label="Views">
      {Object.keys(views).map((name) => (
        <button
          key={name}
          type="button"
          aria-current={name === view ? 'page' : undefined}
          onClick={() => show(name)}
        >
          {name}
        </button>
      ))}
    </nav>
  );
}

function Page() {
  const session = useSession();
  const { status } = useEntries((entries) => entries.status);
  const [view, show] = useView();
  const [selected, select] = useKept('selected entry', undefined);
  const View = views[view];
  return (
    <>
      <header class="top">
        <h1>Inspector</h1>
        <Views view={view} show={show} />
        <Status />
      </header>
      <main>
        {session ? (
          <View selected={selected} {...waysTo(show, select)} />
        ) : (
          <p class="nothing">{status}</p>
        )}
      </main>
    </>
  );
}

render(<Page />, document.getElementById('page'));
entries.start();
