import { Json } from '../json.js';

/** What a method replies, and how it fails. */
export function Documentation({ method }) {
  const { description, errors = [], result } = method;
  return (
    <details class="documentation">
      <summary>What it replies</summary>
      {description && <p>{description}</p>}
      <p>
        {method['x-threadSafe']
          ? 'Runs on any thread, also by callSync.'
          : 'Runs on the host thread only.'}{' '}
        Replies: {method['x-answer']}.
      </p>
      {errors.length > 0 && (
        <table>
          <thead>
            <tr>
              <th>fails with</th>
              <th>when</th>
            </tr>
          </thead>
          <tbody>
            {errors.map(({ message, data }) => (
              <tr key={message}>
                <td>{message}</td>
                <td>{data}</td>
              </tr>
            ))}
          </tbody>
        </table>
      )}
      <h3>Data on success</h3>
      <Json text={JSON.stringify(result.schema)} />
    </details>
  );
}
