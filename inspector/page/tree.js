import { useState } from 'preact/hooks';
import { post } from './connection.js';

const longest = 64 * 1024; // more of a text is drawn on request only
const placeholder = /(\{\{[\w-]+:\d+\}\})/;

function parsed(text) {
  try {
    const value = JSON.parse(text);
    return typeof value === 'object' ? value : undefined;
  } catch {
    return undefined;
  }
}

/** A masked value, which is shown on request, it alone. */
function Secret({ name }) {
  const [value, setValue] = useState();
  if (value !== undefined) return <mark class="shown">{value}</mark>;
  const show = () =>
    post('reveal', { value: name }).then(
      (answer) => setValue(answer.value),
      () => {},
    );
  return (
    <button type="button" class="secret" title="show this value" onClick={show}>
      {name}
    </button>
  );
}

/** A text from outside, always as text, its secrets masked. */
export function Text({ text }) {
  const [isWhole, setWhole] = useState(false);
  const part = isWhole ? text : text.slice(0, longest);
  return (
    <>
      {part.split(placeholder).map((each, index) => (index % 2 ? <Secret name={each} /> : each))}
      {part.length < text.length && (
        <button type="button" onClick={() => setWhole(true)}>
          show all {text.length.toLocaleString('en')} characters
        </button>
      )}
    </>
  );
}

function Value({ value }) {
  if (typeof value === 'string') {
    return (
      <span class="string">
        "<Text text={value} />"
      </span>
    );
  }
  return <span class={typeof value}>{String(value)}</span>;
}

const childrenAtOnce = 200;

function Node({ name, value, depth }) {
  // Entries of some replies are JSON texts themselves.
  const inner = typeof value === 'string' && /^\s*[[{]/.test(value) ? parsed(value) : undefined;
  const content = inner ?? value;
  const isContainer = typeof content === 'object' && content !== null;
  const [isOpen, setOpen] = useState(depth < 4);
  const [limit, setLimit] = useState(childrenAtOnce);
  const label = name === undefined ? '' : `${name}: `;
  if (!isContainer) {
    return (
      <li>
        <span class="key">{label}</span>
        <Value value={content} />
      </li>
    );
  }
  const keys = Object.keys(content);
  const size = Array.isArray(content) ? `[${keys.length}]` : `{${keys.length}}`;
  return (
    <li>
      <button type="button" class="fold" aria-expanded={isOpen} onClick={() => setOpen(!isOpen)}>
        {isOpen ? '▾' : '▸'} <span class="key">{label}</span>
        {size}
        {inner && ' in a text'}
      </button>
      {isOpen && (
        <ul>
          {keys.slice(0, limit).map((key) => (
            <Node key={key} name={key} value={content[key]} depth={depth + 1} />
          ))}
          {limit < keys.length && (
            <li>
              <button type="button" onClick={() => setLimit(limit + childrenAtOnce)}>
                {keys.length - limit} more
              </button>
            </li>
          )}
        </ul>
      )}
    </li>
  );
}

/** JSON as a tree or as it came. */
export function Json({ text, cut }) {
  const [isRaw, setRaw] = useState(false);
  if (text === undefined || text === null) {
    return (
      <p class="dim">
        {cut ? `${cut.toLocaleString('en')} characters, too long to be masked` : 'nothing'}
      </p>
    );
  }
  const value = parsed(text);
  return (
    <>
      {value && (
        <button type="button" aria-pressed={isRaw} onClick={() => setRaw(!isRaw)}>
          raw
        </button>
      )}
      {value && !isRaw ? (
        <ul class="tree">
          <Node value={value} depth={0} />
        </ul>
      ) : (
        <pre>
          <Text text={text} />
        </pre>
      )}
      {cut && <p class="dim">cut off: it has {cut.toLocaleString('en')} characters</p>}
    </>
  );
}
