import { useState } from 'preact/hooks';
import { Text } from './secret.js';
import './json.css';

const childrenAtOnce = 200;

function parsed(text) {
  try {
    const value = JSON.parse(text);
    return typeof value === 'object' && value !== null ? value : undefined;
  } catch {
    return undefined;
  }
}

function Value({ value }) {
  if (typeof value !== 'string') return <span class={typeof value}>{String(value)}</span>;
  return (
    <span class="string">
      "<Text text={value} />"
    </span>
  );
}

/** The members of an object or array, the first few hundred at once. */
function Members({ value, depth }) {
  const [limit, setLimit] = useState(childrenAtOnce);
  const keys = Object.keys(value);
  return (
    <ul class="tree">
      {keys.slice(0, limit).map((key) => (
        <Member key={key} name={key} value={value[key]} depth={depth} />
      ))}
      {limit < keys.length && (
        <li>
          <button type="button" onClick={() => setLimit(limit + childrenAtOnce)}>
            {keys.length - limit} more
          </button>
        </li>
      )}
    </ul>
  );
}

const sizeOf = (value, count) => (Array.isArray(value) ? `[${count}]` : `{${count}}`);

function Member({ name, value, depth }) {
  // Entries of some replies are JSON texts themselves.
  const inner = typeof value === 'string' && /^\s*[[{]/.test(value) ? parsed(value) : undefined;
  const content = inner ?? value;
  const [isOpen, setOpen] = useState(depth < 3);
  if (typeof content !== 'object' || content === null) {
    return (
      <li>
        <span class="key">{name}: </span>
        <Value value={content} />
      </li>
    );
  }
  return (
    <li>
      <button type="button" class="fold" aria-expanded={isOpen} onClick={() => setOpen(!isOpen)}>
        <span class="key">{name}: </span>
        <span class="dim">
          {sizeOf(content, Object.keys(content).length)}
          {inner && ' JSON in a text'}
        </span>
      </button>
      {isOpen && <Members value={content} depth={depth + 1} />}
    </li>
  );
}

/** JSON as a tree or as it came. */
export function Json({ text, cut, nothing = 'nothing' }) {
  const [isRaw, setRaw] = useState(false);
  const length = cut?.toLocaleString('en');
  if (!text) {
    return <p class="dim">{cut ? `${length} characters, too long to be masked` : nothing}</p>;
  }
  const value = parsed(text);
  const isEmpty = value && Object.keys(value).length === 0;
  return (
    <div class="json">
      {value && !isEmpty && (
        <button type="button" class="link raw" aria-pressed={isRaw} onClick={() => setRaw(!isRaw)}>
          {isRaw ? 'tree' : 'raw'}
        </button>
      )}
      {value && !isEmpty && !isRaw ? (
        <Members value={value} depth={0} />
      ) : (
        <pre>
          <Text text={text} />
        </pre>
      )}
      {cut && <p class="dim">cut off: it has {length} characters</p>}
    </div>
  );
}
