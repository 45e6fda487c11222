'use strict';

const assert = require('node:assert/strict');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const { test } = require('node:test');
const { Worker } = require('node:worker_threads');
const { mock } = require('zelectronframework');
const { attach } = require('../index.cjs');
const { Secrets } = require('../lib/secrets.cjs');
const { Store } = require('../lib/store.cjs');
const { client, settings, started, until } = require('./support.cjs');

const login = (ssid) => ({
  kind: 'call',
  name: 'account.loginWithSsid',
  params: JSON.stringify({ ssid }),
});
const proxy = (proxyPassWord) => ({
  kind: 'call',
  name: 'network.updateProxyInfo',
  params: JSON.stringify({ proxyPassWord }),
});
const enter = (accessCode) => ({
  kind: 'task',
  name: 'meetingDataChangeTask',
  text: JSON.stringify({ dataType: 'enterMeeting', data: { accessCode } }),
});
const logout = 'account.logout';
const reply = (data, msg = 'success') => ({
  kind: 'call',
  name: 'utils.getLogPath',
  reply: JSON.stringify({ result: 'ok', msg, data }),
});
const ask = (name, params) => ({ kind: 'call', name, params: JSON.stringify(params) });
const log = (text) => ({ kind: 'log', name: 'x', text });
const call = (params, result) =>
  log(`call call method:account.signLoginData, params:${params}, result:${result}`);

/** What was seen before, an entry, and what is shown of its one text. */
const rows = {
  // Only what is a text can be a secret.
  'numbers with the digits of an access code': [
    [enter('1000')],
    reply({ at: 1000123, list: [1000], userId: '10001' }),
    '{"result":"ok","msg":"success","data":{"at":1000123,"list":[1000],"userId":"10001"}}',
  ],
  'an access code as a word of a text': [
    [enter('1000')],
    reply({ note: 'code 1000, 1000' }),
    '{"result":"ok","msg":"success","data":{"note":"code {{accessCode:1}}, {{accessCode:1}}"}}',
  ],
  'passwords that the interface says itself': [
    [proxy('data'), proxy('success')],
    reply({}),
    '{"result":"ok","msg":"success","data":{}}',
  ],
  'a key that is a secret': [[proxy('pass-word')], reply({ 'pass-word': 1 }), /"pass-word":1/],
  // Wherever a text may be.
  'in the words of an error': [
    [login('ssid-1')],
    { kind: 'call', name: 'account.logout', error: 'no ssid-1 here' },
    'no {{ssid:1}} here',
  ],
  'in a text that is JSON': [
    [login('a"b\\c')],
    reply({ list: [JSON.stringify({ x: 'a"b\\c' })] }),
    '{"result":"ok","msg":"success","data":{"list":["{\\"x\\":\\"{{ssid:1}}\\"}"]}}',
  ],
  'in a URL': [[login('a b/c')], log('?x=a%20b%2Fc&'), '?x={{ssid:1}}&'],
  'in a form': [[login('a b/c')], log('x=a+b%2Fc&'), 'x={{ssid:1}}&'],
  'with a name, in base64': [
    [proxy('pass-word-1')],
    log(`Basic ${Buffer.from('user:pass-word-1').toString('base64')}.`),
    /^Basic \{\{base64:1\}\}=*\.$/,
  ],
  'in base64 for URLs': [
    [login('?~?~?~?~?~?~?')],
    log(`<${Buffer.from('?~?~?~?~?~?~?').toString('base64url')}>`),
    '<{{base64:1}}>',
  ],
  // Lines of the framework tell of calls that were not seen: of other threads, or before.
  'the parameters of a call': [
    [],
    log('asynCall asynCall method:account.loginWithSsid, params:{"ssid":"a","keepOnline":true}'),
    'asynCall asynCall method:account.loginWithSsid, params:{"ssid":"{{ssid:1}}","keepOnline":true}',
  ],
  'parameters and result': [
    [],
    call('{"signData":"a, result:{}"}', '{"result":"ok","data":{"data":"b"}}'),
    'call call method:account.signLoginData, params:{"signData":"{{signData:1}}"}, ' +
      'result:{"result":"ok","data":{"data":"{{data:1}}"}}',
  ],
  'the first of two keys': [
    [],
    call('{"signData":"a","signData":"b"}', '{}'),
    /params:\{"signData":"\{\{signData:1\}\}"\}/,
  ],
  'what is no JSON': [
    [],
    call('{"signData":"a', '{}'),
    'call call method:account.signLoginData, params:(no JSON, so not shown)',
  ],
  'a result without its method': [
    [],
    log('operator() asynCall result:{"data":{"url":"https://x?a","userId":"1"},"msg":"m"}'),
    'operator() asynCall result:{"data":{"url":"{{url:1}}","userId":"1"},"msg":"m"}',
  ],
  'the proxy': [
    [],
    log('setGlobalNetworkProxy type:3 host:h port:1 user:u password:p password:q'),
    'setGlobalNetworkProxy type:3 host:h port:1 user:u password:{{proxyPassWord:1}}',
  ],
  'a meeting': [
    [],
    log('operator() meeting data changed meetingUrl:https://m/1, accessCode:1, 2'),
    'operator() meeting data changed meetingUrl:{{meetingUrl:1}}, accessCode:{{accessCode:1}}',
  ],
  // An object can be secret as a whole, and what the account library writes may hold anything.
  'an object with all that is in it': [
    [],
    ask('account.quickLogin', { extParam: { a: [{ b: 'c' }], n: 7 } }),
    '{"extParam":{"a":[{"b":"{{b:1}}"}],"n":"{{n:1}}"}}',
  ],
  'a name that is secret in another method': [
    [ask('meeting.changeMeetingStatus', { data: { id: 'meeting-1' } })],
    reply({ data: 'shown', of: 'meeting-1' }),
    '{"result":"ok","msg":"success","data":{"data":"shown","of":"{{id:1}}"}}',
  ],
  'what the account library replies without a description': [
    [],
    { ...reply({ userId: '10001', token: 'words', more: { is_login: 1, x1: 2 } }), name: logout },
    '{"result":"ok","msg":"success","data":{"userId":"10001","token":"{{token:1}}",' +
      '"more":{"is_login":"{{is_login:1}}","x1":"{{x1:1}}"}}}',
  ],
  'what is hidden without being known as a secret': [
    [{ ...reply({ token: 'words' }), name: logout }],
    reply({ other: 'in words' }),
    '{"result":"ok","msg":"success","data":{"other":"in words"}}',
  ],
  'what the account library collects': [
    [],
    { kind: 'task', name: 'accountInfoCollectTask', text: '{"step":"login","all":["a"]}' },
    '{"step":"{{step:1}}","all":["{{all:1}}"]}',
  ],
  'a method that nobody knows': [
    [],
    { kind: 'call', name: 'new.method', params: '{"a":{"b":"c"},"n":7}' },
    '{"a":{"b":"{{b:1}}"},"n":"{{n:1}}"}',
  ],
};

