import { useState } from 'preact/hooks';

const placeholder = /\{\{[\w-]+:\d+\}\}/;
const quoted = (text) => `'${text.replace(/'/g, `'\\''`)}'`;

/** A C++ literal, whatever is in the text. */
function rawLiteral(text) {
  let mark = 'json';
  while (text.includes(`)${mark}"`)) mark += '_';
  return `R"${mark}(${text})${mark}"`;
}

/** A call as a line of JavaScript, of C++, or for zefhost. */
const forms = {
  JavaScript: ({ name, mode, params }) =>
    `${mode === 'sync' ? 'framework.callSync' : 'await framework.call'}('${name}'${params ? `, ${params}` : ''});`,
  'C++': ({ name, mode, params }) =>
    `framework->${mode === 'sync' ? 'call' : 'asynCall'}("${name}", ${rawLiteral(params ?? '{}')}, &callback);`,
  zefhost: ({ name, mode, params }) =>
    `zefhost ${mode === 'sync' ? 'call' : 'async'} ${name} ${quoted(params ?? '{}')}`,
};

/** Buttons that copy a call, { name, mode, params }, into programs. */
export function Copies({ call }) {
  const [done, setDone] = useState('');
  const copy = async (form) => {
    const text = forms[form](call);
    try {
      await navigator.clipboard.writeText(text);
      const [masked] = placeholder.exec(text) ?? [];
      setDone(masked ? `Copied, with ${masked} in place of the secret` : 'Copied');
    } catch {
      setDone('The browser does not allow copying');
    }
  };
  return (
    <span class="copies">
      Copy as{' '}
      {Object.keys(forms).map((form) => (
        <button key={form} type="button" aria-label={`Copy as ${form}`} onClick={() => copy(form)}>
          {form}
        </button>
      ))}
      <span role="status">{done}</span>
    </span>
  );
}
