'use strict';

const assert = require('node:assert/strict');
const { createPublicKey } = require('node:crypto');
const { getEventListeners } = require('node:events');
const fs = require('node:fs');
const { test } = require('node:test');
const { inspect } = require('node:util');
const { ElectronFramework, FrameworkError, diagnose } = require('../index.cjs');
const { methods } = require('../lib/methods.cjs');
const { native } = require('../lib/native.cjs');
const { standin, settings, started, until, failure, catchUncaught } = require('./support.cjs');

test('both ways of calling give the data of the reply', async (t) => {
  const framework = await started(t);
  const { path } = await framework.call('utils.getLogPath');
  assert.ok(fs.statSync(path).isDirectory());
  assert.deepEqual(framework.callSync('utils.getLogPath'), { path });
  // Around the length of the addon's buffer, and beyond every other one.
  for (const length of [1, 1000, 1019, 1020, 1023, 1024, 1025, 300000]) {
    const deviceCode = { ö: `€\0𝄞${'ü'.repeat(length)}` };
    const { data } = framework.callSync('accessbase.getDeviceHeader', { deviceCode });
    assert.equal(data.ö, deviceCode.ö);
  }
});

test('JSON texts in data arrive parsed, or as texts in a raw reply', async (t) => {
  const framework = await started(t, {
    accounts: [{ userid: '7', nickname: 'Ada', is_login: true, login_account_limit: 3 }],
    currentUserId: '7',
    cookies: [{ url: 'https://a.example.com/', setCookie: 'k=v; Secure' }],
  });
  const { accountListInfo } = await framework.call('account.getAccountListInfo');
  assert.equal(accountListInfo[0].nickname, 'Ada');
  assert.equal(accountListInfo[0].login_account_limit, 3);
  const { cookieList } = framework.callSync('account.queryWebviewCookies', {
    url: 'https://a.example.com/',
  });
  assert.deepEqual(
    cookieList.map(({ name, value, secure }) => ({ name, value, secure })),
    [{ name: 'k', value: 'v', secure: true }],
  );
  const raw = await framework.call('account.getAccountListInfo', undefined, { raw: true });
  assert.equal(raw.result, 'ok');
  assert.equal(JSON.parse(raw.data.accountListInfo[0]).nickname, 'Ada');

  const key = framework.callSync('account.getJwkPublicKeyStr').data;
  assert.ok(createPublicKey({ key, format: 'jwk' }));
  standin.script('getDeviceInfo', '{"text":"no JSON"}');
  t.after(() => standin.script('getDeviceInfo', '{}'));
  assert.equal((await framework.call('accessbase.getDeviceInfo')).data, 'no JSON');
});

test('a "fail" reply rejects with its words, or is given raw', async (t) => {
  const framework = await started(t);
  const reply = { result: 'fail', msg: 'param is empty' };
  await assert.rejects(
    framework.call('network.setCustomDomain', {}),
    failure('ZEF_REPLY_FAIL', {
      message: 'network.setCustomDomain: param is empty',
      method: 'network.setCustomDomain',
      reply,
    }),
  );
  assert.deepEqual(await framework.call('network.setCustomDomain', {}, { raw: true }), reply);
  assert.throws(
    () => framework.callSync('accessbase.getDeviceHeader'),
    failure('ZEF_REPLY_FAIL', { reply: { result: 'fail', msg: 'deviceCode is empty' } }),
  );
});

test('an account that is not found is no method that is not found', async (t) => {
  const framework = await started(t);
  await assert.rejects(
    framework.call('account.switchAccount', { userId: 'nobody' }),
    failure('ZEF_REPLY_FAIL', { message: 'account.switchAccount: account not found' }),
  );
});

