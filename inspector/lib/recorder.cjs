'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { mockState } = require('./mockpanel.cjs');
const { recordingText } = require('./recording.cjs');
const { Refusal } = require('./server.cjs');

const version = require('zelectronframework/package.json').version;

const defaultSettings = {
  app: {
    appName: 'replay',
    productName: 'replay',
    version: '1.0.0',
    localStoragePath: '/var/tmp/replay',
  },
};

/** The mock as it is now, as settings with which another one starts in the same state. */
function seedOf({ accounts, users, currentUserId, office }, standin) {
  return { ...standin, accounts, users, currentUserId, office, initFinishedAfterMs: -1 };
}

/** Makes recordings of what a store gets between start() and stop(). */
class Recorder {
  #store;
  #secrets;
  #options;
  #recording; // { from, started, header } while one is made

  /** \param options settings: what init was given; recordings: folder to save in */
  constructor(store, secrets, options) {
    this.#store = store;
    this.#secrets = secrets;
    this.#options = options;
  }

  get isRecording() {
    return this.#recording !== undefined;
  }

  start(isRunning) {
    const state = mockState();
    const settings = { ...defaultSettings, ...this.#options.settings };
    if (state && isRunning) settings.standin = seedOf(state, settings.standin);
    const header = {
      framework: version,
      libraries: state ? 'mock' : 'real',
      settings,
      began: isRunning ? 'running' : 'before init',
    };
    this.#recording = { from: this.#store.next, started: this.#store.now(), header };
  }

  /**
   * \param learned all entries up to now have told their secrets when it is fulfilled
   * \returns { text, file }; file is where it was saved, if a name was given
   */
  async stop({ masked = true, name }, learned) {
    if (!this.isRecording) throw new Refusal(409, 'nothing is recorded');
    const { from, started, header } = this.#recording;
    const to = this.#store.next;
    this.#recording = undefined;
    await learned;
    const settings = this.#settingsOf(header, from, to);
    const text = await recordingText({
      from,
      to,
      started,
      header: { ...header, masked, settings: masked ? this.#secrets.state(settings) : settings },
      entryOf: (seq) => {
        const entry = this.#store.get(seq);
        return entry && masked ? this.#secrets.masked(entry) : entry;
      },
    });
    return { text, file: name === undefined ? undefined : this.#save(name, text) };
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

  #save(name, text) {
    const { recordings } = this.#options;
    if (recordings === undefined) throw new Refusal(409, 'started without a folder for recordings');
    if (!/^[\w-][\w.-]{0,99}$/.test(name)) throw new Refusal(400, 'not a name for a file');
    const file = path.join(recordings, name.endsWith('.jsonl') ? name : `${name}.jsonl`);
    try {
      fs.writeFileSync(file, text, { flag: 'wx', mode: 0o600 }); // follows no link
    } catch (error) {
      throw new Refusal(409, error.code === 'EEXIST' ? `${name} exists already` : error.message);
    }
    return file;
  }
}

module.exports = { Recorder };
