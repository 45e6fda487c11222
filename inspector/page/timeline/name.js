/** The name of an entry; the module of a method steps back. */
export function Name({ name }) {
  const dot = name.indexOf('.') + 1;
  return (
    <>
      {dot > 0 && <span class="module">{name.slice(0, dot)}</span>}
      {name.slice(dot)}
    </>
  );
}
