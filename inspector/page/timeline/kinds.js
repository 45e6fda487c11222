/** What entries are called, and which of them one switch shows or hides. */
export const kinds = {
  call: 'call',
  event: 'event',
  task: 'task message',
  log: 'log line',
  mock: 'told to the mock',
  late: 'late or repeated answer',
  note: 'note',
};

export const switches = [
  ['Calls', 'call', ['call']],
  ['Events', 'event', ['event']],
  ['Tasks', 'task', ['task']],
  ['Log', 'log', ['log']],
  ['Mock', 'mock', ['mock']],
  ['Other', 'note', ['late', 'note']],
];

export const isBad = ({ kind, outcome }) =>
  outcome === 'error' || (kind === 'call' && outcome !== 'ok' && outcome !== 'open');
