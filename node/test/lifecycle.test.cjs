'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { test } = require('node:test');
const { monitorEventLoopDelay } = require('node:perf_hooks');
const { Worker } = require('node:worker_threads');
const { ElectronFramework } = require('../index.cjs');
const { mockLibraries, native } = require('../lib/native.cjs');
const {
  standin,
  settings,
  started,
  until,
  failure,
  isEmulated,
  scratch,
} = require('./support.cjs');

test('init and close may be repeated, overlapped and called in any order', async () => {
  const framework = new ElectronFramework({ mock: true });
  await framework.close();
  for (let round = 0; round < 5; round += 1) {
    const [first, second] = await Promise.all([
      framework.init(settings()),
      framework.init(settings()),
    ]);
    assert.equal(first, framework);
    assert.equal(second, framework);
    assert.equal(native().state().shares, 1);
    framework.close();
    const again = framework.init(settings()); // waits for the close
    await again;
    assert.ok(framework.running);
    await Promise.all([framework.close(), framework.close()]);
    assert.equal(native().state().shares, 0);
  }
  const starting = framework.init(settings());
  await framework.close(); // waits for the start
  await starting;
  assert.equal(framework.running, false);
});

test('a slow account library does not hold the event loop up', async (t) => {
  const framework = await started(t);
  await framework.close();
  standin.script('init', '{"delayMs":600}');
  standin.script('uninit', '{"delayMs":600}');
  t.after(() => {
    standin.script('init', '{}');
    standin.script('uninit', '{}');
  });
  const delay = monitorEventLoopDelay({ resolution: 5 });
  delay.enable();
  const start = Date.now();
  await framework.init(settings());
  await framework.close();
  delay.disable();
  assert.ok(Date.now() - start >= 1200, 'the stand-in was not slow');
  assert.ok(delay.max < 500e6 || isEmulated, `the event loop was late by ${delay.max / 1e6} ms`);
});

test('settings that are not complete are refused in words', async () => {
  const framework = new ElectronFramework({ mock: true });
  const { app } = settings();
  for (const bad of [undefined, null, 1, {}, { app: 1 }, { app: { ...app, version: '' } }]) {
    await assert.rejects(framework.init(bad), failure('ZEF_SETTINGS'));
  }
  const circular = { app };
  circular.self = circular;
  await assert.rejects(framework.init(circular), failure('ZEF_SETTINGS'));
  assert.equal(framework.running, false);
});

test('a start that the account library refuses can be tried again', async (t) => {
  const framework = await started(t);
  await framework.close();
  standin.script('init', '{"refuse":true}');
  t.after(() => standin.script('init', '{}'));
  await assert.rejects(framework.init(settings()), failure('ZEF_INIT_REFUSED'));
  assert.equal(native().state().shares, 0);
  standin.script('init', '{}');
  await framework.init(settings());
  assert.ok(framework.callSync('utils.getLogPath').path);
});

/** The package loaded anew, as a bundle or a test runner's registry has it. */
function otherCopy(folder = path.join(__dirname, '..')) {
  for (const file of Object.keys(require.cache)) {
    if (file.startsWith(folder) && !file.includes('/test/')) delete require.cache[file];
  }
  return require(folder);
}

test('objects of every loaded copy share the framework until the last one closes', async (t) => {
  const first = await started(t);
  const copy = otherCopy();
  assert.notEqual(copy.ElectronFramework, ElectronFramework);
  const second = new copy.ElectronFramework({ mock: true });
  t.after(() => second.close());
  await second.init(settings());
  const heard = [0, 0];
  [first, second].forEach((framework, index) => {
    framework.on('account.userInfoChanged', () => {
      heard[index] += 1;
    });
  });
  assert.equal(native().state().shares, 2);
  const calls = [first, second].flatMap((framework) =>
    Array.from({ length: 50 }, (_, n) =>
      framework.call('accessbase.getDeviceHeader', { deviceCode: { n } }, { timeout: 5000 }),
    ),
  );
  const headers = await Promise.all(calls);
  const order = headers.map(({ data }) => Number(data.n));
  assert.deepEqual(
    order,
    [...Array(100).keys()].map((index) => index % 50),
  );
  standin.raise('userInfoChanged', 1, 0);
  await until(() => heard.join() === '1,1', 'the event in both');
  await first.close();
  standin.raise('userInfoChanged', 1, 0);
  await until(() => heard.join() === '1,2', 'an event after the first one closed');
  assert.ok(await second.call('utils.getLogPath'));
  await assert.rejects(first.call('utils.getLogPath'), failure('ZEF_NOT_RUNNING'));
});

