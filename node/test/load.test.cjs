'use strict';

// What many events, calls and subscriptions leave behind. Runs with --expose-gc.

const assert = require('node:assert/strict');
const fs = require('node:fs');
const { monitorEventLoopDelay } = require('node:perf_hooks');
const { test } = require('node:test');
const { native } = require('../lib/native.cjs');
const { standin, started, until, isLong } = require('./support.cjs');

const eventCount = isLong ? 1000000 : 50000;
const callCount = isLong ? 100000 : 5000;
const megabyte = 1024 * 1024;

const handles = () => fs.readdirSync('/proc/self/fd').length + process._getActiveHandles().length;

async function footprint() {
  for (let round = 0; round < 3; round += 1) {
    global.gc?.();
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  return { rss: process.memoryUsage().rss, handles: handles() };
}

/** Runs the work once to warm up, then measures what a second round adds. */
async function growth(t, work) {
  await work();
  const before = await footprint();
  const delay = monitorEventLoopDelay({ resolution: 1 });
  delay.enable();
  const start = process.hrtime.bigint();
  await work();
  const seconds = Number(process.hrtime.bigint() - start) / 1e9;
  delay.disable();
  const after = await footprint();
  const growing = (after.rss - before.rss) / megabyte;
  t.diagnostic(
    `${seconds.toFixed(2)} s, memory ${growing.toFixed(1)} MB, ` +
      `handles ${after.handles - before.handles}, loop delay at most ${(delay.max / 1e6).toFixed(1)} ms, ` +
      `99 % within ${(delay.percentile(99) / 1e6).toFixed(1)} ms`,
  );
  assert.ok(growing < 16, `memory grew by ${growing.toFixed(1)} MB`);
  assert.equal(after.handles, before.handles);
  return delay;
}

test(`${eventCount} events`, { skip: !global.gc }, async (t) => {
  const framework = await started(t);
  standin.noCost();
  let heard = 0;
  framework.on('account.userInfoChanged', () => {
    heard += 1;
  });
  await growth(t, async () => {
    const end = heard + eventCount;
    standin.raise('userInfoChanged', eventCount, 100);
    await until(() => heard === end, `${eventCount} events`, 300000);
  });
});

test(`${callCount} calls, a hundred at a time`, { skip: !global.gc }, async (t) => {
  const framework = await started(t);
  standin.noCost();
  await growth(t, async () => {
    for (let done = 0; done < callCount; done += 100) {
      const calls = Array.from({ length: 100 }, () => framework.call('account.getAccountListInfo'));
      await Promise.all(calls);
    }
  });
  assert.equal(native().state().replies, 0);
});

test(`${callCount} subscriptions`, { skip: !global.gc }, async (t) => {
  const framework = await started(t);
  standin.noCost();
  const controller = new AbortController();
  await growth(t, async () => {
    for (let done = 0; done < callCount; done += 1) {
      framework.subscribe('account.userInfoChanged', () => {}, controller).dispose();
      if (done % 500 === 0) await new Promise(setImmediate);
    }
  });
});
