import { useEffect, useRef } from 'preact/hooks';
import { useEntries } from '../entries.js';
import { Detail } from './detail.js';
import { Footer } from './footer.js';
import { Grid } from './grid.js';
import { Toolbar } from './toolbar.js';
import './timeline.css';

// Esc empties a search first.
const isClearing = ({ target }) => target.type === 'search' && target.value !== '';
const isTyping = ({ target }) => /^(INPUT|TEXTAREA|SELECT)$/.test(target.tagName);

/** The list of all that happened, and beside it the entry that is chosen. */
export function Timeline({ selected, select, runAgain, answerSo }) {
  useEntries();
  const [field, grid, detail] = [useRef(), useRef(), useRef()];
  const close = () => {
    select(undefined);
    grid.current.focus();
  };
  useEffect(() => {
    const onKeyDown = (event) => {
      if (event.key === '/' && !isTyping(event)) {
        event.preventDefault();
        field.current.focus();
      } else if (event.key === 'Escape' && detail.current && !isClearing(event)) close();
    };
    document.addEventListener('keydown', onKeyDown);
    return () => document.removeEventListener('keydown', onKeyDown);
  }, []);
  return (
    <div class="timeline">
      <Toolbar field={field} />
      <div class="split">
        <Grid
          box={grid}
          open={() => detail.current?.querySelector('h2').focus()}
          {...{ selected, select }}
        />
        {selected !== undefined && (
          <Detail
            key={selected}
            box={detail}
            seq={selected}
            {...{ select, close, runAgain, answerSo }}
          />
        )}
      </div>
      <Footer />
    </div>
  );
}
