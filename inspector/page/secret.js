import { useState } from 'preact/hooks';
import { post } from './connection.js';

const longest = 64 * 1024; // more of a text is drawn on request only
const placeholder = /(\{\{[\w-]+:\d+\}\})/;

/** A masked value, which is shown on request, it alone, and hidden again. */
function Secret({ name }) {
  const [value, setValue] = useState();
  const [failure, setFailure] = useState('');
  const isShown = value !== undefined;
  const toggle = () => {
    if (isShown) setValue(undefined);
    else {
      post('reveal', { value: name }).then(
        (answer) => setValue(answer.value),
        (error) => setFailure(` (${error.message})`),
      );
    }
  };
  return (
    <button
      type="button"
      class={`secret ${isShown ? 'shown' : ''}`}
      title={isShown ? 'Hide this value again' : 'Show this value'}
      aria-pressed={isShown}
      onClick={toggle}
    >
      {value ?? name + failure}
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
