import { useState } from 'preact/hooks';

const mostShown = 200;

const shown = (value) => (value === undefined ? 'nothing' : JSON.stringify(value));

function Finding({ finding, showLine }) {
  const { line, text, path, nearest } = finding;
  const hasValues = 'expected' in finding || 'actual' in finding;
  return (
    <li>
      <button type="button" class="link" onClick={() => showLine(line)}>
        line {line}
      </button>{' '}
      {text} {path && <code>{path}</code>}
      {hasValues && (
        <dl>
          <dt>recorded</dt>
          <dd>
            <code>{shown(finding.expected)}</code>
          </dd>
          <dt>now</dt>
          <dd>
            <code class="bad">{shown(finding.actual)}</code>
          </dd>
        </dl>
      )}
      {nearest && <p class="dim">nearest: {nearest}</p>}
    </li>
  );
}

function List({ findings, showLine }) {
  const [limit, setLimit] = useState(mostShown);
  return (
    <ol class="findings">
      {findings.slice(0, limit).map((finding, index) => (
        <Finding key={index} {...{ finding, showLine }} />
      ))}
      {findings.length > limit && (
        <button type="button" onClick={() => setLimit(limit + mostShown)}>
          {findings.length - limit} more
        </button>
      )}
    </ol>
  );
}

/** How a replay went. */
export function Findings({ result, showLine }) {
  const { ok, calls, compared, failures, warnings } = result;
  const differences = `${failures.length} ${failures.length === 1 ? 'difference' : 'differences'}`;
  return (
    <section class="result" aria-label="Result">
      <div role="status">
        <h2>
          <span class={`badge ${ok ? 'ok' : 'bad'}`}>{ok ? 'green' : 'red'}</span>{' '}
          {ok ? 'as recorded' : differences}
        </h2>
      </div>
      <p class="dim">
        {calls} calls; {compared} answers, events and messages compared
      </p>
      <List findings={failures} showLine={showLine} />
      {warnings.length > 0 && (
        <details>
          <summary>
            {warnings.length} {warnings.length === 1 ? 'note' : 'notes'}, not counted as differences
          </summary>
          <List findings={warnings} showLine={showLine} />
        </details>
      )}
    </section>
  );
}
