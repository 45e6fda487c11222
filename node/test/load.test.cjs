'use strict';

// What many events, calls and subscriptions leave behind, and how long they hold the event loop up.

const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const { test } = require('node:test');
const { promisify } = require('node:util');
const { isLong, isEmulated, nodeProgram } = require('./support.cjs');

const mostMegabytes = isLong ? 4 : 6; // what grows does so with the number
const longestDelay = 20; // ms; judged in the long form, the short one runs beside other work

async function load(t, kind, count) {
  const { stdout } = await promisify(execFile)(nodeProgram, [
    '--expose-gc',
    require.resolve('./fixtures/load.cjs'),
    kind,
    String(count),
  ]);
  const figures = JSON.parse(stdout);
  t.diagnostic(
    `${figures.seconds.toFixed(2)} s, memory ${figures.megabytes.toFixed(1)} MB, ` +
      `handles ${figures.handles}, loop delay at most ${figures.longestDelay.toFixed(1)} ms, ` +
      `99 % within ${figures.usualDelay.toFixed(1)} ms`,
  );
  // Of an emulated process the emulator's own memory is seen.
  assert.ok(
    figures.megabytes < mostMegabytes || isEmulated,
    `memory grew by ${figures.megabytes.toFixed(1)} MB`,
  );
  assert.equal(figures.handles, 0);
  assert.equal(figures.replies, 0);
  if (isLong && !isEmulated) {
    assert.ok(figures.longestDelay <= longestDelay, `${figures.longestDelay} ms`);
  }
}

for (const [kind, short, long] of [
  ['events', 50000, 1000000],
  ['calls', 5000, 100000], // a hundred at a time
  ['kept calls', 20000, 1000000],
  ['subscriptions', 5000, 100000],
]) {
  const usual = isEmulated ? short / 10 : short;
  const count = isLong && !isEmulated ? long : usual;
  test(`${count} ${kind}`, (t) => load(t, kind, count));
}
