'use strict';

// What many events, calls and subscriptions leave behind, and how long they hold the event loop up.

const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const { test } = require('node:test');
const { promisify } = require('node:util');
const { isLong, isEmulated, nodeProgram } = require('./support.cjs');

// In megabytes after the whole work. What is held is known to the byte; of what is resident much depends
// on the system, so that only many repetitions tell something.
const mostHeld = isLong ? 4 : 0.5;
const mostResident = isLong ? 4 : Infinity;
const longestDelay = 20; // ms; judged in the long form, the short one runs beside other work

async function load(t, kind, count) {
  const { stdout } = await promisify(execFile)(nodeProgram, [
    '--expose-gc',
    '--max-semi-space-size=1', // V8 doubles its new space now and then, and what it needs for it
    require.resolve('./fixtures/load.cjs'),
    kind,
    String(count),
  ]);
  const figures = JSON.parse(stdout);
  const [held, resident] = [figures.held.toFixed(2), figures.resident.toFixed(1)];
  t.diagnostic(
    `${figures.seconds.toFixed(2)} s, ${held} MB more held, ${resident} MB resident, ` +
      `handles ${figures.handles}, loop delay at most ${figures.longestDelay.toFixed(1)} ms, ` +
      `99 % within ${figures.usualDelay.toFixed(1)} ms`,
  );
  assert.ok(figures.held < mostHeld, `${held} MB more are held`);
  // Of an emulated process the emulator's own memory is seen.
  assert.ok(figures.resident < mostResident || isEmulated, `${resident} MB more are resident`);
  assert.equal(figures.handles, 0);
  assert.equal(figures.replies, 0);
  if (isLong && !isEmulated) {
    assert.ok(figures.longestDelay <= longestDelay, `${figures.longestDelay} ms`);
  }
}

for (const [kind, short, long] of [
  ['events', 20000, 1000000],
  ['calls', 20000, 1000000], // a hundred at a time
  ['kept calls', 20000, 1000000],
  ['subscriptions', 20000, 100000],
  ['log lines', 20000, 1000000],
]) {
  const usual = isEmulated ? short / 10 : short;
  const count = isLong && !isEmulated ? long : usual;
  test(`${count} ${kind}`, (t) => load(t, kind, count));
}
