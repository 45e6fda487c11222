/** What went wrong, if something did. */
export function Failure({ text }) {
  if (!text) return undefined;
  return (
    <p role="alert" class="bad">
      {text}
    </p>
  );
}
