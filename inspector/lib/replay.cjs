'use strict';

const fs = require('node:fs');
const { channel } = require('node:diagnostics_channel');
const { ElectronFramework, mock } = require('zelectronframework');
const { Arrivals } = require('./arrivals.cjs');
const { Comparison } = require('./compare.cjs');
const { forMock } = require('./mockscript.cjs');
const { readRecording, RecordingError } = require('./recording.cjs');
const { Secrets } = require('./secrets.cjs');

const version = require('zelectronframework/package.json').version;
const heard = channel('zelectronframework:event'); // has the number of merged events
const mostFindings = 1000; // kept ones; further ones are only counted
// Asynchronous calls reach the account library in order: once this one is answered, all are there.
const marker = 'utils.getLogPath';

const short = (value) => {
  const text = value === undefined ? 'nothing' : JSON.stringify(value);
  return text.length > 200 ? `${text.slice(0, 200)}…` : text;
};

const subjectOf = (key) => key.replace(/^(reply of|event|task) /, '');

/** The command that makes the mock do what a line describes. */
const commandOf = ({ mock: command, raise, office }) =>
  command ??
  (raise === undefined ? { message: office } : { signal: raise.replace(/^account\./, '') });

class Replay {
  #recording;
  #limit;
  #framework = new ElectronFramework({ mock: true });
  #arrivals = new Arrivals();
  #comparison;
  #methods = new Map(); // id of a recorded call -> its method
  #answered = new Set(); // ids of calls of which a reply was recorded
  #isOnItsWay = false; // whether an asynchronous call may not have reached the account library
  #secrets = new Secrets();
  differ = 0;
  failures = [];
  warnings = [];
  lines = []; // the lines that a recording would have now

  constructor(recording, { timeout = 5000 } = {}) {
    const { header, lines } = recording;
    this.#recording = recording;
    this.#limit = timeout;
    const given = lines.map(({ params, mock: told, office }) => [params, told, office]);
    this.#comparison = new Comparison(header.mayDiffer, [header.settings, given]);
    for (const { id, async: queued, call = queued, got } of lines) {
      if (id !== undefined) this.#methods.set(id, call);
      if (got?.reply !== undefined && got.error === undefined) this.#answered.add(got.reply);
    }
  }

