const paths = {
  call: 'M2 8h11M9 4l4 4-4 4',
  event: 'M9 2 4 9h4l-1 5 5-7H8z',
  task: 'M2 4h12v8H2zM2 4.5 8 9l6-4.5',
  log: 'M3 4h10M3 8h10M3 12h6',
  mock: 'M6 2h4M7 2v4l-4 7h10L9 6V2M5 10h6',
  late: 'M8 2a6 6 0 1 0 .01 0M8 5v3l2 2',
  note: 'M8 2a6 6 0 1 0 .01 0M8 7v4M8 5v.01',
  close: 'M4 4l8 8M12 4l-8 8',
  pause: 'M6 3v10M10 3v10',
  resume: 'M5 3l8 5-8 5z',
  filter: 'M2 3h12L9.5 8.5V13l-3-1.5v-3z',
  down: 'M8 3v10M4 9l4 4 4-4',
};

/** A sign of 16 pixels in the colour of the text. Without a label it says nothing of its own. */
export function Icon({ name, label }) {
  return (
    <svg
      class={`icon ${name}`}
      viewBox="0 0 16 16"
      role={label ? 'img' : undefined}
      aria-label={label}
      aria-hidden={label ? undefined : true}
    >
      <path d={paths[name]} />
    </svg>
  );
}
