'use strict';

const path = require('node:path');
const { execFile } = require('node:child_process');
const { Refusal } = require('./server.cjs');

const program = path.join(__dirname, '../bin/inspector.cjs');
const limitMilliseconds = 120_000;
const mostBytes = 64 * 2 ** 20;

/** Replays in a process of its own: the mock is one for a process, and this one's is in use. */
function replayApart({ text }) {
  return new Promise((resolve, reject) => {
    const child = execFile(
      process.execPath,
      [program, 'replay', '--json', '-'],
      {
        timeout: limitMilliseconds,
        maxBuffer: mostBytes,
        env: { ...process.env, ELECTRON_RUN_AS_NODE: '1' },
      },
      (error, output, errors) => {
        try {
          resolve(JSON.parse(output));
        } catch {
          reject(new Refusal(422, errors.trim() || error?.message || 'the replay did not end'));
        }
      },
    );
    child.stdin.on('error', () => {}); // it ended before it had read everything
    child.stdin.end(String(text));
  });
}

module.exports = { replayApart };
