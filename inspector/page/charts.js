import { useEffect, useRef, useState } from 'preact/hooks';
import uPlot from 'uplot';
import { get } from './connection.js';

const pollMilliseconds = 1000;
const most = 3600;

const color = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

function Plot({ title, series, data, height = 160, scales, axes }) {
  const box = useRef();
  const plot = useRef();
  useEffect(() => {
    const axis = {
      stroke: color('--dim'),
      grid: { stroke: color('--line') },
      ticks: { stroke: color('--line') },
    };
    plot.current = new uPlot(
      {
        title,
        width: box.current.clientWidth,
        height,
        scales,
        legend: { live: true },
        series: [
          {},
          ...series.map((each, index) => ({
            stroke: color(`--series-${index}`),
            width: 1.5,
            ...each,
          })),
        ],
        axes: (axes ?? [{}, {}]).map((each) => ({ ...axis, ...each })),
      },
      data,
      box.current,
    );
    const observer = new ResizeObserver(() =>
      plot.current.setSize({ width: box.current.clientWidth, height }),
    );
    observer.observe(box.current);
    return () => {
      observer.disconnect();
      plot.current.destroy();
    };
  }, [title]);
  useEffect(() => plot.current?.setData(data), [data]);
  return <div ref={box} class="plot" role="img" aria-label={title} />;
}

const number = (value) => (value < 10 ? value.toFixed(3) : value.toFixed(1));

function Table({ methods, chosen, choose }) {
  const columns = ['count', 'fails', 'p50', 'p90', 'p99', 'max'];
  return (
    <table>
      <thead>
        <tr>
          <th>method</th>
          {columns.map((name) => (
            <th key={name}>{name.startsWith('p') || name === 'max' ? `${name}, ms` : name}</th>
          ))}
        </tr>
      </thead>
      <tbody>
        {methods.map((method) => (
          <tr key={method.name}>
            <td>
              <button
                type="button"
                class="link"
                aria-current={method.name === chosen}
                onClick={() => choose(method.name)}
              >
                {method.name}
              </button>
            </td>
            {columns.map((name) => (
              <td key={name} class="number">
                {name === 'count' || name === 'fails' ? method[name] : number(method[name])}
              </td>
            ))}
          </tr>
        ))}
      </tbody>
    </table>
  );
}

/** Bars of a latency distribution; the axis is in powers of two of a microsecond. */
function Distribution({ method, perDoubling }) {
  const { counts } = method;
  const from = counts.findIndex((count) => count > 0);
  const to = counts.findLastIndex((count) => count > 0);
  const shown = counts.slice(Math.max(0, from - 2), to + 3);
  const at = shown.map((_, index) => index + Math.max(0, from - 2));
  const label = (bin) => {
    const microseconds = 2 ** (bin / perDoubling);
    return microseconds < 1000
      ? `${microseconds.toFixed(0)} µs`
      : `${(microseconds / 1000).toFixed(1)} ms`;
  };
  return (
    <Plot
      title={`Latency of ${method.name}`}
      series={[
        { label: 'calls', paths: uPlot.paths.bars({ size: [0.9] }), fill: color('--series-0') },
      ]}
      scales={{ x: { time: false } }}
      axes={[{ values: (_, splits) => splits.map(label) }, {}]}
      data={[at, shown]}
    />
  );
}

export function Charts() {
  const [samples, setSamples] = useState([]);
  const [measures, setMeasures] = useState();
  const [chosen, choose] = useState();
  useEffect(() => {
    let since = -1;
    const poll = () =>
      get('measures', { since }).then(
        (answer) => {
          since = answer.samples.at(-1)?.t ?? since;
          setMeasures(answer);
          setSamples((before) => [...before, ...answer.samples].slice(-most));
        },
        () => {},
      );
    poll();
    const timer = setInterval(poll, pollMilliseconds);
    return () => clearInterval(timer);
  }, []);
  if (!measures) return <p class="panel">measuring</p>;
  const { methods, binsPerDoubling } = measures;
  const method = methods.find(({ name }) => name === chosen) ?? methods[0];
  const column = (key) => samples.map((sample) => sample[key]);
  const times = samples.map(({ t }) => t / 1000);
  const overTime = { scales: { x: { time: false } } };
  return (
    <div class="charts">
      <Table methods={methods} chosen={method?.name} choose={choose} />
      {method && <Distribution key={method.name} method={method} perDoubling={binsPerDoubling} />}
      <Plot
        {...overTime}
        title="Calls and deliveries per second"
        series={[{ label: 'calls' }, { label: 'events and messages' }]}
        data={[times, column('calls'), column('deliveries')]}
      />
      <Plot
        {...overTime}
        title="Event loop delay, 99th percentile, ms"
        series={[{ label: 'ms' }]}
        data={[times, column('delay')]}
      />
      <Plot
        {...overTime}
        title="Memory, MiB"
        series={[
          { label: 'process' },
          { label: 'JavaScript heap' },
          { label: 'entries kept here' },
        ]}
        data={[times, column('rss'), column('heap'), column('kept')]}
      />
    </div>
  );
}
