import { useEffect, useState } from 'preact/hooks';
import { entries } from '../entries.js';
import { Icon } from '../icons.js';
import { useKept } from '../kept.js';
import { list } from './list.js';
import { Nothing } from './nothing.js';
import { usePreviews } from './previews.js';
import { Row, rowHeight } from './row.js';

const spare = 8; // rows above and below what is seen

const columns = [
  ['time', 'time, s'],
  ['thread', 'thread'],
  ['name', 'name'],
  ['preview', 'content'],
  ['ms', 'ms'],
  ['outcome', 'result'],
  ['bar', 'when'],
];

const Header = () => (
  <div role="row" aria-rowindex={1} class="row header">
    {columns.map(([name, title]) => (
      <span key={name} role="columnheader" class={name}>
        {title}
      </span>
    ))}
  </div>
);

/** The time that the rows in view cover, on which their bars are drawn. */
function spanOf(heads) {
  const from = Math.min(...heads.map(({ t }) => t));
  const to = Math.max(...heads.map(({ t, ms = 0 }) => t + ms));
  return { from, length: Math.max(0.1, to - from) };
}

/** By how many rows a key moves the selection. */
function stepOf(key, page) {
  return {
    ArrowDown: 1,
    ArrowUp: -1,
    PageDown: page,
    PageUp: -page,
    Home: Number.NEGATIVE_INFINITY,
    End: Number.POSITIVE_INFINITY,
  }[key];
}

/** Scrolls a box so that a row is in view, below the header. */
function reveal(box, index) {
  const top = index * rowHeight;
  const height = box.clientHeight - rowHeight;
  if (top < box.scrollTop) box.scrollTop = top;
  else if (top + rowHeight > box.scrollTop + height) box.scrollTop = top + rowHeight - height;
}

/** Where the box is scrolled to; while following, its end. */
function useScroll(box, length) {
  const [isFollowing, follow] = useKept('timeline is following', true);
  const [scroll, setScroll] = useState({ top: 0, height: 600 });
  const measure = () => {
    const { scrollTop, clientHeight, scrollHeight } = box.current;
    setScroll({ top: scrollTop, height: clientHeight });
    follow(scrollTop + clientHeight >= scrollHeight - rowHeight);
  };
  useEffect(() => {
    const observer = new ResizeObserver(measure);
    observer.observe(box.current);
    return () => observer.disconnect();
  }, []);
  useEffect(() => {
    if (isFollowing) box.current.scrollTop = length * rowHeight;
  }, [length, isFollowing]);
  return { ...scroll, measure, isFollowing, follow };
}

/** Keeps the selected row in view, whatever the filters do. */
function useSelection(box, selected, follow) {
  useEffect(() => {
    const index = selected === undefined ? -1 : list.indexOf(selected);
    if (index < 0) return;
    follow(false);
    reveal(box.current, index);
  }, [selected, list.filters]);
}

/** @returns the entry that a key leads to, if it does */
function seqAt(key, selected, begin, page) {
  const { seqs } = list;
  const step = stepOf(key, page);
  if (step === undefined || seqs.length === 0) return undefined;
  const now = list.indexOf(selected);
  const from = now < 0 ? begin + (step > 0 ? -1 : 1) : now;
  return seqs[Math.min(seqs.length - 1, Math.max(0, from + step))];
}

function Rows({ heads, begin, count, selected, select }) {
  const previewOf = usePreviews(heads);
  const span = spanOf(heads);
  return (
    <div role="rowgroup" class="rows" style={{ height: `${count * rowHeight}px` }}>
      {heads.map((head, offset) => (
        <Row
          key={head.seq}
          {...{ head, span, select }}
          preview={previewOf(head)}
          index={begin + offset}
          isSelected={head.seq === selected}
        />
      ))}
    </div>
  );
}

/** All entries of the list; only the rows in view are drawn. */
export function Grid({ box, selected, select, open }) {
  const { seqs } = list;
  const { top, height, measure, isFollowing, follow } = useScroll(box, seqs.length);
  const begin = Math.max(0, Math.floor(top / rowHeight) - spare);
  const rows = seqs.slice(begin, Math.ceil((top + height) / rowHeight) + spare);
  useSelection(box, selected, follow);
  const onKeyDown = (event) => {
    if (event.key === 'Enter') open();
    const seq = seqAt(event.key, selected, begin, Math.floor(height / rowHeight) - 1);
    if (seq === undefined) return;
    event.preventDefault();
    select(seq);
  };
  return (
    <div class="list">
      <div
        ref={box}
        class="grid"
        role="grid"
        aria-label="Timeline"
        aria-rowcount={seqs.length + 1}
        aria-colcount={columns.length}
        aria-activedescendant={rows.includes(selected) ? `row-${selected}` : undefined}
        tabIndex={0}
        onScroll={measure}
        onKeyDown={onKeyDown}
      >
        <Header />
        <Rows
          heads={rows.map((seq) => entries.head(seq))}
          count={seqs.length}
          {...{ begin, selected, select }}
        />
      </div>
      {seqs.length === 0 && <Nothing />}
      {!isFollowing && (seqs.length + 1) * rowHeight > height && (
        <button type="button" class="newest" onClick={() => follow(true)}>
          <Icon name="down" /> newest
        </button>
      )}
    </div>
  );
}