test('a name that no method has is refused before anything is sent', async (t) => {
  const library = await started(t, undefined, { libraryPath: diagnose().framework });
  const unsent = new ElectronFramework({ mock: true });
  const rows = [
    ['utils.getLogpath', /^there is no method utils.getLogpath; did you mean utils.getLogPath\?$/],
    ['Utils.getLogPath', /did you mean utils.getLogPath\?$/],
    ['getLogPath', /did you mean utils.getLogPath\?$/],
    ['utils', /no method utils; a name has the form module.method$/],
    ['', /^there is no method ''; a name has the form module.method$/],
    ['utils.getLogPath ', /^there is no method 'utils.getLogPath '; did you mean/],
    ['a.b.c', /module.method$/],
    ['utils.getLogPath\0', /did you mean/],
    ['constructor', /module.method$/],
    ['x'.repeat(1e6), /^.{1,150}$/],
  ];
  for (const [method, message] of rows) {
    const refused = failure('ZEF_UNKNOWN_METHOD', { message, method });
    await assert.rejects(unsent.call(method, {}, { raw: true }), refused, method);
    assert.throws(() => unsent.callSync(method), refused, method);
  }
  // A library that was named may be newer than this package: it is asked.
  const reply = { result: 'fail', msg: 'method:getUptime asynCall failed' };
  await assert.rejects(
    library.call('utils.getUptime'),
    failure('ZEF_UNKNOWN_METHOD', { message: `utils.getUptime: ${reply.msg}`, reply }),
  );
});

test('callSync runs every thread-safe method, and lets no other one through', async (t) => {
  const framework = await started(t);
  for (const [method, { isSync }] of methods) {
    const call = () => framework.callSync(method, { deviceCode: { a: 'b' } }, { raw: true });
    if (isSync) {
      assert.doesNotMatch(call().msg, /not support thread safe|not found/, method);
    } else {
      assert.throws(call, failure('ZEF_NOT_THREAD_SAFE', { method }));
    }
  }
});

/** Values that are objects but not plain ones, by the name with which they are refused. */
const exotic = {
  Array: [],
  Map: new Map([['a', 1]]),
  Set: new Set(),
  Promise: Promise.resolve(),
  RegExp: /a/,
  Buffer: Buffer.from('a'),
  Date: new Date(),
  Error: new Error('a'),
  String: Object('a'),
  AbortSignal: AbortSignal.abort(),
  AbortController: new AbortController(),
  function: () => {},
  symbol: Symbol('a'),
  number: 1,
  string: 'a',
};
const thrower = (key, thrown) =>
  Object.defineProperty({}, key, {
    enumerable: true,
    get() {
      throw thrown;
    },
  });
const noEvents = { aborted: false, addEventListener() {} };

test('what is wrong with a call is refused before anything starts', async (t) => {
  const framework = await started(t);
  const circular = {};
  circular.self = circular;
  const unreadable = Proxy.revocable({}, {});
  unreadable.revoke();
  const params = [
    ...Object.values(exotic),
    ...[circular, { big: 1n }, { toJSON() {} }, { toJSON: () => [1] }, { toJSON: () => 'a' }],
    ...[new Error('x'), null, unreadable.proxy].map((thrown) => thrower('a', thrown)),
    unreadable.proxy,
  ];
  const options = [
    ...Object.values(exotic),
    ...[new AbortController(), 'text', true, null, noEvents].map((signal) => ({ signal })),
    ...[Number.NaN, -1, '1000', null, 1n].map((timeout) => ({ timeout })),
    ...[null, { raw: 'yes' }, { sginal: AbortSignal.abort() }, Object.create({ timeout: -1 })],
    ...[Object.create({ sginal: 1 }), thrower('raw', null), unreadable.proxy],
  ];
  const rows = [
    ...params.map((each) => ['utils.getLogPath', each]),
    ...options.map((each) => ['utils.getLogPath', {}, each]),
    ...[undefined, null, 7, {}, Symbol('a')].map((method) => [method]),
  ];
  for (const row of rows) {
    const call = framework.call(...row); // never throws
    await assert.rejects(call, failure('ZEF_BAD_ARGUMENT'), () => inspect(row));
  }
  for (const [name, value] of Object.entries(exotic)) {
    const words = { message: new RegExp(`\\b${name}\\b`) };
    await assert.rejects(framework.call('utils.getLogPath', value), words);
    await assert.rejects(framework.call('utils.getLogPath', {}, value), words);
  }
  for (const given of [7, { raw: 1 }, { timeout: 5 }, thrower('raw', 1)]) {
    const call = () => framework.callSync('utils.getLogPath', {}, given);
    assert.throws(call, failure('ZEF_BAD_ARGUMENT', { method: 'utils.getLogPath' }));
  }
  const wrong = [
    1,
    { mock: 'false' },
    { libraryPath: '' },
    { logLibrary: 'a\0b' },
    { timeout: -1 },
  ];
  for (const given of [...wrong, { moch: true }, thrower('mock', 1), ...Object.values(exotic)]) {
    assert.throws(() => new ElectronFramework(given), failure('ZEF_BAD_ARGUMENT'));
  }
  assert.equal(native().state().replies, 0);
  for (const timeout of [Number.POSITIVE_INFINITY, 2 ** 40]) {
    assert.ok(await framework.call('utils.getLogPath', {}, { timeout }));
  }
  class Codes {
    deviceCode = { a: 'b' };
  }
  const asMap = Object.assign(new Map(), { toJSON: () => new Codes() });
  for (const given of [new Codes(), Object.assign(Object.create(null), new Codes()), asMap]) {
    const { data } = await framework.call('accessbase.getDeviceHeader', given);
    assert.equal(data.a, 'b');
  }
});