test('secrets are replaced wherever they are, and nothing else is', () => {
  for (const [what, [seen, entry, expected]] of Object.entries(rows)) {
    const secrets = new Secrets();
    for (const each of seen) secrets.learn(each);
    secrets.learn(entry);
    const { params, reply: answer, error, text } = secrets.masked(entry);
    const shown = params ?? answer ?? error ?? text;
    if (expected instanceof RegExp) assert.match(shown, expected, what);
    else assert.equal(shown, expected, what);
  }
  // Secrets are not forgotten over texts that may be none.
  const busy = new Secrets();
  busy.learn(login('ssid-1'));
  const state = (i) => ({ ...reply({ state: `s${i}` }), name: logout });
  for (let i = 0; i < 60_000; ++i) busy.masked(state(i));
  assert.equal(busy.masked(log('no ssid-1')).text, 'no {{ssid:1}}');
  // A text that is too long to be looked at is not kept, not even its beginning.
  const store = new Store({ textLimit: 1000 });
  const { text, cut } = store.add(log(`${'x'.repeat(990)}ssid-1234567890`));
  assert.deepEqual([text, cut], [undefined, { text: 1005 }]);
  // What the mock is told, or was set up with.
  const secrets = new Secrets();
  secrets.learn(login('ssid-1'));
  const script = { logout: [{ reply: { msg: 'ssid-1!' } }], signPopToken: [{ text: 'signed' }] };
  assert.deepEqual(secrets.state({ script, note: 'ssid-1' }), {
    script: { logout: [{ reply: { msg: '{{ssid:1}}!' } }], signPopToken: [{ text: '{{text:1}}' }] },
    note: '{{ssid:1}}',
  });
});

test('nothing is told of other threads and processes, or of what was before', async (t) => {
  const office = { userId: '10001' };
  const users = [{ userid: '10001', nickname: 'Ada', ssid: 'canary-of-the-settings' }];
  const { framework, api } = await started(t, { standin: { users, office } });
  const others = (ssid, options) => `
    const { ElectronFramework } = require('zelectronframework');
    const framework = new ElectronFramework({ mock: true });
    framework.init(${JSON.stringify(settings({ users, office }))}, ${options})
      .then(() => framework.call('account.loginWithSsid', { ssid: '${ssid}' }).catch(() => {}))
      .then(() => framework.close());`;
  const worker = new Worker(others('canary-of-a-worker', '{ join: true }'), { eval: true });
  await new Promise((resolve) => worker.once('exit', resolve));
  const cwd = path.join(__dirname, '..');
  const child = spawnSync(process.execPath, ['-e', others('canary-of-a-process', '{}')], { cwd });
  assert.equal(child.status, 0, String(child.stderr));
  const late = await attach(framework, { settings: settings({ users, office }) });
  t.after(() => late.close());
  const reply = { result: 'fail', msg: 'not canary-of-the-settings' };
  mock({ script: { logout: [{ reply }] } });
  await framework.call('account.logout').catch(() => {});

  for (const each of [api, client(late.url)]) {
    const heads = await until(async () => {
      const { heads } = await each.get('heads');
      return heads.some(({ kind, name }) => kind === 'log' && name === 'operator') && heads;
    }, 'the log line of the answer');
    const shown = [];
    for (const { seq } of heads) shown.push(JSON.stringify(await each.get(`entry?seq=${seq}`)));
    assert.doesNotMatch(shown.join('\n'), /canary/);
    assert.match(shown.join('\n'), /"error":"account.logout: not \{\{ssid:\d\}\}"/);
  }
  const lines = async (q) => (await api.get(`search?words=["${q}"]`)).found.length;
  assert.equal(await lines('loginWithSsid'), 1, 'the line of the worker, none of the process');
});
