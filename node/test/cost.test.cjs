'use strict';

// What callSync costs over the library itself. Both are called from JavaScript, since either finds
// the processor's caches as the other world has left them.

const assert = require('node:assert/strict');
const path = require('node:path');
const { test } = require('node:test');
const { diagnose } = require('../index.cjs');
const { standin, started, isLong, isEmulated } = require('./support.cjs');

// Short rounds, of which the fastest counts: whatever else the machine does only adds to it.
const count = 500;
const rounds = isLong ? 1000 : 500; // enough for the compiler to have settled
// The library that the host of GLib's loop runs reads JSON a third of a microsecond slower.
const longBar = path.basename(process.execPath) === 'zef_glibnode' ? 2000 : 1500;
const bar = isLong ? longBar : 10000; // ns; the short form runs beside other work

function nanoseconds(work) {
  let least = Infinity;
  for (let round = 0; round < rounds; round += 1) {
    const start = process.hrtime.bigint();
    for (let i = 0; i < count; i += 1) work();
    least = Math.min(least, Number(process.hrtime.bigint() - start) / count);
  }
  return least;
}

test('a callSync costs little over the library', { skip: isEmulated }, async (t) => {
  const framework = await started(t);
  standin.noCost();
  const { framework: library } = diagnose({ mock: true });
  const method = 'account.getJwkPublicKeyStr';
  const params = {};
  assert.equal(standin.bareCall(library, method), 1);
  const empty = nanoseconds(() => standin.empty(method, params));
  const own = nanoseconds(() => standin.bareCall()) - empty;
  const whole = nanoseconds(() => framework.callSync(method, params));
  const over = whole - own;
  t.diagnostic(
    `callSync ${whole.toFixed(0)} ns, the library ${own.toFixed(0)} ns, ` +
      `over it ${over.toFixed(0)} ns, an empty function ${empty.toFixed(0)} ns`,
  );
  assert.ok(own > 0);
  assert.ok(over <= bar, `${over} ns`);
});