test('a method that was taken off its object says so', async (t) => {
  const { call, callSync, init, close } = await started(t);
  for (const operation of [call, init, close]) {
    await assert.rejects(operation('utils.getLogPath'), failure('ZEF_BAD_ARGUMENT'));
  }
  assert.throws(() => callSync('utils.getLogPath'), failure('ZEF_BAD_ARGUMENT'));
});

test('a call settles and close() resolves, whatever the application does to stacks', async (t) => {
  const { prepareStackTrace } = Error;
  t.after(() => {
    Error.prepareStackTrace = prepareStackTrace;
    standin.script('logout', '{}');
  });
  const prepared = [
    (_error, frames) => frames,
    () => undefined,
    () => {
      throw new Error('from prepareStackTrace');
    },
  ];
  for (const prepare of prepared) {
    const framework = await started(t);
    standin.script('logout', '{"times":0}');
    const controller = new AbortController();
    Error.prepareStackTrace = prepare;
    const calls = [
      framework.call('account.switchAccount', { userId: 'nobody' }),
      framework.call('account.logout', {}, { timeout: -1 }),
      framework.call('account.logout', {}, { timeout: 20 }),
      framework.call('account.logout', {}, { signal: controller.signal }),
      framework.call('account.logout'),
    ];
    controller.abort();
    const settled = Promise.allSettled(calls);
    await Promise.allSettled(calls.slice(0, 4));
    assert.equal(await framework.close(), undefined);
    const codes = (await settled).map(({ reason }) => reason.code);
    Error.prepareStackTrace = prepareStackTrace;
    assert.deepEqual(codes, [
      'ZEF_REPLY_FAIL',
      'ZEF_BAD_ARGUMENT',
      'ZEF_TIMEOUT',
      'ZEF_ABORTED',
      'ZEF_CLOSED',
    ]);
  }
});

test('a signal of another kind is followed, and what it throws leaves no call open', async (t) => {
  const framework = await started(t);
  const uncaught = catchUncaught(t);
  const refuse = () => {
    throw new Error('from the signal');
  };
  const lookAlike = (more) => ({
    ...noEvents,
    removeEventListener() {},
    addEventListener(_name, listener) {
      this.abort = listener;
    },
    ...more,
  });
  const ask = (signal, timeout) => framework.call('account.logout', {}, { signal, timeout });
  standin.script('logout', '{"times":0}');
  t.after(() => standin.script('logout', '{}'));
  await assert.rejects(
    ask(lookAlike({ addEventListener: refuse }), 20),
    failure('ZEF_INTERNAL', { message: 'from the signal' }),
  );
  const rude = lookAlike({ removeEventListener: refuse });
  await assert.rejects(ask(rude, 20), failure('ZEF_TIMEOUT'));
  await until(() => uncaught.length === 1, 'what the signal threw');
  const fine = lookAlike();
  const call = ask(fine);
  Object.defineProperty(fine, 'reason', { get: refuse });
  fine.abort();
  await assert.rejects(call, { code: 'ZEF_ABORTED', cause: new Error('from the signal') });
  assert.equal(uncaught.length, 1);
  await framework.close();
});

test('many calls may share a signal', async (t) => {
  const framework = await started(t);
  const { signal } = new AbortController();
  const warnings = [];
  const note = (warning) => warnings.push(warning.message);
  process.on('warning', note);
  t.after(() => process.removeListener('warning', note));
  const calls = Array.from({ length: 30 }, () =>
    framework.call('utils.getLogPath', {}, { signal }),
  );
  framework.subscribe('account.cookieUpdated', () => {}, { signal });
  assert.equal(getEventListeners(signal, 'abort').length, 1);
  await Promise.all(calls);
  framework.removeAllListeners();
  assert.equal(getEventListeners(signal, 'abort').length, 0);
  assert.deepEqual(warnings, []);
});

