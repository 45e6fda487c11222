/** @returns { value } or { error } of a text that should be a JSON object */
export function readObject(text) {
  try {
    const value = JSON.parse(text);
    if (typeof value === 'object' && value !== null && !Array.isArray(value)) return { value };
    return { error: 'This is not a JSON object.' };
  } catch (error) {
    return { error: `This is not JSON: ${error.message}` };
  }
}

/** A field for a JSON object that says what is wrong with it. */
export function JsonField({ id, label, text, setText }) {
  const { error } = readObject(text);
  return (
    <div class="field">
      <label for={id}>{label}</label>
      <textarea
        id={id}
        rows={3}
        spellcheck={false}
        aria-invalid={error !== undefined}
        aria-describedby={`${id}-error`}
        value={text}
        onInput={({ target }) => setText(target.value)}
      />
      <small id={`${id}-error`} class="bad">
        {error}
      </small>
    </div>
  );
}
