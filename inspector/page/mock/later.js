/** After how many milliseconds something is to happen. */
export function Later({ value, change, children }) {
  return (
    <label>
      {children}{' '}
      <input
        class="short"
        type="number"
        min="0"
        value={value}
        onInput={({ target }) => change(Number(target.value))}
      />{' '}
      ms
    </label>
  );
}
