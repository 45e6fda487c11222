'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: pause } = require('node:timers/promises');
const { ElectronFramework, mock } = require('../index.cjs');

/** Another architecture's Node.js runs in an emulator, which is slow and has its own program. */
const isEmulated = Boolean(process.env.ZEF_EMULATED);
const nodeProgram = process.env.ZEF_NODE ?? process.execPath;

/** Tells the mock what to do, with texts; the storms are in native/. */
const standin = {
  ...require(`./native/${process.platform}-${process.arch}/standin.node`),
  script: (operation, json) => mock({ script: { [operation]: JSON.parse(json) } }),
  sendMessage: (json) => mock({ message: JSON.parse(json) }),
  collect: (json) => mock({ collect: JSON.parse(json) }),
  held: () => mock().held.length,
  releaseAll: () => mock({ release: true }),
};

// The log files of the mock stay out of the user's own folders. Processes that a test starts share its
// folder, because one that is killed could not remove its own.
const isOwner = process.env.ZEF_SCRATCH === undefined;
process.env.ZEF_SCRATCH ??= fs.mkdtempSync(path.join(os.tmpdir(), 'zelectronframework-test-'));
const scratch = process.env.ZEF_SCRATCH;
process.env.XDG_STATE_HOME ??= scratch;
process.on('exit', () => {
  if (isOwner) fs.rmSync(scratch, { recursive: true, force: true });
});

function settings(standinSettings) {
  const app = {
    appName: 'nodetest',
    productName: 'nodetest',
    version: '1.0.0',
    localStoragePath: process.env.XDG_STATE_HOME,
  };
  return standinSettings ? { app, standin: standinSettings } : { app };
}

/** A started framework with the mock, closed when the test ends. */
async function started(t, standinSettings, options) {
  const framework = new ElectronFramework({ mock: true, ...options });
  t.after(() => framework.close());
  await framework.init(settings(standinSettings));
  return framework;
}

async function until(condition, what, limit = 5000) {
  const milliseconds = isEmulated ? 20 * limit : limit;
  const end = Date.now() + milliseconds;
  while (!condition()) {
    assert.ok(Date.now() < end, `not within ${milliseconds} ms: ${what}`);
    await pause(2);
  }
}

/** @returns what is thrown where nobody catches it, until the test ends. */
function catchUncaught(t) {
  const thrown = [];
  const note = (error) => thrown.push(error);
  const own = process.listeners('uncaughtException');
  process.removeAllListeners('uncaughtException');
  process.on('uncaughtException', note);
  t.after(() => {
    process.removeListener('uncaughtException', note);
    for (const listener of own) process.on('uncaughtException', listener);
  });
  return thrown;
}

const failure = (code, more = {}) => ({ name: 'FrameworkError', code, ...more });

/** The long forms of the tests run when ZEF_LONG is set. */
const isLong = Boolean(process.env.ZEF_LONG);

module.exports = {
  standin,
  settings,
  started,
  until,
  failure,
  catchUncaught,
  isLong,
  isEmulated,
  nodeProgram,
  scratch,
};
