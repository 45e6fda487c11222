'use strict';

const assert = require('node:assert/strict');
const { spawn } = require('node:child_process');
const { once } = require('node:events');
const { test } = require('node:test');
const { isLong, isEmulated, nodeProgram } = require('./support.cjs');

const rounds = isLong && !isEmulated ? 50 : 3;
// An emulated processor is slower than the bar, which is meant for a real one.
const limit = isEmulated ? 10000 : 1000;

/** \returns exit code, signal and the milliseconds from the moment that ends it to the end. */
async function run(...way) {
  const child = spawn(nodeProgram, [require.resolve('./fixtures/exit.cjs'), ...way], {
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  let errors = '';
  child.stderr.on('data', (data) => {
    errors += data;
  });
  const closed = once(child, 'close');
  let start = Date.now();
  child.stdout.once('data', () => {
    start = Date.now();
    if (way[0] === 'SIGTERM') child.kill('SIGTERM');
  });
  const [code, signal] = await closed;
  return { code, signal, milliseconds: Date.now() - start, errors };
}

const expected = [
  ['falls off the end', 0, null],
  ['process.exit', 5, null],
  ['uncaught throw', 1, null],
  ['rejected promise', 1, null],
  ['inside a callback', 7, null],
  ['throw inside a callback', 1, null],
  ['exit while starting', 6, null],
  ['SIGTERM', null, 'SIGTERM'],
];

for (const [way, code, signal] of expected) {
  test(`a process ends without close(): ${way}, ${rounds} times`, async (t) => {
    let slowest = 0;
    for (let round = 0; round < rounds; round += 1) {
      const result = await run(way);
      assert.deepEqual([result.code, result.signal], [code, signal], result.errors);
      slowest = Math.max(slowest, result.milliseconds);
    }
    t.diagnostic(`slowest ${slowest} ms`);
    assert.ok(slowest <= limit, `${slowest} ms`);
  });
}

test(`workers are terminated in a storm, ${rounds} times`, async () => {
  const { code, signal, errors } = await run('workers', String(rounds));
  assert.deepEqual([code, signal], [0, null], errors);
});
