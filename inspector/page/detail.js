import { useEffect, useState } from 'preact/hooks';
import { get } from './connection.js';
import { copy, forms } from './copy.js';
import { entries, useEntries } from './entries.js';
import { Json } from './tree.js';

const mostMeanwhile = 200;
const mostLookedAt = 5000;

/** What happened between the start and the end of a call. */
function meanwhile(head) {
  const end = head.ms === undefined ? Number.POSITIVE_INFINITY : head.t + head.ms;
  const found = [];
  // Not only up to its end: log lines come later than what they tell of.
  const last = Math.min(entries.next, head.seq + mostLookedAt);
  for (let seq = head.seq + 1; seq < last && found.length < mostMeanwhile; ++seq) {
    const other = entries.head(seq);
    if (other && other.t <= end && other.t >= Math.floor(head.t)) found.push(other);
  }
  return found;
}

function Meanwhile({ list, select }) {
  if (list.length === 0) return <p class="dim">nothing</p>;
  return (
    <ul class="plain">
      {list.map(({ seq, kind, name, outcome }) => (
        <li key={seq}>
          <button type="button" class="link" onClick={() => select(seq)}>
            {kind} {name} {outcome}
          </button>
        </li>
      ))}
    </ul>
  );
}

function Where({ frames }) {
  if (!frames?.length) return <p class="dim">not known</p>;
  return (
    <ol class="plain">
      {frames.map((frame, index) => (
        <li key={index}>
          <code>{frame}</code>
        </li>
      ))}
    </ol>
  );
}

function Tabs({ tabs }) {
  const [at, setAt] = useState(0);
  const onKeyDown = ({ key, currentTarget }) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[key];
    if (!step) return;
    const next = (at + step + tabs.length) % tabs.length;
    setAt(next);
    currentTarget.children[next].focus();
  };
  return (
    <>
      <div role="tablist" class="tabs" onKeyDown={onKeyDown}>
        {tabs.map(([name], index) => (
          <button
            key={name}
            type="button"
            role="tab"
            id={`detail-tab-${index}`}
            aria-controls="detail-panel"
            aria-selected={index === at}
            tabIndex={index === at ? 0 : -1}
            onClick={() => setAt(index)}
          >
            {name}
          </button>
        ))}
      </div>
      <div id="detail-panel" role="tabpanel" aria-labelledby={`detail-tab-${at}`} class="panel">
        {tabs[at][1]}
      </div>
    </>
  );
}

function CallActions({ entry, explore }) {
  const [done, setDone] = useState('');
  const { isReadOnly, isMock } = entries.session ?? {};
  const onCopy = (form) =>
    copy(forms[form](entry)).then(
      () => setDone(`copied as ${form}`),
      () => setDone('the browser does not allow it'),
    );
  return (
    <p class="actions">
      {!isReadOnly && (
        <button type="button" onClick={() => explore({ view: 'Explorer', call: entry })}>
          run again…
        </button>
      )}
      {Object.keys(forms).map((form) => (
        <button key={form} type="button" onClick={() => onCopy(form)}>
          copy {form}
        </button>
      ))}
      {isMock && !isReadOnly && entry.reply && (
        <button type="button" onClick={() => explore({ view: 'Mock', answer: entry })}>
          to mock…
        </button>
      )}
      <span role="status">{done}</span>
    </p>
  );
}

/** Everything that is known of one entry. */
export function Detail({ seq, select, explore }) {
  useEntries();
  const head = entries.head(seq);
  const [entry, setEntry] = useState();
  const [failure, setFailure] = useState();
  useEffect(() => {
    get('entry', { seq }).then(setEntry, (error) => setFailure(error.message));
  }, [seq, head?.outcome, head?.answers]);
  const isCall = entry?.kind === 'call';
  const list = isCall && head ? meanwhile(head) : [];
  const tabs = entry && [
    ...(isCall ? [['Params', <Json text={entry.params} cut={entry.cut?.params} />]] : []),
    ...(isCall || entry.kind === 'late'
      ? [['Reply', <ReplyPart entry={entry} />]]
      : [['Text', <Json text={entry.text} cut={entry.cut?.text} />]]),
    ...(isCall ? [[`Meanwhile (${list.length})`, <Meanwhile list={list} select={select} />]] : []),
    ...(isCall ? [['Where', <Where frames={entry.where} />]] : []),
  ];
  return (
    <section class="detail" aria-label="Entry">
      <header>
        <h2>{head?.name}</h2>
        <span>
          {head?.outcome} {head?.ms !== undefined && `${head.ms.toFixed(2)} ms`}
        </span>
        <button type="button" aria-label="Close" onClick={() => select(undefined)}>
          ✕
        </button>
      </header>
      {failure && <p role="alert">{failure}</p>}
      {tabs && <Tabs tabs={tabs} />}
      {isCall && <CallActions entry={entry} explore={explore} />}
    </section>
  );
}

function ReplyPart({ entry }) {
  return (
    <>
      {entry.error && <p class="bad">{entry.error}</p>}
      <Json text={entry.reply} cut={entry.cut?.reply} />
    </>
  );
}
