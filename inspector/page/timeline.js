import { useEffect, useMemo, useRef, useState } from 'preact/hooks';
import { Detail } from './detail.js';
import { entries, useEntries } from './entries.js';
import { readSearch, search } from './filter.js';

const rowHeight = 24;
const spare = 10; // rows above and below what is seen

const signs = { call: '▶', event: '◆', task: '✉', log: '≡', mock: '⚙', late: '↺', note: '✎' };
const kinds = Object.keys(signs);

const seconds = (t) => (t / 1000).toFixed(3);
const milliseconds = (ms) => (ms === undefined ? '' : ms < 10 ? ms.toFixed(2) : ms.toFixed(1));

// Log lines are read from a file, a moment after other entries that came later.
function isBefore(a, b) {
  const difference = entries.head(a).t - entries.head(b).t;
  return difference === 0 ? a < b : difference < 0;
}

/** \returns where a seq stands in a list in the order of time, or would stand. */
function placeOf(list, seq) {
  let [low, high] = [0, list.length];
  while (low < high) {
    const middle = (low + high) >> 1;
    if (isBefore(list[middle], seq)) low = middle + 1;
    else high = middle;
  }
  return low;
}

const sorted = (list) => list.sort((a, b) => (isBefore(a, b) ? -1 : 1));

function put(list, seq, isShown) {
  const place = placeOf(list, seq);
  const isThere = list[place] === seq;
  if (isShown && !isThere) list.splice(place, 0, seq);
  else if (isThere && !isShown) list.splice(place, 1);
}

/** The seqs of the entries that pass the filter; of those that were tested only what has changed. */
function useShown(filter) {
  const last = useRef({});
  const { version } = entries;
  return useMemo(() => {
    const { filter: before, first, shown } = last.current;
    const touched = entries.touched.splice(0);
    const passes = (seq) => {
      const head = entries.head(seq);
      return head !== undefined && filter.test(head);
    };
    if (before === filter && first === entries.first) {
      for (const seq of touched) put(shown, seq, passes(seq));
    } else {
      const all = Array.from(
        { length: entries.next - entries.first },
        (_, at) => entries.first + at,
      );
      last.current = { filter, first: entries.first, shown: sorted(all.filter(passes)) };
    }
    return last.current.shown;
  }, [version, filter]);
}

const modulesOf = ({ description }) => [
  ...new Set(description.methods.map(({ name }) => name.split('.')[0])),
];

function useFilter() {
  const [text, setText] = useState('');
  const [hidden, setHidden] = useState(new Set());
  const [module, setModule] = useState('');
  const [result, setResult] = useState('');
  const [found, setFound] = useState();
  const query = useMemo(() => readSearch(text), [text]);
  useEffect(() => {
    let isWanted = true;
    const timer = setTimeout(
      () =>
        search(query.text).then(
          (result) => isWanted && setFound(result),
          () => {},
        ),
      query.text ? 200 : 0,
    );
    return () => {
      isWanted = false;
      clearTimeout(timer);
    };
  }, [query]);
  const filter = useMemo(() => {
    const chosen = readSearch(`${module && `module:${module}`} ${result && `result:${result}`}`);
    return {
      test: (head) =>
        !hidden.has(head.kind) &&
        chosen.test(head) &&
        query.test(head) &&
        (!found || found.seqs.has(head.seq)),
    };
  }, [query, hidden, found, module, result]);
  const toggle = (kind) => {
    const changed = new Set(hidden);
    if (!changed.delete(kind)) changed.add(kind);
    setHidden(changed);
  };
  const choices = [
    ['Module', module, setModule, modulesOf(entries.session)],
    ['Result', result, setResult, ['ok', 'fail', 'open']],
  ];
  return { filter, text, setText, hidden, toggle, choices, isCut: found && !found.isAll };
}

function Row({ head, top, index, isSelected, span, select }) {
  const { seq, t, kind, name, thread, ms, outcome, answers } = head;
  const isBad = (kind === 'call' && outcome !== 'ok' && outcome !== 'open') || outcome === 'error';
  const left = Math.min(99, Math.max(0, ((t - span.from) / span.length) * 100));
  const width = Math.min(100 - left, Math.max(1, ((ms ?? 0) / span.length) * 100));
  return (
    <div
      role="row"
      id={`row-${seq}`}
      aria-rowindex={index + 2}
      aria-selected={isSelected}
      class={`row ${kind} ${isBad ? 'bad' : ''} ${isSelected ? 'selected' : ''}`}
      style={{ transform: `translateY(${top}px)` }}
      onClick={() => select(seq)}
    >
      <span role="gridcell" class="time">
        {seconds(t)}
      </span>
      <span role="gridcell" class="thread">
        {thread}
      </span>
      <span role="gridcell" class="name">
        <i role="img" aria-label={kind}>
          {signs[kind]}
        </i>{' '}
        {name}
        {answers > 1 && <b title="answers"> ×{answers}</b>}
      </span>
      <span role="gridcell" class="ms">
        {milliseconds(ms)}
      </span>
      <span role="gridcell" class="outcome">
        {outcome}
      </span>
      <span role="gridcell" class="bar">
        <span aria-hidden="true" style={{ left: `${left}%`, width: `${width}%` }} />
      </span>
    </div>
  );
}

/** The time that the rows in view cover, on which their bars are drawn. */
function spanOf(rows) {
  const heads = rows.map((seq) => entries.head(seq)).filter(Boolean);
  const from = Math.min(...heads.map(({ t }) => t));
  const to = Math.max(...heads.map(({ t, ms = 0 }) => t + ms));
  return { from, length: Math.max(1, to - from) };
}