  async run() {
    const { header, lines } = this.#recording;
    if (header.framework !== version) {
      this.#warn(header.number, `recorded with version ${header.framework}, this is ${version}`);
    }
    const subscribe = (name, line, how) => {
      try {
        how(name);
      } catch (error) {
        this.#fail(line, { text: error.message });
      }
    };
    const events = named(lines, 'event', 'listen');
    for (const [event, line] of events) {
      subscribe(event, line, () => this.#framework.on(event, () => {}));
    }
    startFromNothing();
    const take = ({ name, count }) => {
      for (let i = 0; i < count; ++i) this.#arrivals.add(`event ${name}`, { body: {} });
    };
    heard.subscribe(take);
    try {
      await this.#framework.init(header.settings);
      for (const [task, line] of named(lines, 'task', 'task')) {
        const keep = (message) => this.#arrivals.add(`task ${task}`, { body: { message } });
        subscribe(task, line, () => this.#framework.onTask(task, keep));
      }
      await this.#arrivals.settle();
      this.#arrivals.isEarly = false;
      // Deliveries caused by subscribing belong to the recording only when it began before init.
      if (header.began === 'running') this.#arrivals.forget();
      for (const line of lines) await this.#step(line);
      await this.#arrivals.settle();
      this.#judgeRest();
    } finally {
      heard.unsubscribe(take);
      await this.#framework.close();
    }
  }

  async #step(line) {
    const { number, ...content } = line;
    this.lines.push(content);
    if (line.got) await this.#expect(line);
    else if (line.gap) this.#warn(number, `${line.gap} entries are missing here`);
    else if (line.mock ?? line.raise ?? line.office) await this.#command(line);
    else if (line.async ?? line.call) this.#ask(line);
  }

  #ask({ id, call, async: queued, params }) {
    const method = queued ?? call;
    const take = (body) => {
      if (this.#answered.has(id)) this.#arrivals.add(`reply of ${method}`, { id, body });
    };
    const refuse = (error) => take({ error: error.code, msg: error.message });
    if (call === undefined) {
      this.#isOnItsWay = true;
      this.#framework.call(method, params, { raw: true }).then(take, refuse);
      return;
    }
    try {
      take(this.#framework.callSync(method, params, { raw: true }));
    } catch (error) {
      refuse(error);
    }
  }

  async #command(line) {
    try {
      if (this.#isOnItsWay)
        await this.#framework.call(marker, {}, { raw: true, timeout: this.#limit });
      this.#isOnItsWay = false;
      const command = commandOf(line);
      if ('release' in command || 'releaseNth' in command) await this.#arrivals.idle(this.#limit);
      mock(command);
    } catch (error) {
      this.#fail(line.number, { text: error.message });
    }
  }

  async #expect({ number, got }) {
    if (got.reply !== undefined && !this.#answered.has(got.reply)) return;
    const key = keyOf(got, this.#methods);
    const arrival = await this.#arrivals.next(key, this.#limit);
    if (arrival) {
      this.#judge(number, got, arrival.value, key);
      return;
    }
    this.lines.pop();
    const [near] = this.failures.length < mostFindings ? this.#arrivals.left() : [];
    const text = `nothing came within ${this.#limit} ms: ${key}`;
    this.#fail(number, { text, nearest: near && `${near.key} ${short(near.value.body)}` });
  }

  #judge(number, got, { id: answered, body }, key) {
    const { reply: id, event, task: _, cut, ...expected } = got;
    if (answered !== id) {
      this.#fail(number, { text: `${key}: the answer of call ${answered} came first` });
    }
    if (cut) {
      this.#warn(number, `${key} was too long to be recorded`);
      return;
    }
    const wanted = event === undefined ? expected : {};
    const differences = this.#comparison.differences(subjectOf(key), wanted, body);
    for (const difference of differences) this.#fail(number, { text: key, ...difference });
    if (differences.length > 0) this.lines[this.lines.length - 1].got = this.#recorded(got, body);
  }

  #judgeRest() {
    const last = this.#recording.lines.at(-1)?.number ?? 1;
    for (const { key, value, isEarly } of this.#arrivals.left()) {
      if (isEarly) continue;
      const { body } = value;
      this.#fail(last, { text: `${key} came, which is not in the recording`, actual: body });
      this.lines.push({ got: this.#recorded(gotOf(key, value), body) });
    }
  }

  /** The "got" of the delivery that came now, without its secrets. */
  #recorded({ reply, event, task }, body) {
    if (event !== undefined) return { event };
    const now = this.#comparison.withPlaceholders(body);
    const entry =
      reply === undefined
        ? { kind: 'task', name: task, text: JSON.stringify(now.message) }
        : { kind: 'call', name: this.#methods.get(reply), reply: JSON.stringify(now) };
    const shown = this.#recording.header.masked ? this.#secrets.masked(entry) : entry;
    return reply === undefined
      ? { task, message: JSON.parse(shown.text) }
      : { reply, ...JSON.parse(shown.reply) };
  }

  #warn(line, text) {
    this.warnings.push({ line, text });
  }

  #fail(line, failure) {
    this.differ += 1;
    if (this.failures.length < mostFindings) this.failures.push({ line, ...failure });
  }
}

/** Removes the state that an earlier replay left in the mock. */
function startFromNothing() {
  try {
    mock({ reset: true });
  } catch (error) {
    if (error.code === 'ZEF_MOCK_REFUSED') {
      throw new Error('replay: the mock runs in this process already');
    }
    // Otherwise it is not loaded.
  }
}

function keyOf({ reply, event, task }, methods) {
  if (event !== undefined) return `event ${event}`;
  return task !== undefined ? `task ${task}` : `reply of ${methods.get(reply)}`;
}

function gotOf(key, { id }) {
  const subject = subjectOf(key);
  if (key.startsWith('event')) return { event: subject };
  return key.startsWith('task') ? { task: subject } : { reply: id };
}

/** Names of the subscriptions and deliveries in a recording -> their first line. */
function named(lines, got, verb) {
  const names = new Map();
  for (const line of lines) {
    const name = line.got?.[got] ?? line[verb];
    if (name !== undefined && !names.has(name)) names.set(name, line.number);
  }
  return names;
}

function textOf({ line, text, path, expected, actual, nearest }) {
  const parts = [`line ${line}: ${text}${path ? `: ${path}` : ''}`];
  if (path !== undefined) parts.push(`  recorded ${short(expected)}\n  now      ${short(actual)}`);
  else if (actual !== undefined) parts.push(`  now      ${short(actual)}`);
  if (nearest) parts.push(`  nearest: ${nearest}`);
  return parts.join('\n');
}

/**
 * Replays a recording with the mock and compares the deliveries with the recorded ones.
 *
 * @param source path of the file, or { text }
 * @param options timeout: milliseconds that each answer, event or message may take; update: updates
 *        the file to the current results
 * @returns { ok, calls, compared, differ, failures, warnings, report }
 */
async function replay(source, { timeout = 5000, update = false } = {}) {
  if (!(timeout >= 0 && timeout < 2 ** 31)) throw new RangeError('replay: timeout is milliseconds');
  const text = source.text ?? fs.readFileSync(source, 'utf8');
  const recording = forMock(readRecording(text));
  const run = new Replay(recording, { timeout });
  await run.run();
  const { differ, failures, warnings } = run;
  if (update && differ > 0) {
    const { number: _, ...header } = recording.header;
    const content = [header, ...run.lines].map((line) => `${JSON.stringify(line)}\n`).join('');
    fs.writeFileSync(source, content, { mode: 0o600 });
  }
  const compared = recording.lines.filter(({ got }) => got).length;
  const calls = recording.lines.filter((line) => line.async ?? line.call).length;
  const report = [
    ...warnings.map((warning) => `warning, ${textOf(warning)}`),
    ...failures.map(textOf),
    `${calls} calls, ${compared} answers, events and messages compared: ${differ} differ`,
  ].join('\n');
  return { ok: differ === 0, calls, compared, differ, failures, warnings, report };
}

module.exports = { replay, forMock, readRecording, RecordingError };
