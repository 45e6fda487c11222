import { useEffect, useRef, useState } from 'preact/hooks';
import uPlot from 'uplot';

export const color = (name) =>
  getComputedStyle(document.documentElement).getPropertyValue(name).trim();

const strokes = (series) => series.map((_, index) => color(`--series-${index}`));

function optionsOf({ series, scales, axes, height }, width, onCursor) {
  const axis = {
    stroke: color('--dim'),
    font: '11px system-ui',
    grid: { stroke: color('--faint'), width: 1 },
    ticks: { show: false },
  };
  return {
    width,
    height,
    scales,
    legend: { show: false },
    cursor: { y: false, points: { size: 6 }, drag: { x: false, y: false } },
    series: [
      {},
      ...series.map((each, index) => ({
        stroke: color(`--series-${index}`),
        width: 1.5,
        points: { show: false },
        ...each,
      })),
    ],
    axes: axes.map((each) => ({ ...axis, ...each })),
    hooks: { setCursor: [({ cursor }) => onCursor(cursor.idx ?? undefined)] },
  };
}

/** The names of the series, with their values under the pointer, or the last ones. */
function Legend({ series, data, at, say, whereOf }) {
  const colors = strokes(series);
  const valueAt = (values) =>
    at === undefined ? values.findLast((value) => value !== null) : values[at];
  return (
    <span class="legend">
      {at !== undefined && <span class="dim">{whereOf(data[0][at])}</span>}
      {series.map(({ label }, number) => (
        <span key={label}>
          <i style={{ background: colors[number] }} />
          {label} <b>{say(valueAt(data[number + 1]))}</b>
        </span>
      ))}
    </span>
  );
}

/** A chart that fills the width it gets. */
export function Plot({ title, height = 132, ...given }) {
  const [box, plot] = [useRef(), useRef()];
  const [at, setAt] = useState();
  const [scheme, setScheme] = useState(0); // counts changes between light and dark
  useEffect(() => {
    const query = matchMedia('(prefers-color-scheme: dark)');
    const onChange = () => setScheme((count) => count + 1);
    query.addEventListener('change', onChange);
    return () => query.removeEventListener('change', onChange);
  }, []);
  useEffect(() => {
    const width = () => box.current.clientWidth;
    plot.current = new uPlot(
      optionsOf({ ...given, height }, width(), setAt),
      given.data,
      box.current,
    );
    const observer = new ResizeObserver(() => plot.current.setSize({ width: width(), height }));
    observer.observe(box.current);
    return () => {
      observer.disconnect();
      plot.current.destroy();
    };
  }, [title, scheme]);
  useEffect(() => plot.current.setData(given.data), [given.data]);
  return (
    <figure class="plot">
      <figcaption>
        <h2>{title}</h2>
        <Legend {...given} at={at} />
      </figcaption>
      <div ref={box} role="img" aria-label={title} />
    </figure>
  );
}
