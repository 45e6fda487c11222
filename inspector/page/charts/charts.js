import { useEffect } from 'preact/hooks';
import { get } from '../connection.js';
import { useKept } from '../kept.js';
import { Distribution } from './distribution.js';
import { OverTime } from './overtime.js';
import { Table } from './table.js';
import './charts.css';

const pollMilliseconds = 1000;
const most = 3600;

// Seconds without a call have no percentiles: few points are drawn as such.
const sparse = {
  size: 5,
  show: ({ data }, series) => data[series].filter((value) => value !== null).length < 60,
};

/** What the process has measured, asked for once a second; older samples are kept. */
function useMeasures() {
  const [measures, setMeasures] = useKept('measures', undefined);
  useEffect(() => {
    let samples = measures?.samples ?? [];
    const poll = async () => {
      try {
        const answer = await get('measures', { since: samples.at(-1)?.t ?? -1 });
        samples = [...samples, ...answer.samples].slice(-most);
        setMeasures({ ...answer, samples });
      } catch {
        // The page says that the process has gone.
      }
    };
    poll();
    const timer = setInterval(poll, pollMilliseconds);
    return () => clearInterval(timer);
  }, []);
  return measures;
}

function Process({ samples, times }) {
  const column = (key) => samples.map((sample) => sample[key]);
  return (
    <>
      <OverTime
        title="Per second"
        times={times}
        series={[{ label: 'calls' }, { label: 'events and messages' }]}
        columns={[column('calls'), column('deliveries')]}
      />
      <OverTime
        title="Event loop delay"
        unit="ms"
        times={times}
        series={[{ label: '99th percentile' }]}
        columns={[column('delay')]}
      />
      <OverTime
        title="Memory"
        unit="MiB"
        times={times}
        series={[{ label: 'process' }, { label: 'heap' }, { label: 'kept entries' }]}
        columns={[column('rss'), column('heap'), column('kept')]}
      />
    </>
  );
}

/** How long calls take, how many there are, and how the process fares. */
export function Charts({ selectInTimeline }) {
  const measures = useMeasures();
  const [chosen, choose] = useKept('method in the charts', undefined);
  if (!measures) return <p class="nothing">Asking for measurements…</p>;
  const { methods, binsPerDoubling, samples } = measures;
  if (methods.length === 0) return <p class="nothing">No call has ended yet.</p>;
  const slowest = methods.reduce((a, b) => (b.p99 > a.p99 ? b : a));
  const method = methods.find(({ name }) => name === chosen) ?? slowest;
  const times = samples.map(({ t }) => t / 1000);
  const percentile = (part) => samples.map((sample) => sample.methods[method.name]?.[part] ?? null);
  // A little less: percentiles are rounded up.
  const showSlow = ({ name, p90 }) =>
    selectInTimeline(undefined, `method:${name} >${(p90 * 0.998).toFixed(3)}ms`);
  return (
    <div class="charts">
      <Table {...{ methods, choose, showSlow }} chosen={method.name} />
      <Distribution key={method.name} method={method} perDoubling={binsPerDoubling} />
      <OverTime
        key={`over time ${method.name}`}
        title={`Percentiles of ${method.name}`}
        unit="ms"
        times={times}
        series={['p50', 'p99'].map((label) => ({ label, spanGaps: true, points: sparse }))}
        columns={[percentile('p50'), percentile('p99')]}
      />
      <Process {...{ samples, times }} />
    </div>
  );
}
