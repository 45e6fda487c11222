'use strict';

const path = require('node:path');
const { execFile } = require('node:child_process');
const { Readable } = require('node:stream');
const { pipeline } = require('node:stream/promises');
const { Refusal } = require('./server.cjs');

const program = path.join(__dirname, '../bin/inspector.cjs');
const limitMilliseconds = 600_000;
const mostBytes = 64 * 2 ** 20; // of the result
const mostRecordedBytes = 256 * 2 ** 20;

async function* limited(source) {
  let size = 0;
  for await (const part of source) {
    size += part.length;
    if (size > mostRecordedBytes) throw new Refusal(413, 'the recording is too long');
    yield part;
  }
}

/**
 * Replays in a process of its own: the mock is one for a process, and this one's is in use. One at a
 * time, since each takes as much memory and time as a program.
 */
class ReplayApart {
  #running; // AbortController

  close() {
    this.#running?.abort();
  }

  /**
   * @param source text, or { lines }, a stream
   * @param gone tells when nobody waits for the result any more
   */
  async run({ text = '', lines = Readable.from([String(text)]) }, gone) {
    if (this.#running) throw new Refusal(409, 'a replay is running already');
    const running = new AbortController();
    this.#running = running;
    gone.addEventListener('abort', () => running.abort());
    if (gone.aborted) running.abort();
    try {
      return await this.#result(lines, running.signal);
    } finally {
      this.#running = undefined;
    }
  }

  #result(lines, signal) {
    const options = {
      timeout: limitMilliseconds,
      maxBuffer: mostBytes,
      env: { ...process.env, ELECTRON_RUN_AS_NODE: '1' },
      signal,
    };
    return new Promise((resolve, reject) => {
      const args = [program, 'replay', '--json', '-'];
      let refusal;
      const child = execFile(process.execPath, args, options, (error, output, errors) => {
        try {
          resolve(JSON.parse(output));
        } catch {
          const reason = errors.trim() || error?.message || 'the replay did not end';
          reject(refusal ?? new Refusal(422, reason));
        }
      });
      pipeline(lines, limited, child.stdin).catch((error) => {
        if (!(error instanceof Refusal)) return; // it ended before it had read everything
        refusal = error;
        child.kill();
      });
    });
  }
}

module.exports = { ReplayApart };
