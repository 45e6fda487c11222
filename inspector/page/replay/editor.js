import { useEffect, useRef, useState } from 'preact/hooks';
import { edited, linesFrom, sizeOf } from './recording.js';

const lineHeight = 18;
const shownBefore = 10; // lines above the one that is shown
const mostShown = 200;

const numbers = (from, count) => Array.from({ length: count }, (_, at) => from + at).join('\n');

/** The whole text, with numbers of its lines. */
function Text({ recording, change, line }) {
  const [area, gutter] = [useRef(), useRef()];
  const { text } = recording;
  const lines = text.split('\n');
  useEffect(() => {
    if (!line) return;
    const start = lines.slice(0, line.number - 1).reduce((sum, { length }) => sum + length + 1, 0);
    const field = area.current;
    field.focus();
    field.setSelectionRange(start, start + lines[line.number - 1].length);
    field.scrollTop = (line.number - shownBefore) * lineHeight;
    field.scrollLeft = 0;
  }, [line]);
  return (
    <div class="editor">
      <pre ref={gutter} aria-hidden="true">
        {numbers(1, lines.length)}
      </pre>
      <textarea
        ref={area}
        aria-label="recording"
        spellcheck={false}
        wrap="off"
        value={text}
        placeholder="Record something, open a file, or paste a recording here."
        onInput={({ target }) => change(edited(recording, target.value))}
        onScroll={({ target }) => {
          gutter.current.scrollTop = target.scrollTop;
        }}
      />
    </div>
  );
}

/** Some lines of a recording that is too large to be edited here. */
function Part({ recording: { file }, line }) {
  const [shown, setShown] = useState({ from: 1, lines: [] });
  useEffect(() => {
    const from = Math.max(1, (line?.number ?? 1) - shownBefore);
    linesFrom(file, from, mostShown).then((lines) => setShown({ from, lines }));
  }, [file, line]);
  const { from, lines } = shown;
  return (
    <>
      <p class="dim">
        {sizeOf(file.size)}, too large to be edited here: lines {from} to {from + lines.length - 1}.
      </p>
      <div class="editor">
        <pre aria-hidden="true">{numbers(from, lines.length)}</pre>
        {/* biome-ignore lint/a11y/noNoninteractiveTabindex: it scrolls */}
        <section class="part" aria-label="recording" tabIndex={0}>
          <pre>
            {lines.map((content, at) => (
              <span key={from + at} class={from + at === line?.number ? 'chosen' : ''}>
                {content}
                {'\n'}
              </span>
            ))}
          </pre>
        </section>
      </div>
    </>
  );
}

/** A recording, to be looked at and changed. @param line { number } that is shown */
export function Editor(props) {
  return props.recording.text === undefined ? <Part {...props} /> : <Text {...props} />;
}
