'use strict';

const { varying } = require('./description.cjs');
const { slices } = require('./slices.cjs');

const rounded = (milliseconds) => Math.round(milliseconds * 10) / 10;

function objectOf(text) {
  try {
    const value = JSON.parse(text);
    return typeof value === 'object' && value !== null ? value : undefined;
  } catch {
    return undefined;
  }
}

/** The two lines of a call: what was asked, and what came. */
function callLines(entry) {
  const { name, id, mode, params, reply, outcome, t, ms, cut, thread } = entry;
  if (name === 'init') return [];
  if (cut?.params) return [{ t, line: { gap: 1, why: `the parameters of ${name} were too long` } }];
  const ask = { [mode === 'sync' ? 'call' : 'async']: name };
  const given = params === undefined ? undefined : objectOf(params);
  if (given) ask.params = given;
  const lines = [{ t, line: { ...ask, id, thread } }];
  if (outcome === 'open') return lines;
  const got = { reply: id, ...(cut?.reply ? { cut: true } : objectOf(reply)) };
  if (reply === undefined && !cut?.reply) got.error = outcome;
  lines.push({ t: t + ms, line: { got } });
  return lines;
}

function linesOf(entry) {
  const { kind, name, text, t } = entry;
  switch (kind) {
    case 'call':
      return callLines(entry);
    case 'event':
      return [{ t, line: { got: { event: name } } }];
    case 'task':
      return [{ t, line: { got: { task: name, message: objectOf(text) } } }];
    case 'mock':
      return [{ t, line: { mock: objectOf(text) } }];
    case 'late':
      return [{ t, line: { note: `${name} answered again, or too late` } }];
    default:
      return []; // log lines and notes are not compared
  }
}

/** What is subscribed to before the first line of a replay: what was heard of. */
function subscriptions(lines) {
  const heard = new Map();
  for (const { got } of lines) {
    if (got?.event) heard.set(`event ${got.event}`, { listen: got.event });
    if (got?.task) heard.set(`task ${got.task}`, { task: got.task });
  }
  return [...heard.values()];
}

/**
 * Writes the entries of a store from `from` on as a recording.
 * \param entryOf gives an entry by its seq as it shall be written, or undefined when it is gone
 * \returns text in JSON Lines; several turns of the event loop pass
 */
async function recordingText({ from, to, started, header, entryOf }) {
  const timed = [];
  let lost = 0;
  const otherThings = slices();
  for (let seq = from; seq < to; ++seq) {
    await otherThings();
    const entry = entryOf(seq);
    if (entry) timed.push(...linesOf(entry));
    else lost += 1;
  }
  timed.sort((a, b) => a.t - b.t);
  const lines = timed.map(({ t, line }) => ({ ...line, at: rounded(t - started) }));
  if (lost > 0) lines.unshift({ gap: lost });
  const head = { recording: 1, ...header, mayDiffer: varying() };
  return [head, ...subscriptions(lines), ...lines]
    .map((line) => `${JSON.stringify(line)}\n`)
    .join('');
}

class RecordingError extends Error {
  constructor(line, message) {
    super(`line ${line}: ${message}`);
    this.line = line;
  }
}

/** \returns { header, lines: [{ number, ...what it says }] } */
function readRecording(text) {
  const lines = [];
  text.split('\n').forEach((content, index) => {
    if (content.trim() === '' || content.startsWith('#')) return;
    const line = objectOf(content);
    if (!line) throw new RecordingError(index + 1, 'not a JSON object');
    lines.push({ number: index + 1, ...line });
  });
  const [header, ...rest] = lines;
  if (header?.recording !== 1) {
    throw new RecordingError(
      header?.number ?? 1,
      'no recording of a kind that is known: {"recording":1}',
    );
  }
  return { header, lines: rest };
}

module.exports = { recordingText, readRecording, RecordingError };
