import { useKept } from '../kept.js';

/** A part of the detail that opens and closes, and stays so for the next entry. */
export function Part({ title, count, isOpen: isOpenFirst = true, children }) {
  const [isOpen, setOpen] = useKept(`part ${title}`, isOpenFirst);
  return (
    <details class="part" open={isOpen} onToggle={({ target }) => setOpen(target.open)}>
      <summary>
        {title} {count !== undefined && <span class="dim">{count}</span>}
      </summary>
      {isOpen && children}
    </details>
  );
}
