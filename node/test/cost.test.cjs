'use strict';

// What callSync costs over the library itself, measured beside an empty Node-API function.

const assert = require('node:assert/strict');
const { test } = require('node:test');
const { diagnose } = require('../index.cjs');
const { standin, started, isLong } = require('./support.cjs');

const count = isLong ? 200000 : 20000;
const bar = 2000; // ns

/** The least of several rounds: whatever else the machine does only adds to it. */
function nanoseconds(work) {
  let least = Infinity;
  for (let round = 0; round < 7; round += 1) {
    const start = process.hrtime.bigint();
    for (let i = 0; i < count; i += 1) work();
    least = Math.min(least, Number(process.hrtime.bigint() - start) / count);
  }
  return least;
}

test('a callSync costs little over the library', async (t) => {
  const framework = await started(t);
  standin.noCost();
  const { framework: library } = diagnose({ mock: true });
  const method = 'account.getJwkPublicKeyStr';
  const params = {};
  const own = Math.min(
    ...Array.from({ length: 7 }, () => standin.ownCost(library, method, count)),
  );
  const empty = nanoseconds(() => standin.empty(method, params));
  const whole = nanoseconds(() => framework.callSync(method, params));
  const over = whole - own;
  t.diagnostic(
    `callSync ${whole.toFixed(0)} ns, the library ${own.toFixed(0)} ns, ` +
      `over it ${over.toFixed(0)} ns, an empty function ${empty.toFixed(0)} ns`,
  );
  assert.ok(own > 0);
  assert.ok(over <= bar, `${over} ns`);
});
