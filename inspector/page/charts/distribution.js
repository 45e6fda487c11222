import uPlot from 'uplot';
import { duration } from '../times.js';
import { color, Plot } from './plot.js';

/** Bars of a latency distribution, each between two edges of a logarithmic axis. */
export function Distribution({ method, perDoubling }) {
  const { counts, name } = method;
  const begin = Math.max(0, counts.findIndex((count) => count > 0) - perDoubling);
  const end = counts.findLastIndex((count) => count > 0) + perDoubling + 1;
  const shown = counts.slice(begin, end).map((count) => count || null);
  const edge = (bin) => duration(2 ** (bin / perDoubling) / 1000);
  const middles = shown.map((_, index) => begin + index + 0.5);
  const edges = (_, __, from, to) => {
    const every = perDoubling * Math.ceil((to - from) / perDoubling / 10);
    const first = Math.ceil(from / every) * every;
    return Array.from(
      { length: Math.floor((to - first) / every) + 1 },
      (_, at) => first + at * every,
    );
  };
  return (
    <Plot
      title={`Latency of ${name}`}
      series={[
        { label: 'calls', paths: uPlot.paths.bars({ size: [0.92] }), fill: color('--series-0') },
      ]}
      say={(count) => count ?? 0}
      whereOf={(middle) => `${edge(middle - 0.5)} to ${edge(middle + 0.5)}`}
      scales={{ x: { time: false, range: [begin, begin + shown.length] } }}
      axes={[
        { splits: edges, values: (_, splits) => splits.map(edge), size: 24 },
        { size: 46, incrs: [1, 2, 5, 10, 20, 50, 100, 200, 500, 1e3, 2e3, 5e3, 1e4, 1e5, 1e6] },
      ]}
      data={[middles, shown]}
    />
  );
}
