import { useKept } from '../kept.js';

const columns = [
  ['name', 'method'],
  ['count', 'calls'],
  ['fails', 'failed'],
  ['p50', 'p50, ms'],
  ['p90', 'p90, ms'],
  ['p99', 'p99, ms'],
  ['max', 'max, ms'],
];
const isTime = (key) => key.startsWith('p') || key === 'max';

const compare = (a, b) => (typeof a === 'string' ? -a.localeCompare(b) : a - b);

function Heading({ column: [key, title], sort, setSort }) {
  const isSorted = sort.key === key;
  const direction = sort.isRising ? 'ascending' : 'descending';
  return (
    <th aria-sort={isSorted ? direction : 'none'} class={key}>
      <button
        type="button"
        onClick={() => setSort({ key, isRising: isSorted ? !sort.isRising : false })}
      >
        {title}
        <span aria-hidden="true">{isSorted && (sort.isRising ? ' ↑' : ' ↓')}</span>
      </button>
    </th>
  );
}

function Row({ method, isChosen, choose, showSlow }) {
  const { name, count, fails, p90 } = method;
  return (
    <tr class={isChosen ? 'chosen' : ''}>
      <td class="name">
        <button type="button" class="link" aria-current={isChosen} onClick={() => choose(name)}>
          {name}
        </button>
      </td>
      <td>{count}</td>
      <td class={fails > 0 ? 'bad' : ''}>{fails}</td>
      {columns
        .filter(([key]) => isTime(key))
        .map(([key]) => (
          <td key={key} class={key}>
            {method[key].toFixed(2)}
          </td>
        ))}
      <td>
        <button
          type="button"
          class="link"
          aria-label={`Slow calls of ${name}`}
          title={`Show those above the 90th percentile, ${p90.toFixed(2)} ms`}
          onClick={() => showSlow(method)}
        >
          slow calls
        </button>
      </td>
    </tr>
  );
}

/** Latencies by method, the slowest first unless asked otherwise. */
export function Table({ methods, chosen, choose, showSlow }) {
  const [sort, setSort] = useKept('order of methods', { key: 'p99', isRising: false });
  const sign = sort.isRising ? 1 : -1;
  const sorted = [...methods].sort((a, b) => sign * compare(a[sort.key], b[sort.key]));
  return (
    <div class="wide">
      <table class="methods-table">
        <thead>
          <tr>
            {columns.map((column) => (
              <Heading key={column[0]} {...{ column, sort, setSort }} />
            ))}
            <th>
              <span class="unseen">calls</span>
            </th>
          </tr>
        </thead>
        <tbody>
          {sorted.map((method) => (
            <Row
              key={method.name}
              {...{ method, choose, showSlow }}
              isChosen={method.name === chosen}
            />
          ))}
        </tbody>
      </table>
    </div>
  );
}
