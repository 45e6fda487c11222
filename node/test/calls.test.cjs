'use strict';

const assert = require('node:assert/strict');
const { createPublicKey } = require('node:crypto');
const fs = require('node:fs');
const { test } = require('node:test');
const { inspect } = require('node:util');
const { ElectronFramework, FrameworkError } = require('../index.cjs');
const { methods } = require('../lib/methods.cjs');
const { native } = require('../lib/native.cjs');
const { standin, settings, started, until, failure } = require('./support.cjs');

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
  for (const method of ['', 'utils', 'Utils.getLogPath', 'utils.getlogpath', 'a.b.c']) {
    await assert.rejects(framework.call(method), failure('ZEF_UNKNOWN_METHOD'), method);
    assert.throws(() => framework.callSync(method), failure('ZEF_UNKNOWN_METHOD'), method);
  }
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

test('what is wrong with a call is refused before anything starts', async (t) => {
  const framework = await started(t);
  const circular = {};
  circular.self = circular;
  const rows = [
    ...[1, 'text', [], circular, { big: 1n }].map((params) => ['utils.getLogPath', params]),
    ...[undefined, 7, 'utils.getLogPath\0'].map((method) => [method]),
    ...[new AbortController(), 'text', true].map((signal) => ({ signal })),
    ...[Number.NaN, -1, '1000'].map((timeout) => ({ timeout })),
    ...[null, 7, { raw: 'yes' }, { sginal: AbortSignal.abort() }],
  ].map((row) => (Array.isArray(row) ? row : ['utils.getLogPath', {}, row]));
  for (const row of rows) {
    await assert.rejects(framework.call(...row), failure('ZEF_BAD_ARGUMENT'), inspect(row));
  }
  for (const options of [7, { raw: 1 }, { timeout: 5 }]) {
    const call = () => framework.callSync('utils.getLogPath', {}, options);
    assert.throws(call, failure('ZEF_BAD_ARGUMENT'));
  }
  const wrong = [1, { mock: 'false' }, { libraryPath: '' }, { timeout: -1 }, { moch: true }];
  for (const options of wrong) {
    assert.throws(() => new ElectronFramework(options), failure('ZEF_BAD_ARGUMENT'));
  }
  assert.equal(native().state().replies, 0);
  for (const timeout of [Number.POSITIVE_INFINITY, 2 ** 40]) {
    assert.ok(await framework.call('utils.getLogPath', {}, { timeout }));
  }
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
  const byClose = framework.call('account.logout', {}, { timeout: 60000 });
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
    assert.match(error.stack.split('\n')[1], /calls\.test\.cjs/, 'the line of the caller');
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
