'use strict';

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
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
  catchUncaught,
  nodeProgram,
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
  assert.equal(await starting, framework);
  assert.equal(framework.running, false);
});

test('starts and stops take place in the order in which they were asked for', async () => {
  const rows = [
    'close init close',
    'init close init',
    'init init close close init',
    'close close init init close',
    'init close init close init close init close',
  ];
  for (const row of rows) {
    for (const begin of ['init', 'close']) {
      const framework = new ElectronFramework({ mock: true });
      await framework[begin](settings());
      const runs = row.split(' ').map(async (operation) => {
        await framework[operation](settings());
        return [operation, framework.running];
      });
      // After an init() it runs, whatever was asked for behind it.
      for (const [operation, isRunning] of await Promise.all(runs)) {
        assert.equal(isRunning, operation === 'init', `${begin}, ${row}`);
      }
      assert.equal(framework.running, row.endsWith('init'));
      await framework.close();
      assert.equal(native().state().shares, 0);
    }
  }
});

test('close() counts at once for calls, and ends what ref() began', async (t) => {
  const framework = await started(t);
  framework.ref();
  const closed = framework.close();
  assert.equal(framework.running, false);
  await assert.rejects(framework.call('utils.getLogPath'), failure('ZEF_NOT_RUNNING'));
  await closed;
  const program = `
    const { ElectronFramework } = require(${JSON.stringify(path.join(__dirname, '..'))});
    const framework = new ElectronFramework({ mock: true }).ref();
    const settings = ${JSON.stringify(settings())};
    framework.init(settings).then(() => framework.close()).then(() => framework.init(settings));`;
  const { status, signal } = spawnSync(nodeProgram, ['-e', program], { timeout: 20000 });
  assert.deepEqual([status, signal], [0, null], 'nothing keeps the process running');
});

test('init() can be given up, and leaves nothing running', async (t) => {
  const framework = await started(t);
  await framework.close();
  standin.script('init', '{"delayMs":200}');
  t.after(() => standin.script('init', '{}'));
  const controller = new AbortController();
  const { signal } = controller;
  const rows = [
    ['ZEF_TIMEOUT', { timeout: 20 }],
    ['ZEF_ABORTED', { signal }],
    ['ZEF_ABORTED', { signal: AbortSignal.abort() }],
  ];
  const given = rows.map(([, options]) => framework.init(settings(), options));
  controller.abort();
  const codes = (await Promise.allSettled(given)).map(({ reason }) => reason.code);
  assert.deepEqual(
    codes,
    rows.map(([code]) => code),
  );
  await framework.close(); // the first one was under way
  assert.equal(native().state().shares, 0);
  await framework.init(settings(), { timeout: 60000, signal: new AbortController().signal });
  await framework.init(settings(), { timeout: 20 }); // joins what runs
  assert.ok(framework.running);
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

test('settings that are wrong are refused in words', async () => {
  const framework = new ElectronFramework({ mock: true });
  const { app } = settings();
  const circular = { app };
  circular.self = circular;
  const standins = [
    ['x', /settings.standin must be an object, not "x"/],
    [{ acounts: [] }, /settings.standin has no key acounts; did you mean accounts\?/],
    [{ accounts: [{ userid: 7 }] }, /standin.accounts\[0\].userid must be a string, not 7/],
    [{ accounts: [{}] }, /accounts\[0\].userid is required/],
    [{ script: { logout: [{ times: -1 }] } }, /script.logout\[0\].times must be 0 or more, not -1/],
    [{ script: { logot: {} } }, /script has no key logot; did you mean logout\?/],
    [{ answers: 'inlin' }, /standin.answers is inlin; did you mean inline\?/],
    [{ office: 7 }, /standin.office must be an object/],
  ];
  const rows = [
    ...[undefined, null, 1, [], new Map([['app', app]]), {}, { app: 1 }].map((bad) => [bad, /./]),
    [{ app: { ...app, version: '' } }, /settings.app.version must be a text/],
    [{ app, network: 'x' }, /settings.network must be an object, not a string/],
    [{ app, network: { proxy: [] } }, /settings.network.proxy must be an object, not an Array/],
    [{ app, toJSON() {} }, /plain object/],
    [circular, /circular/],
    [{ app, big: 1n }, /BigInt/],
    [
      Object.defineProperty({}, 'app', { enumerable: true, get: () => assert.fail('mine') }),
      /mine/,
    ],
    ...standins.map(([standin, message]) => [{ app, standin }, message]),
  ];
  for (const [bad, message] of rows) {
    await assert.rejects(framework.init(bad), failure('ZEF_SETTINGS', { message }));
  }
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
  const { app, ...rest } = settings();
  const reordered = { ...rest, app: Object.fromEntries(Object.entries(app).reverse()) };
  await (await init(mock, reordered)).close(); // the same ones
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
  const errors = catchUncaught(t);
  framework.on('account.userInfoChanged', () => {
    throw new Error('from a listener');
  });
  for (const count of [1, 2]) {
    standin.raise('userInfoChanged', 1, 0);
    await until(() => errors.length === count, 'an exception');
  }
  assert.deepEqual(String(errors), 'Error: from a listener,Error: from a listener');
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
