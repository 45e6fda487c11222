import { isBad } from './kinds.js';

/** What a row says of the content of an entry: of a failure, the reason first. */
export function Preview({ head, preview: { summary, asked, told } }) {
  if (summary) return <span class="summary">{summary}</span>;
  if (isBad(head) && told) {
    return (
      <>
        <code class="bad">{told}</code> <code>{asked}</code>
      </>
    );
  }
  return (
    <>
      <code>{asked}</code>
      {asked && told && ' → '}
      <code>{told}</code>
    </>
  );
}