function Grid({ shown, selected, select, isFollowing, setFollowing }) {
  const box = useRef();
  const [scroll, setScroll] = useState({ top: 0, height: 600 });
  const measure = () => {
    const { scrollTop, clientHeight, scrollHeight } = box.current;
    setScroll({ top: scrollTop, height: clientHeight });
    setFollowing(scrollTop + clientHeight >= scrollHeight - rowHeight);
  };
  useEffect(() => {
    const observer = new ResizeObserver(measure);
    observer.observe(box.current);
    return () => observer.disconnect();
  }, []);
  useEffect(() => {
    if (isFollowing) box.current.scrollTop = shown.length * rowHeight;
  }, [shown.length, isFollowing]);

  const begin = Math.max(0, Math.floor(scroll.top / rowHeight) - spare);
  const end = Math.min(shown.length, Math.ceil((scroll.top + scroll.height) / rowHeight) + spare);
  const rows = shown.slice(begin, end);
  const span = spanOf(rows);

  const reveal = (index) => {
    const top = index * rowHeight;
    const { scrollTop, clientHeight } = box.current;
    if (top < scrollTop) box.current.scrollTop = top;
    else if (top + rowHeight > scrollTop + clientHeight) {
      box.current.scrollTop = top + rowHeight - clientHeight;
    }
  };
  const onKeyDown = (event) => {
    const page = Math.floor(scroll.height / rowHeight);
    const steps = {
      ArrowDown: 1,
      ArrowUp: -1,
      PageDown: page,
      PageUp: -page,
      Home: -1e9,
      End: 1e9,
    };
    const step = steps[event.key];
    if (step === undefined || shown.length === 0) return;
    event.preventDefault();
    setFollowing(false);
    const now = shown.indexOf(selected);
    const index = Math.min(shown.length - 1, Math.max(0, (now < 0 ? begin : now) + step));
    select(shown[index]);
    reveal(index);
  };
  return (
    <div class="list">
      <div
        ref={box}
        class="grid"
        role="grid"
        aria-label="Timeline"
        aria-rowcount={shown.length + 1}
        aria-colcount={6}
        aria-activedescendant={rows.includes(selected) ? `row-${selected}` : undefined}
        tabIndex={0}
        onScroll={measure}
        onKeyDown={onKeyDown}
      >
        <div role="row" aria-rowindex={1} class="row header">
          <span role="columnheader" class="time">
            time
          </span>
          <span role="columnheader" class="thread" title="thread">
            th
          </span>
          <span role="columnheader" class="name">
            name
          </span>
          <span role="columnheader" class="ms">
            ms
          </span>
          <span role="columnheader" class="outcome">
            result
          </span>
          <span role="columnheader" class="bar">
            when
          </span>
        </div>
        <div role="rowgroup" class="rows" style={{ height: `${shown.length * rowHeight}px` }}>
          {rows.map((seq, offset) => (
            <Row
              key={seq}
              head={entries.head(seq)}
              index={begin + offset}
              top={(begin + offset) * rowHeight}
              isSelected={seq === selected}
              span={span}
              select={select}
            />
          ))}
        </div>
      </div>
    </div>
  );
}

export function Timeline({ selected, select, explore }) {
  const { isPaused, held, lost, session } = useEntries();
  const { filter, text, setText, hidden, toggle, choices, isCut } = useFilter();
  const [isFollowing, setFollowing] = useState(true);
  const field = useRef();
  const shown = useShown(filter);
  useEffect(() => {
    const onKeyDown = (event) => {
      const isTyping = /^(INPUT|TEXTAREA|SELECT)$/.test(event.target.tagName);
      if (event.key === '/' && !isTyping) {
        event.preventDefault();
        field.current.focus();
      } else if (event.key === 'Escape') select(undefined);
    };
    document.addEventListener('keydown', onKeyDown);
    return () => document.removeEventListener('keydown', onKeyDown);
  }, []);
  return (
    <>
      <div class="tools">
        <button type="button" aria-pressed={isPaused} onClick={() => entries.pause(!isPaused)}>
          {isPaused ? '▶ resume' : '❚❚ pause'}
        </button>
        <input
          ref={field}
          type="search"
          aria-label="Search"
          placeholder="search   method:logout result:fail >50ms"
          value={text}
          onInput={(event) => setText(event.target.value)}
        />
        {choices.map(([name, value, choose, values]) => (
          <select
            key={name}
            aria-label={name}
            value={value}
            onChange={({ target }) => choose(target.value)}
          >
            <option value="">all {name.toLowerCase()}s</option>
            {values.map((each) => (
              <option key={each}>{each}</option>
            ))}
          </select>
        ))}
        <span class="kinds" role="group" aria-label="What is shown">
          {kinds.map((kind) => (
            <button
              key={kind}
              type="button"
              class="kind"
              aria-pressed={!hidden.has(kind)}
              onClick={() => toggle(kind)}
            >
              {signs[kind]} {kind}
            </button>
          ))}
        </span>
        <span class="count" role="status">
          {shown.length.toLocaleString('en')} shown · {lost + (session?.first ?? 0)} lost
          {isPaused ? ` · ${held} held back` : ''}
          {isCut ? ' · too many hits, the first are shown' : ''}
        </span>
      </div>
      <div class={`split ${selected === undefined ? '' : 'open'}`}>
        <Grid {...{ shown, selected, select, isFollowing, setFollowing }} />
        {selected !== undefined && (
          <Detail key={selected} seq={selected} select={select} explore={explore} />
        )}
      </div>
    </>
  );
}