test('what cannot be shared is refused', async (t) => {
  const running = await started(t);
  const init = (options, ...args) => new ElectronFramework(options).init(...args);
  const other = settings({ accounts: [] });
  const mock = { mock: true };
  await assert.rejects(init(mock, other), failure('ZEF_OTHER_SETTINGS'));
  await assert.rejects(running.init(other), failure('ZEF_OTHER_SETTINGS'));
  await running.init(other, { join: true });
  await (await init(mock, other, { join: true })).close();
  await assert.rejects(init(mock, other, { join: 1 }), failure('ZEF_BAD_ARGUMENT'));

  const [log, , account] = mockLibraries().map(({ file }) => file);
  const others = [{}, { accountLibrary: account }, { accountLibrary: account, logLibrary: log }];
  const refuseOthers = async () => {
    for (const options of others) {
      await assert.rejects(init(options, settings()), failure('ZEF_OTHER_LIBRARY'));
    }
  };
  await refuseOthers();
  await running.close();
  await refuseOthers(); // the log library stays loaded

  const installed = path.join(scratch, 'installed');
  for (const part of ['index.cjs', 'package.json', 'lib', 'mock', 'prebuilds']) {
    fs.cpSync(path.join(__dirname, '..', part), path.join(installed, part), { recursive: true });
  }
  const copy = otherCopy(installed);
  assert.equal(copy.diagnose(mock).findings.length, 0);
  const second = new copy.ElectronFramework(mock);
  await assert.rejects(second.init(settings()), { code: 'ZEF_OTHER_LIBRARY' });
});

test('what a listener throws is an uncaught exception and stops nothing', async (t) => {
  const framework = await started(t);
  const errors = [];
  const note = (error) => errors.push(error.message);
  const own = process.listeners('uncaughtException');
  process.removeAllListeners('uncaughtException');
  process.on('uncaughtException', note);
  t.after(() => {
    process.removeListener('uncaughtException', note);
    for (const listener of own) process.on('uncaughtException', listener);
  });
  framework.on('account.userInfoChanged', () => {
    throw new Error('from a listener');
  });
  for (const count of [1, 2]) {
    standin.raise('userInfoChanged', 1, 0);
    await until(() => errors.length === count, 'an exception');
  }
  assert.deepEqual(errors, ['from a listener', 'from a listener']);
});

test('disposal closes', { skip: !Symbol.asyncDispose }, async () => {
  const framework = new ElectronFramework({ mock: true });
  await framework.init(settings());
  const subscription = framework.subscribe('account.userInfoChanged', () => {});
  subscription[Symbol.dispose]?.();
  assert.equal(framework.listenerCount('account.userInfoChanged'), 0);
  await framework[Symbol.asyncDispose]();
  assert.equal(framework.running, false);
});

test('workers share the framework and may be terminated', async (t) => {
  const framework = await started(t);
  const workers = [1, 2].map(
    () => new Worker(require.resolve('./fixtures/worker.cjs'), { workerData: settings() }),
  );
  const heard = workers.map(() => 0);
  workers.forEach((worker, index) => {
    worker.on('message', () => {
      heard[index] += 1;
    });
  });
  await until(() => heard.every((count) => count >= 1), 'both workers have started');
  assert.equal(native().state().shares, 3);
  standin.raise('userInfoChanged', 1, 0);
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await until(() => heard.every((count) => count === 3), 'the event and the message in both');
  await workers[0].terminate();
  await until(() => native().state().shares === 2, 'the share of a worker that was terminated');
  workers[1].postMessage('close');
  await until(() => native().state().shares === 1, 'the share of a worker that closed');
  assert.ok(await framework.call('utils.getLogPath'));
});

test('a framework that only a terminated worker used gives way to the next start', async (t) => {
  const worker = new Worker(require.resolve('./fixtures/worker.cjs'), {
    workerData: settings({ accounts: [{ userid: 'w' }], currentUserId: 'w' }),
  });
  await new Promise((resolve) => worker.once('message', resolve));
  await worker.terminate();
  assert.equal(native().state().shares, 0);
  const framework = await started(t, { accounts: [{ userid: 'main' }], currentUserId: 'main' });
  const { accountListInfo } = await framework.call('account.getAccountListInfo');
  assert.deepEqual(
    accountListInfo.map(({ userid }) => userid),
    ['main'],
  );
});