test('a call ends with its signal, its timeout or close(), whichever is first', async (t) => {
  const framework = await started(t);
  standin.script('logout', '{"hold":true}');
  t.after(() => standin.script('logout', '{}'));
  const hasty = await started(t, undefined, { timeout: 20 });
  await assert.rejects(hasty.call('account.logout'), failure('ZEF_TIMEOUT'));
  const controller = new AbortController();
  const why = new Error('the user left');
  const byTimeout = framework.call('account.logout', {}, { timeout: 20 });
  const byAbort = framework.call('account.logout', {}, { signal: controller.signal });
  const limit = Error.stackTraceLimit;
  Error.stackTraceLimit = 4;
  const wrapped = (depth) =>
    depth > 0 ? wrapped(depth - 1) : framework.call('account.logout', {}, { timeout: 60000 });
  const byClose = wrapped(5);
  Error.stackTraceLimit = limit;
  await assert.rejects(byTimeout, failure('ZEF_TIMEOUT', { method: 'account.logout' }));
  controller.abort(why);
  await assert.rejects(byAbort, { name: 'AbortError', code: 'ZEF_ABORTED', cause: why });
  await assert.rejects(framework.call('account.logout', {}, { signal: controller.signal }), {
    code: 'ZEF_ABORTED',
  });
  await until(() => standin.held() === 4, 'four answers held back');
  const closed = framework.close();
  await assert.rejects(byClose, (error) => {
    assert.deepEqual([error.code, error.method], ['ZEF_CLOSED', 'account.logout']);
    const [, ...frames] = error.stack.split('\n'); // as many as the application wants
    assert.equal(frames.filter((frame) => /calls\.test\.cjs/.test(frame)).length, 4);
    return true;
  });
  await Promise.all([closed, hasty.close()]);
  assert.equal(native().state().replies, 0);
  standin.releaseAll();
});

test('answers of an earlier run meet nobody', async (t) => {
  const framework = await started(t);
  standin.script('switchAccount', '{"hold":true}');
  t.after(() => standin.script('switchAccount', '{}'));
  const late = framework.call('account.switchAccount', { userId: '1' });
  await until(() => standin.held() === 1, 'an answer held back');
  await Promise.all([framework.close(), assert.rejects(late, failure('ZEF_CLOSED'))]);
  standin.releaseAll();
  await framework.init(settings());
  assert.ok(await framework.call('utils.getLogPath'));
});

test('what the addon cannot do has a code and ends the call', async (t) => {
  const framework = await started(t);
  const { call, asynCall } = native();
  t.after(() => Object.assign(native(), { call, asynCall }));
  native().call = () => null; // a reply longer than JavaScript's longest text: 0.5 GB, too much here
  assert.throws(() => framework.callSync('utils.getLogPath'), failure('ZEF_REPLY_TOO_LONG'));
  native().asynCall = () => native().keepAlive(-1, true); // there is no such session
  await assert.rejects(framework.call('utils.getLogPath'), failure('ZEF_INTERNAL'));
});

test('an error survives JSON and structured cloning', () => {
  const error = new FrameworkError('ZEF_REPLY_FAIL', 'm: no', {
    method: 'm',
    reply: { result: 'fail', msg: 'no' },
  });
  const copy = FrameworkError.fromJSON(structuredClone(error.toJSON()));
  assert.ok(copy instanceof FrameworkError);
  assert.deepEqual({ ...copy, message: copy.message }, { ...error, message: error.message });
  assert.deepEqual(JSON.parse(JSON.stringify(error)), error.toJSON());
  for (const other of [null, 'text', new Error('text')]) {
    const { code, message } = FrameworkError.fromJSON(other);
    assert.deepEqual([code, message], ['ZEF_INTERNAL', String(other?.message ?? other)]);
  }
});

test('before init and after close every operation says that nothing runs', async () => {
  const framework = new ElectronFramework({ mock: true });
  const check = async () => {
    assert.equal(framework.running, false);
    await assert.rejects(framework.call('utils.getLogPath'), failure('ZEF_NOT_RUNNING'));
    assert.throws(() => framework.callSync('utils.getLogPath'), failure('ZEF_NOT_RUNNING'));
  };
  await check();
  await framework.init(settings());
  await framework.close();
  await check();
});
