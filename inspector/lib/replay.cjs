'use strict';

const fs = require('node:fs');
const { setTimeout: pause } = require('node:timers/promises');
const { ElectronFramework, mock } = require('zelectronframework');
const { Comparison } = require('./compare.cjs');
const { forMock } = require('./mockscript.cjs');
const { readRecording, RecordingError } = require('./recording.cjs');
const { Secrets } = require('./secrets.cjs');
const packages = { framework: require('zelectronframework/package.json').version };

const settleMilliseconds = 50;
const mostSettleMilliseconds = 5000;

const short = (value) => {
  const text = value === undefined ? 'nothing' : JSON.stringify(value);
  return text.length > 200 ? `${text.slice(0, 200)}…` : text;
};

/** What arrives, by where it belongs: the replies of one method, one event, one task type. */
class Arrivals {
  #queues = new Map();
  #wake = () => {};
  #count = 0;
  isEarly = true; // before the first line; then nothing need be expected

  add(key, value) {
    const queue = this.#queues.get(key) ?? [];
    this.#queues.set(key, queue);
    queue.push({ key, value, order: this.#count++, isEarly: this.isEarly });
    this.#wake();
  }

  /** \returns the oldest arrival of a key, or undefined when none has come in that time. */
  async next(key, milliseconds) {
    const end = Date.now() + milliseconds;
    while (!this.#queues.get(key)?.length) {
      const left = end - Date.now();
      if (left <= 0) return undefined;
      await new Promise((resolve) => {
        const timer = setTimeout(resolve, left);
        this.#wake = () => {
          clearTimeout(timer);
          resolve();
        };
      });
    }
    return this.#queues.get(key).shift();
  }

  forget() {
    this.#queues.clear();
  }

  /** Waits until nothing more comes. A machine that is busy elsewhere needs longer to tell. */
  async settle() {
    const end = Date.now() + mostSettleMilliseconds;
    for (let isQuiet = false; !isQuiet && Date.now() < end; ) {
      const [count, begin] = [this.#count, Date.now()];
      await pause(settleMilliseconds);
      const isInTime = Date.now() - begin < 2 * settleMilliseconds;
      isQuiet = isInTime && count === this.#count && !mock().busy;
    }
  }

  left() {
    return [...this.#queues.values()].flat().sort((a, b) => a.order - b.order);
  }
}

class Replay {
  #recording;
  #limit;
  #framework = new ElectronFramework({ mock: true });
  #arrivals = new Arrivals();
  #comparison;
  #methods = new Map(); // id of a recorded call -> its method
  #unanswered = new Set(); // ids of calls that no reply was recorded of
  #lastOrder = -1;
  #secrets = new Secrets();
  failures = [];
  warnings = [];
  lines = []; // as they would be recorded now

  constructor(recording, { timeout = 5000 } = {}) {
    this.#recording = recording;
    this.#limit = timeout;
    const given = recording.lines.map(({ params, mock: told, office }) => [params, told, office]);
    this.#comparison = new Comparison([recording.header.settings, given]);
    for (const line of recording.lines) {
      const method = line.async ?? line.call;
      if (method === undefined) continue;
      this.#methods.set(line.id, method);
      this.#unanswered.add(line.id);
    }
    for (const { got } of recording.lines) {
      if (got?.error === undefined) this.#unanswered.delete(got?.reply);
    }
  }

  async run() {
    const { header, lines } = this.#recording;
    this.#warnOfHeader(header);
    for (const event of names(lines, 'event', 'listen')) {
      this.#framework.on(event, () => this.#arrivals.add(`event ${event}`, {}));
    }
    if (isMockRunning()) throw new Error('replay: the mock runs in this process already');
    await this.#framework.init(header.settings);
    try {
      for (const task of names(lines, 'task', 'task')) {
        this.#framework.onTask(task, (message) => this.#arrivals.add(`task ${task}`, message));
      }
      await this.#arrivals.settle();
      this.#arrivals.isEarly = false;
      // What subscribing brings belongs to the recording only when that began before init.
      if (header.began === 'running') this.#arrivals.forget();
      for (const line of lines) await this.#step(line);
      await this.#arrivals.settle();
      this.#judgeRest();
    } finally {
      await this.#framework.close();
    }
  }

  #warnOfHeader({ number, framework }) {
    if (framework !== packages.framework) {
      this.warnings.push({
        line: number,
        text: `recorded with version ${framework}, this is ${packages.framework}`,
      });
    }
  }

  async #step(line) {
    const { number, ...content } = line;
    this.lines.push(content);
    if (line.got) await this.#expect(line);
    else if (line.gap)
      this.warnings.push({ line: number, text: `${line.gap} entries are missing here` });
    else if (line.mock) this.#command(line, line.mock);
    else if (line.raise) this.#command(line, { signal: line.raise.replace(/^account\./, '') });
    else if (line.office) this.#command(line, { message: line.office });
    else if (line.async ?? line.call) this.#ask(line);
  }

  #ask({ id, call, async: queued, params }) {
    const method = queued ?? call;
    const take = (reply) => {
      if (!this.#unanswered.has(id)) this.#arrivals.add(`reply of ${method}`, { id, reply });
    };
    const refuse = (error) => take({ error: error.code, msg: error.message });
    if (call === undefined) {
      this.#framework.call(method, params, { raw: true }).then(take, refuse);
      return;
    }
    try {
      take(this.#framework.callSync(method, params, { raw: true }));
    } catch (error) {
      refuse(error);
    }
  }

  #command({ number }, command) {
    try {
      mock(command);
    } catch (error) {
      this.#fail(number, { text: error.message });
    }
  }

  async #expect({ number, got }) {
    if (got.reply !== undefined && this.#unanswered.has(got.reply)) return;
    const key = keyOf(got, this.#methods);
    const arrival = await this.#arrivals.next(key, this.#limit);
    if (!arrival) {
      this.lines.pop();
      const near = this.#arrivals.left()[0];
      const text = `nothing came within ${this.#limit} ms: ${key}`;
      this.#fail(number, { text, nearest: near && `${near.key} ${short(near.value)}` });
      return;
    }
    if (arrival.order < this.#lastOrder) {
      this.warnings.push({ line: number, text: `${key} came earlier than recorded` });
    }
    this.#lastOrder = arrival.order;
    this.#judge(number, got, arrival, key);
  }

  #judge(number, got, { value }, key) {
    const { reply: id, event, task: _, cut, ...rest } = got;
    const expected = event !== undefined ? {} : id === undefined ? rest.message : rest;
    const actual = id === undefined ? value : value.reply;
    if (id !== undefined && value.id !== id) {
      this.#fail(number, { text: `${key}: the answer of call ${value.id} came first` });
    }
    if (cut) {
      this.warnings.push({ line: number, text: `${key} was too long to be recorded` });
      return;
    }
    const rules = (this.#recording.header.mayDiffer ?? [])
      .filter(
        ({ path, method, task }) =>
          typeof path === 'string' && (method ?? task ?? subjectOf(key)) === subjectOf(key),
      )
      .map((rule) => ({ ...rule, path: rule.path.replace(/^(got|message)\.?/, '') }));
    const differences = this.#comparison.differences(expected, actual, rules);
    for (const difference of differences) this.#fail(number, { text: key, ...difference });
    if (differences.length > 0) this.lines[this.lines.length - 1].got = this.#recorded(got, value);
  }

  #judgeRest() {
    const last = this.#recording.lines.at(-1)?.number ?? 1;
    for (const { key, value, isEarly } of this.#arrivals.left()) {
      if (isEarly) continue;
      this.#fail(last, { text: `${key} came, which is not in the recording`, actual: value });
      this.lines.push({ got: this.#recorded(gotOf(key, value), value) });
    }
  }

  /** The "got" of what came now, without its secrets. */
  #recorded(got, value) {
    const { reply, event, task } = got;
    if (event !== undefined) return { event };
    const now = this.#comparison.withPlaceholders(reply === undefined ? value : value.reply);
    const text = JSON.stringify(now);
    if (reply === undefined) {
      const masked = this.#secrets.masked({ kind: 'task', name: task, text });
      return { task, message: JSON.parse(masked.text) };
    }
    const entry = { kind: 'call', name: this.#methods.get(reply), reply: text };
    const isMasked = this.#recording.header.masked;
    return { reply, ...JSON.parse(isMasked ? this.#secrets.masked(entry).reply : text) };
  }

  #fail(line, failure) {
    this.failures.push({ line, ...failure });
  }
}

function isMockRunning() {
  try {
    return mock().running;
  } catch {
    return false; // it is not loaded
  }
}

const subjectOf = (key) => key.replace(/^(reply of|event|task) /, '');

function keyOf({ reply, event, task }, methods) {
  if (event !== undefined) return `event ${event}`;
  return task !== undefined ? `task ${task}` : `reply of ${methods.get(reply)}`;
}

function gotOf(key, { id }) {
  const subject = subjectOf(key);
  if (key.startsWith('event')) return { event: subject };
  return key.startsWith('task') ? { task: subject } : { reply: id };
}

/** Names that lines of a recording listen to or heard. */
function names(lines, got, verb) {
  return new Set(
    lines.flatMap((line) => [line.got?.[got], line[verb]]).filter((name) => name !== undefined),
  );
}

function textOf({ line, text, path, expected, actual, nearest }) {
  const parts = [`line ${line}: ${text}${path ? `: ${path}` : ''}`];
  if (path !== undefined) parts.push(`  recorded ${short(expected)}\n  now      ${short(actual)}`);
  else if (actual !== undefined) parts.push(`  now      ${short(actual)}`);
  if (nearest) parts.push(`  nearest: ${nearest}`);
  return parts.join('\n');
}

/**
 * Runs a recording against the mock and compares what comes with what was recorded.
 *
 * \param source path of the file, or { text }
 * \param options timeout: milliseconds that each answer, event or message may take; update: writes
 *        the file again as things are now
 * \returns { ok, calls, compared, failures, warnings, report }
 */
async function replay(source, { timeout, update = false } = {}) {
  const text = source.text ?? fs.readFileSync(source, 'utf8');
  const recording = forMock(readRecording(text));
  const run = new Replay(recording, { timeout });
  await run.run();
  const { failures, warnings } = run;
  if (update && failures.length > 0) {
    const { number: _, ...header } = recording.header;
    const content = [header, ...run.lines].map((line) => `${JSON.stringify(line)}\n`).join('');
    fs.writeFileSync(source, content, { mode: 0o600 });
  }
  const compared = recording.lines.filter(({ got }) => got).length;
  const calls = recording.lines.filter((line) => line.async ?? line.call).length;
  const report = [
    ...warnings.map((warning) => `warning, ${textOf(warning)}`),
    ...failures.map(textOf),
    `${calls} calls, ${compared} answers, events and messages compared: ${failures.length} differ`,
  ].join('\n');
  return { ok: failures.length === 0, calls, compared, failures, warnings, report };
}

module.exports = { replay, forMock, readRecording, RecordingError };
