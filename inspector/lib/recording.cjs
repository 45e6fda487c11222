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

/** Error codes of calls that the package does not pass to the library. */
const refusals = new Set(
  ['BAD_ARGUMENT', 'NOT_RUNNING', 'NOT_THREAD_SAFE', 'UNKNOWN_METHOD'].map((code) => `ZEF_${code}`),
);

/** The two lines of a call: the request and the reply. */
function callLines(entry) {
  const { name, id, mode, params, reply, outcome, t, ms, cut, thread } = entry;
  if (name === 'init') return [];
  if (cut?.params) return [{ t, line: { gap: 1, why: `the parameters of ${name} were too long` } }];
  if (reply === undefined && !cut?.reply && refusals.has(outcome))
    return [{ t, line: { note: `${name} was refused: ${outcome}` } }];
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
  const { kind, name, text, t, times } = entry;
  switch (kind) {
    case 'call':
      return callLines(entry);
    case 'event':
      return Array.from({ length: times ?? 1 }, () => ({ t, line: { got: { event: name } } }));
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

/** The subscriptions for a replay: every event and task type that occurs in the recording. */
function subscriptionOf({ kind, name }) {
  if (kind === 'event') return { listen: name };
  return kind === 'task' ? { task: name } : undefined;
}

/** Lines that belong at a later time than their entry, the next one first. */
class Later {
  #lines = [];

  add(line) {
    let place = this.#lines.length;
    while (place > 0 && this.#lines[place - 1].t > line.t) place -= 1;
    this.#lines.splice(place, 0, line);
  }

  /** Takes the lines up to a time. */
  until(t) {
    const end = this.#lines.findIndex((line) => line.t > t);
    return this.#lines.splice(0, end < 0 ? this.#lines.length : end);
  }
}

/**
 * Writes entries of a store as a recording, in several turns of the event loop.
 * @param shown returns an entry as it must be written
 * @returns asynchronous iterable of lines in chronological order
 */
async function* recordingLines({ store, from, to, started, header, shown }) {
  const otherThings = slices();
  yield { recording: 1, ...header, mayDiffer: varying() };
  const heard = new Set();
  for (let seq = Math.max(from, store.first); seq < to; ++seq) {
    await otherThings();
    const entry = store.get(seq);
    const subscription = entry && subscriptionOf(entry);
    if (!subscription || heard.has(`${entry.kind} ${entry.name}`)) continue;
    heard.add(`${entry.kind} ${entry.name}`);
    yield subscription;
  }
  const later = new Later();
  const timed = ({ t, line }) => ({ ...line, at: rounded(t - started) });
  let lost = 0;
  for (let seq = from; seq < to; ++seq) {
    await otherThings();
    const entry = store.get(seq);
    if (!entry) {
      lost += 1;
      continue;
    }
    if (lost > 0) yield { gap: lost };
    lost = 0;
    const [first, ...others] = linesOf(shown(entry));
    if (!first) continue;
    yield* later.until(first.t).map(timed);
    yield timed(first);
    for (const other of others) later.add(other);
  }
  if (lost > 0) yield { gap: lost };
  yield* later.until(Number.POSITIVE_INFINITY).map(timed);
}

class RecordingError extends Error {
  constructor(line, message) {
    super(`line ${line}: ${message}`);
    this.line = line;
  }
}

const verbs = ['call', 'async', 'listen', 'task', 'raise', 'office', 'mock', 'note', 'gap', 'got'];
const objects = new Set(['office', 'mock', 'got']);
const others = ['at', 'thread', 'why'];
const ofCalls = [...others, 'params', 'id'];
const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

/** @returns what is wrong with a line, or undefined. */
function complaint(line, ids) {
  const found = Object.keys(line).filter((key) => verbs.includes(key));
  const [verb] = found;
  if (found.length !== 1) return `one of ${verbs.join(', ')} is needed`;
  const known = verb === 'call' || verb === 'async' ? ofCalls : others;
  const unknown = Object.keys(line).find((key) => key !== verb && !known.includes(key));
  if (unknown !== undefined) return `unexpected key "${unknown}"`;
  if (objects.has(verb) && !isObject(line[verb])) return `"${verb}" needs an object`;
  if (verb !== 'gap' && !objects.has(verb) && typeof line[verb] !== 'string')
    return `"${verb}" needs a text`;
  if ('params' in line && !isObject(line.params)) return '"params" needs an object';
  if (line.id === undefined) return undefined;
  if (!Number.isSafeInteger(line.id) || line.id < 0) return '"id" is a number';
  return ids.has(line.id) ? `another call has the id ${line.id}` : undefined;
}

/** @returns { header, lines: [{ number, ...content }] } */
function readRecording(text) {
  const lines = [];
  const ids = new Set();
  text
    .replace(/^\ufeff/, '')
    .split('\n')
    .forEach((content, index) => {
      if (/^[ \t\r]*(#|$)/.test(content)) return;
      const line = objectOf(content);
      const number = index + 1;
      if (!isObject(line)) throw new RecordingError(number, 'not a JSON object');
      const problem =
        lines.length === 0
          ? line.recording !== 1 && 'no recording of a kind that is known: {"recording":1}'
          : complaint(line, ids);
      if (problem) throw new RecordingError(number, problem);
      if (line.id !== undefined) ids.add(line.id);
      lines.push({ number, ...line });
    });
  const [header, ...rest] = lines;
  if (!header) throw new RecordingError(1, 'no recording: it is empty');
  if (!isObject(header.settings ?? {})) throw new RecordingError(1, '"settings" needs an object');
  return { header, lines: rest };
}

module.exports = { recordingLines, readRecording, RecordingError };
