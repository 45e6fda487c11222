'use strict';

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const diagnostics = require('node:diagnostics_channel');
const path = require('node:path');
const { test } = require('node:test');
const { mask } = require('../index.cjs');
const { standin, settings, started, until, nodeProgram } = require('./support.cjs');

const parts = ['start', 'end', 'asyncStart', 'asyncEnd', 'error'];

/** Everything that is published until the test ends, as [part, context]. */
function watch(t, name) {
  const seen = [];
  for (const part of parts) {
    const channel = `tracing:zelectronframework.${name}:${part}`;
    const note = (context) => seen.push([part, context]);
    diagnostics.subscribe(channel, note);
    t.after(() => diagnostics.unsubscribe(channel, note));
  }
  return seen;
}

function watchPlain(t, name) {
  const seen = [];
  const note = (context) => seen.push(context);
  diagnostics.subscribe(`zelectronframework:${name}`, note);
  t.after(() => diagnostics.unsubscribe(`zelectronframework:${name}`, note));
  return seen;
}

test('a call publishes one context, in the order of a traced operation', async (t) => {
  const framework = await started(t);
  const seen = watch(t, 'call');
  const controller = new AbortController();
  const text = '{"deviceCode":{"a":"b"}}';
  const rows = [
    ['sync', () => framework.callSync('accessbase.getDeviceHeader', JSON.parse(text)), 'start end'],
    ['sync', () => framework.callSync('accessbase.getDeviceHeader'), 'start error end'],
    ['sync', () => framework.callSync('account.logout'), 'start error end'],
    [
      'async',
      () => framework.call('accessbase.getDeviceHeader', JSON.parse(text), { timeout: 5000 }),
      'start end asyncStart asyncEnd',
    ],
    [
      'async',
      () => framework.call('accessbase.getDeviceHeader', {}, { signal: controller }),
      'start end error asyncStart asyncEnd',
    ],
    [
      'async',
      () => framework.call('accessbase.getDeviceHeader', 7),
      'start end error asyncStart asyncEnd',
    ],
  ];
  const ids = new Set();
  for (const [mode, run, order] of rows) {
    seen.length = 0;
    const outcome = await new Promise((resolve) => resolve(run())).then(
      (result) => ({ result }),
      (error) => ({ error }),
    );
    assert.equal(seen.map(([part]) => part).join(' '), order);
    const context = seen[0][1];
    assert.ok(
      seen.every(([, each]) => each === context),
      'one context object',
    );
    assert.equal(context.mode, mode);
    assert.equal(context.result, outcome.result);
    assert.equal(context.error, outcome.error);
    if (outcome.result) assert.equal(context.params, text);
    if (outcome.result || outcome.error.reply)
      assert.match(context.reply, /^{.*"result":"(ok|fail)"/);
    ids.add(context.id);
  }
  assert.equal(ids.size, rows.length);
});

test('a subscriber that spoils a context spoils no call', async (t) => {
  const framework = await started(t);
  const seen = watch(t, 'call');
  const spoilers = [Object.freeze, (context) => Object.assign(context, { id: 1, params: '[]' })];
  for (const spoil of spoilers) {
    const channel = 'tracing:zelectronframework.call:start';
    diagnostics.subscribe(channel, spoil);
    t.after(() => diagnostics.unsubscribe(channel, spoil));
    const deviceCode = { a: 'b' };
    const call = await framework.call('accessbase.getDeviceHeader', { deviceCode });
    assert.deepEqual(framework.callSync('accessbase.getDeviceHeader', { deviceCode }), call);
    assert.equal(call.data.a, 'b');
    await assert.rejects(framework.call('account.switchAccount', { userId: 'x' }), {
      code: 'ZEF_REPLY_FAIL',
    });
    diagnostics.unsubscribe(channel, spoil);
  }
  // What getters of the caller throw is refused as without a subscriber.
  const options = Object.defineProperty({}, 'raw', {
    enumerable: true,
    get: () => assert.fail('x'),
  });
  const refused = framework.call('utils.getLogPath', {}, options); // does not throw
  await assert.rejects(refused, { code: 'ZEF_BAD_ARGUMENT' });
  assert.equal(seen.at(-1)[1].error.code, 'ZEF_BAD_ARGUMENT');
});

test('starts, events, task messages and late replies are published', async (t) => {
  const inits = watch(t, 'init');
  const calls = watch(t, 'call');
  const [events, tasks, late] = ['event', 'task', 'late'].map((name) => watchPlain(t, name));
  const framework = await started(t);
  const [, { instance }] = inits[0];
  assert.deepEqual(
    inits.map(([part]) => part),
    ['start', 'end', 'asyncStart', 'asyncEnd'],
  );
  framework.on('account.cookieUpdated', () => {});
  standin.raise('cookieUpdated', 1000, 0); // some of them while others are still waiting
  framework.onTask('accountInfoCollectTask', () => {});
  standin.collect('{"n":1}');
  standin.script('logout', '{"times":2}');
  t.after(() => standin.script('logout', '{}'));
  await framework.call('account.logout', {}, { raw: true });
  const raised = () => events.reduce((sum, { count }) => sum + count, 0);
  await until(() => raised() >= 1000 && tasks.length + late.length === 2, 'all of them');
  assert.equal(raised(), 1000);
  assert.deepEqual(
    { ...events[0], count: 0 },
    { instance, name: 'account.cookieUpdated', count: 0 },
  );
  assert.deepEqual(tasks, [{ instance, type: 'accountInfoCollectTask', text: '{"n":1}' }]);
  assert.deepEqual(late, [{ id: calls[0][1].id, reply: calls[0][1].reply }]);
});

test('a masked context keeps its shape and no secret', async (t) => {
  const framework = await started(t, {
    cookies: [{ url: 'https://a.example.com/', setCookie: 'sid=Geheim-1; Path=/' }],
  });
  const seen = watch(t, 'call');
  const raw = { raw: true };
  const url = 'https://a.example.com/';
  framework.callSync('account.queryWebviewCookies', { url }, raw);
  framework.callSync('account.generatePKCEParam');
  framework.callSync('account.signLoginData', { signData: 'Geheim-2' });
  await framework.call('account.loginWithSsid', { ssid: 'Geheim-3' }, raw);
  await framework.call(
    'account.logout',
    { userId: '1', more: { token: ['Geheim-4', 471100] } },
    raw,
  );
  await framework.call('network.updateProxyInfo', { proxyPassWord: 'Geheim-5', proxyHost: 'h' });
  const contexts = [...new Set(seen.map(([, context]) => context))];
  const verifier = contexts[1].result.data.code_verifier;
  const secret = new RegExp(`Geheim-|471100|${verifier}`);
  for (const context of contexts) {
    assert.match(JSON.stringify(context) + JSON.stringify(context.error), secret, context.method);
    const masked = mask(context);
    assert.doesNotMatch(JSON.stringify(masked), secret, context.method);
    assert.deepEqual(Object.keys(masked), Object.keys(context));
    assert.equal(JSON.parse(masked.reply).msg === '', JSON.parse(context.reply).msg === '');
  }
  assert.equal(mask(contexts[4]).params, '{"userId":"1","more":{"token":["***","***"]}}');
  assert.equal(mask(contexts[3], (name) => `{{${name}:1}}`).params, '{"ssid":"{{ssid:1}}"}');
  const words = 'no user Geheim-6';
  const failed = mask({
    method: 'account.loginWithSsid',
    params: '{"ssid":"Geheim-6"}',
    error: new Error(words),
  });
  assert.deepEqual(failed.error, { message: 'Error: no user ***' });
  const entry = JSON.parse(JSON.parse(mask(contexts[0]).reply).data.cookieList[0]);
  assert.deepEqual([entry.name, entry.value], ['sid', '***']);
  const message = '{"dataType":"enterMeeting","data":{"meetingUrl":"u","accessCode":"123456"}}';
  assert.equal(
    mask({ type: 'meetingDataChangeTask', text: message }).text,
    '{"dataType":"enterMeeting","data":{"meetingUrl":"***","accessCode":"***"}}',
  );
  // What nobody has described may be anything.
  const hidden = [
    [{ method: 'new.one', params: '{"a":"b"}' }, { params: '{"a":"***"}' }],
    [{ method: 'new.one', reply: '{"data":{"a":["b"]}}' }, { reply: '{"data":{"a":["***"]}}' }],
    [
      { method: 'account.quickLogin', params: '{"userId":"7","extParam":{"a":{"name":"b"}}}' },
      { params: '{"userId":"7","extParam":{"a":{"name":"***"}}}' },
    ],
    [
      {
        method: 'account.quickLogin',
        reply: '{"msg":"m","data":{"userId":"7","token":{"name":1}}}',
      },
      { reply: '{"msg":"m","data":{"userId":"7","token":{"name":"***"}}}' },
    ],
    [
      { method: 'account.logout', result: { currentUserId: '7', data: 'b' } },
      { result: { currentUserId: '7', data: '***' } },
    ],
    [
      { method: 'meeting.changeMeetingStatus', params: '{"event":"e","data":{"event":"b"}}' },
      { params: '{"event":"e","data":{"event":"***"}}' },
    ],
    [
      { type: 'accountInfoCollectTask', text: '{"userId":"7","more":[{"name":"b"}]}' },
      { text: '{"userId":"***","more":[{"name":"***"}]}' },
    ],
  ];
  for (const [context, masked] of hidden)
    assert.deepEqual(mask(context), { ...context, ...masked });
  for (const wrong of [[undefined], [null], ['x'], [{}, '***']]) {
    assert.throws(() => mask(...wrong), { code: 'ZEF_BAD_ARGUMENT' });
  }
  const start = { ...settings(), network: { proxy: { proxyPassWord: 'p', proxyHost: 'h' } } };
  assert.match(
    mask({ settings: JSON.stringify(start) }).settings,
    /"proxyPassWord":"\*\*\*","proxyHost":"h"/,
  );
});

test('NODE_DEBUG shows what happens without secrets', () => {
  const program = `
    const { ElectronFramework } = require(${JSON.stringify(path.join(__dirname, '..'))});
    const framework = new ElectronFramework({ mock: true });
    framework.init(${JSON.stringify(settings())}).then(async () => {
      await framework.call('account.loginWithSsid', { ssid: 'Geheim-7' }).catch(() => {});
      framework.callSync('account.signLoginData', { signData: 'Geheim-8' });
      await framework.call('account.quickLogin', { extParam: { a: 'Geheim-9' } });
    });`;
  const lines = (debug) => {
    const env = { ...process.env, NODE_DEBUG: debug };
    return spawnSync(nodeProgram, ['-e', program], { env, encoding: 'utf8' }).stderr.split('\n');
  };
  const [init, ...others] = lines('zelectronframework');
  assert.match(init, /^ZELECTRONFRAMEWORK \d+: init {"app":.* started$/);
  assert.match(
    others.join('\n'),
    /call (\d+) async .*{"ssid":"\*\*\*"}\n.*answer \1 {"msg".*\n.*sync/,
  );
  assert.doesNotMatch(others.join(), /Geheim/);
  assert.deepEqual(lines(''), ['']);
});
