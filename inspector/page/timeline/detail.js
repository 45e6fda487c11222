import { useEffect, useMemo, useState } from 'preact/hooks';
import { get } from '../connection.js';
import { entries, useEntries } from '../entries.js';
import { Failure } from '../failure.js';
import { Icon } from '../icons.js';
import { duration } from '../times.js';
import { Actions } from './actions.js';
import { Facts } from './facts.js';
import { isBad, kinds } from './kinds.js';
import { list } from './list.js';
import { Surroundings } from './surroundings.js';
import { Texts } from './texts.js';
import './detail.css';

/** The texts of an entry, which are fetched when it is opened and when its reply has come. */
function useEntry(head) {
  const [state, setState] = useState({});
  useEffect(() => {
    let isWanted = true;
    const set = (changes) => isWanted && setState(changes);
    get('entry', { seq: head.seq }).then(
      (entry) => set({ entry }),
      (error) => set({ failure: error.message }),
    );
    return () => {
      isWanted = false;
    };
  }, [head.seq, head.outcome, head.answers]);
  return state;
}

function ShowInList({ seq, select }) {
  const show = () => {
    list.clear();
    select(seq);
  };
  return (
    <button type="button" onClick={show}>
      show in list
    </button>
  );
}

/** @param head is undefined when the entry has fallen out */
function Title({ head, select, close }) {
  const { kind, name = 'This entry was dropped', outcome, ms } = head ?? {};
  return (
    <header>
      {kind && <Icon name={kind} label={kinds[kind]} />}
      <h2 tabIndex={-1}>{name}</h2>
      {outcome && <span class={`badge ${isBad(head) ? 'bad' : ''} ${outcome}`}>{outcome}</span>}
      {ms !== undefined && <span class="dim">{duration(ms)}</span>}
      {head && !list.has(head.seq) && <ShowInList seq={head.seq} select={select} />}
      <button type="button" class="sign" aria-label="Close" onClick={close}>
        <Icon name="close" />
      </button>
    </header>
  );
}

/** Everything that is known of one entry. */
export function Detail({ seq, select, close, box, ...ways }) {
  useEntries();
  const head = entries.head(seq);
  const last = useMemo(() => head ?? { seq }, [head]);
  const { entry, failure } = useEntry(last);
  const texts = useMemo(() => entry && <Texts entry={entry} />, [entry]);
  return (
    <section class="detail" aria-label="Entry" ref={box}>
      <Title {...{ head, select, close }} />
      <div class="parts">
        {head && <Facts head={head} select={select} />}
        <Failure text={failure} />
        {texts}
        {head && <Surroundings head={head} select={select} />}
      </div>
      {entry?.kind === 'call' && <Actions entry={entry} {...ways} />}
    </section>
  );
}
