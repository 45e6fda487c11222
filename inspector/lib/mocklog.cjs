'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');

const lookMilliseconds = 100;
const mostAtOnce = 16 * 1024; // a millisecond's work
const coarseMilliseconds = 1000; // the time of a file is that of the last tick of a clock
const mostBehind = 256 * 1024; // before the first look

// time level process/thread module message, as the mock of the log library writes them
const form = /^(\d{4}-\d\d-\d\dT[\d:]{8}\.\d{3})(\d{3})Z (\S+) (\d+)\/(\d+) (\S+) (.*)$/;

const controls = { n: '\n', r: '\r', t: '\t' };
const unescaped = (text) =>
  text.replace(/\\(?:u\{([0-9a-f]{1,6})\}|(.))/g, (_, code, other) =>
    code === undefined
      ? (controls[other] ?? other)
      : String.fromCodePoint(Number.parseInt(code, 16)),
  );

/**
 * Follows the file of the mock's log library, and hands on the lines of this process since a time. Other
 * processes with the same names write to it too, for example those of replays.
 */
class MockLog {
  #folder;
  #since;
  #take;
  #timer;
  #positions = new Map(); // file -> { at, rest }

  /** @param take gets { time, level, thread, module, message } */
  constructor(folder, since, take) {
    this.#folder = folder;
    this.#since = since;
    this.#take = take;
    this.#plan();
  }

  stop() {
    clearTimeout(this.#timer);
    this.#timer = null;
  }

  #plan() {
    if (this.#timer === null) return;
    this.#timer = setTimeout(() => this.#look().then(() => this.#plan()), lookMilliseconds).unref();
  }

  async #look() {
    try {
      const files = (await fs.readdir(this.#folder)).filter((name) => name.endsWith('.log'));
      for (const name of files) await this.#read(path.join(this.#folder, name));
    } catch {
      // The folder is made with the first line, and may be removed.
    }
  }

  async #read(name) {
    const { size, mtimeMs } = await fs.stat(name);
    let position = this.#positions.get(name);
    if (!position) {
      if (mtimeMs < this.#since - coarseMilliseconds) return; // nothing new since then
      position = { at: Math.max(0, size - mostBehind), rest: Buffer.alloc(0) };
      this.#positions.set(name, position);
    }
    if (size < position.at) Object.assign(position, { at: 0, rest: Buffer.alloc(0) }); // a new file
    if (size === position.at) return;
    const file = await fs.open(name);
    try {
      while (position.at < size && this.#timer !== null) await this.#readPart(file, position, size);
    } finally {
      await file.close();
    }
  }

  async #readPart(file, position, size) {
    const { bytesRead, buffer } = await file.read({
      buffer: Buffer.alloc(Math.min(mostAtOnce, size - position.at)),
      position: position.at,
    });
    if (bytesRead === 0) throw new Error('the file has become shorter');
    position.at += bytesRead;
    const lines = Buffer.concat([position.rest, buffer.subarray(0, bytesRead)])
      .toString()
      .split('\n');
    position.rest = Buffer.from(lines.pop());
    for (const line of lines) this.#hand(line);
  }

  #hand(line) {
    const [, date, microseconds, level, pid, thread, module, message] = form.exec(line) ?? [];
    if (Number(pid) !== process.pid) return;
    const time = Date.parse(`${date}Z`) + Number(microseconds) / 1000;
    if (time < this.#since) return;
    this.#take({ time, level, thread: Number(thread), module, message: unescaped(message) });
  }
}

module.exports = { MockLog };
