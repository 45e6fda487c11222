import { clock } from '../times.js';
import { Plot } from './plot.js';

const rounded = (value) => {
  if (value === undefined || value === null) return '–';
  const digits = value >= 100 || Number.isInteger(value) ? 0 : value >= 10 ? 1 : 2;
  return value.toLocaleString('en', {
    minimumFractionDigits: digits,
    maximumFractionDigits: digits,
  });
};
const timeOf = (seconds) => clock(seconds * 1000).slice(0, 8);

/** A little more than there is: a line along the edge is hard to see. */
const fromZero = (_, __, most) => [0, (most || 1) * 1.1];

/** A chart over the time of day. */
export function OverTime({ title, unit = '', times, series, columns }) {
  const say = (value) => `${rounded(value)} ${unit}`;
  return (
    <Plot
      title={title}
      series={series}
      data={[times, ...columns]}
      say={say}
      whereOf={timeOf}
      scales={{ x: { time: false }, y: { range: fromZero } }}
      axes={[
        { values: (_, splits) => splits.map(timeOf), space: 90, size: 24 },
        { size: 46, values: (_, splits) => splits.map((value) => value.toLocaleString('en')) },
      ]}
    />
  );
}
