'use strict';

const fs = require('node:fs/promises');
const path = require('node:path');
const { isMock, mockState } = require('./mockpanel.cjs');
const { recordingLines } = require('./recording.cjs');
const { Download, Refusal } = require('./server.cjs');

const version = require('zelectronframework/package.json').version;

const defaultSettings = {
  app: {
    appName: 'replay',
    productName: 'replay',
    version: '1.0.0',
    localStoragePath: '/var/tmp/replay',
  },
};

const partLength = 64 * 1024; // characters in one write

const librariesOf = (isRunning) => (isMock(isRunning) ? 'mock' : 'real');

/** Settings with which a mock starts in the current state of this one. */
function seedOf({ accounts, users, currentUserId, office }, standin) {
  return { ...standin, accounts, users, currentUserId, office, initFinishedAfterMs: -1 };
}

/** Joins lines to texts of a good size for writing. */
async function* inParts(lines) {
  let part = '';
  for await (const line of lines) {
    part += `${JSON.stringify(line)}\n`;
    if (part.length < partLength) continue;
    yield part;
    part = '';
  }
  yield part;
}

/** Records the entries that a store gets between start() and stop(). */
class Recorder {
  #store;
  #secrets;
  #options;
  #recording; // { from, started, header } while one is made

  /** @param options settings: those of init; recordings: folder to save in */
  constructor(store, secrets, options) {
    this.#store = store;
    this.#secrets = secrets;
    this.#options = options;
  }

  get isRecording() {
    return this.#recording !== undefined;
  }

  start(isRunning) {
    const settings = { ...defaultSettings, ...this.#options.settings };
    if (isRunning && isMock(isRunning)) settings.standin = seedOf(mockState(), settings.standin);
    const header = {
      framework: version,
      libraries: isRunning ? librariesOf(isRunning) : undefined, // known when it has started
      settings,
      began: isRunning ? 'running' : 'before init',
    };
    this.#recording = { from: this.#store.next, started: this.#store.now(), header };
  }

  /**
   * Ends the recording once all of it was handed over; until then it continues.
   * @param options learn() fulfils when all entries so far were searched for secrets; ended() is
   *        called at the end
   * @returns a Download of the recording, saved as well if a name is given
   */
  async stop({ masked = true, name }, { isRunning, learn, ended }) {
    if (!this.isRecording) throw new Refusal(409, 'nothing is recorded');
    const saved = name === undefined ? undefined : await this.#newFile(name);
    const parts = this.#parts({ masked, isRunning, learn, ended, saved });
    return new Download(parts, saved && { 'Saved-As': encodeURIComponent(saved.file) });
  }

  async *#parts({ masked, isRunning, learn, ended, saved }) {
    const recording = this.#recording;
    const to = this.#store.next;
    let isWhole = false;
    try {
      await learn();
      for await (const part of inParts(this.#lines(recording, to, masked, isRunning))) {
        await saved?.handle.write(part);
        yield part;
      }
      isWhole = true;
      if (this.#recording === recording) this.#recording = undefined;
      ended();
    } finally {
      await saved?.handle.close();
      if (saved && !isWhole) await fs.rm(saved.file, { force: true });
    }
  }

  #lines({ from, started, header }, to, masked, isRunning) {
    const settings = this.#settingsOf(header, from, to);
    return recordingLines({
      store: this.#store,
      from,
      to,
      started,
      header: {
        ...header,
        libraries: header.libraries ?? librariesOf(isRunning),
        masked,
        settings: masked ? this.#secrets.state(settings) : settings,
      },
      shown: (entry) => (masked ? this.#secrets.masked(entry) : entry),
    });
  }

  /** Where init is part of the recording, its settings are the ones to start with. */
  #settingsOf(header, from, to) {
    const isWhole = header.began !== 'running';
    for (let seq = from; isWhole && seq < to; ++seq) {
      const entry = this.#store.get(seq);
      if (entry?.name === 'init' && !entry.cut) return JSON.parse(entry.params);
    }
    return header.settings;
  }

  async #newFile(name) {
    const { recordings } = this.#options;
    if (recordings === undefined) throw new Refusal(409, 'started without a folder for recordings');
    const isName = typeof name === 'string' && /^[\w-][\w.-]{0,99}$/.test(name);
    if (!isName) throw new Refusal(400, 'not a name for a file');
    const file = path.join(recordings, name.endsWith('.jsonl') ? name : `${name}.jsonl`);
    try {
      return { file, handle: await fs.open(file, 'wx', 0o600) }; // follows no link
    } catch (error) {
      throw new Refusal(409, error.code === 'EEXIST' ? `${name} exists already` : error.message);
    }
  }
}

module.exports = { Recorder };
