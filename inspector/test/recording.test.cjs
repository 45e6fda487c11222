'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const { test } = require('node:test');
const { mock } = require('zelectronframework');
const { forMock, readRecording, replay: replayHere, RecordingError } = require('../index.cjs');
const { attached, client, scratch, settings, started, until } = require('./support.cjs');

const program = path.join(__dirname, '../bin/inspector.cjs');

const canaries = {
  ssid: 'ssid-canary-1',
  randcode: 'rand/canary+2',
  password: 'p"ass\\canary 3',
  meetingUrl: 'https://meet.example.com/canary?4',
  accessCode: 'canary5',
  passedOn: 'canary-6',
  other: 'ssid-canary-7',
};
const users = [
  { userid: '10001', nickname: 'Ada', ssid: canaries.ssid, randcode: canaries.randcode },
];
const standin = { users, office: { userId: '10001' } };

let recording; // text of what happens in the first test

test('secrets leave the process only when they are asked for', async (t) => {
  const { framework, api } = await started(t, { standin });
  await until(
    async () => (await api.get('heads')).heads.some(({ name }) => name === 'account.initFinished'),
    'the start',
  );
  await api.post('startRecording');
  await framework.call('account.quickLogin', { keepOnline: true });
  await framework.call('account.logout', {});
  await framework.call('account.loginWithSsid', { ssid: canaries.other }).catch(() => {});
  await framework.call('account.loginWithSsid', { ssid: canaries.ssid });
  await framework.call('account.updateAccountInfo', {
    nickname: 'Eve',
    mystery: canaries.passedOn,
  });
  await framework.call('network.updateProxyInfo', {
    proxyType: 0,
    proxyPassWord: canaries.password,
  });
  framework.callSync('account.getAccountListInfo');
  framework.callSync('account.queryWebviewCookies', { url: 'https://account.example.com' });
  framework.callSync('account.signLoginData', { signData: canaries.randcode });
  await api.post('mock', { command: { script: { logout: [{ refuse: true }] } } });
  await framework.call('account.logout', {}).catch(() => {});
  await framework.call('account.logout', {});
  const { meetingUrl, accessCode } = canaries;
  await api.post('mock', {
    command: { message: { msgType: 'enterMeeting', meetingUrl, accessCode } },
  });
  await until(async () => (await api.get('heads')).heads.at(-1).kind !== 'mock', 'the message');
  recording = (await api.post('stopRecording')).text;

  // Log lines hold the parameters of the calls.
  await until(async () => (await api.get('search?words=["mystery"]')).found.length > 1, 'the log');
  const { heads } = await api.get('heads');
  const shown = [JSON.stringify(heads), recording, JSON.stringify(await api.get('mock'))];
  for (const { seq } of heads) shown.push(JSON.stringify(await api.get(`entry?seq=${seq}`)));
  const all = shown.join('\n');
  const writings = (secret) => [
    secret,
    JSON.stringify(secret).slice(1, -1),
    encodeURIComponent(secret),
    Buffer.from(secret).toString('base64'),
  ];
  for (const [name, secret] of Object.entries(canaries)) {
    for (const writing of writings(secret))
      assert.ok(!all.includes(writing), `${name}: ${writing}`);
  }
  assert.deepEqual((await api.get('search?words=["canary"]')).found, [], 'a search tells nothing');
  const placeholder = /"mystery":"(\{\{mystery:\d\}\})"/.exec(recording)[1];
  assert.equal((await api.post('reveal', { value: placeholder })).value, canaries.passedOn);
  // The same secret is the same everywhere: in what was asked and in the mock's own state.
  const seed = readRecording(recording).header.settings.standin.users[0].ssid;
  assert.ok(recording.includes(`{"async":"account.loginWithSsid","params":{"ssid":"${seed}"}`));
});

const file = (text) => {
  const name = path.join(fs.mkdtempSync(path.join(scratch, 'replay-')), 'recording.jsonl');
  fs.writeFileSync(name, text);
  return name;
};

function replay(text, ...options) {
  const { status, stdout, stderr } = spawnSync(
    process.execPath,
    [program, 'replay', '--json', ...options, file(text)],
    { encoding: 'utf8' },
  );
  assert.ok(stdout, stderr);
  return { status, ...JSON.parse(stdout) };
}

/** The recording with one of its lines changed. */
function changed(wanted, change) {
  const lines = recording.trimEnd().split('\n');
  const at = lines.findIndex((line) => wanted.test(line));
  assert.ok(at >= 0, String(wanted));
  lines.splice(at, 1, ...change(lines[at], lines));
  return { text: `${lines.join('\n')}\n`, line: at + 1 };
}

test('a masked recording replays green, a changed one red at its line', () => {
  const { status, compared, report } = replay(recording);
  assert.equal(status, 0, report);
  assert.ok(compared > 20);

  const red = {
    'a changed value': [/"msg":"sign-in refused"/, (line) => [line.replace('refused', 'granted')]],
    'a key that is not given any more': [
      /"userId":"10001"\},"msg"/,
      (line) => [line.replace('"msg"', '"new":1,"msg"')],
    ],
    'an added key': [/"got".*"nickname":"Ada",/, (line) => [line.replace('"nickname":"Ada",', '')]],
    'an event that never comes': [
      /"got":\{"reply"/,
      (line) => [line, '{"got":{"event":"account.companyInfoChanged"}}'],
      1,
    ],
    'an event too many': [/"got":\{"event":"account.authInfoChanged"/, () => [], -1],
    'another secret': [
      /"got".*\{\{meetingUrl/,
      (line) => [line.replace(/\{\{meetingUrl:\d\}\}/, '{{ssid:1}}')],
    ],
  };
  for (const [what, [wanted, change, offset]] of Object.entries(red)) {
    const { text, line } = changed(wanted, change);
    const result = replay(text, '--timeout', offset === 1 ? '300' : '5000');
    assert.equal(result.status, 1, `${what}: ${result.report}`);
    const last = text.trimEnd().split('\n').length;
    const expected = offset === -1 ? last : line + (offset ?? 0);
    assert.ok(
      result.failures.some((failure) => failure.line === expected),
      `${what}: ${result.report}`,
    );
  }
});

/** @returns [name, verdict, recording] of the table that tests/host/tst_zefhost.cpp reads too. */
function table() {
  const text = fs
    .readFileSync(path.join(__dirname, '../../tests/host/replays.txt'), 'utf8')
    .replaceAll('CR\n', '\r\n')
    .replaceAll('LONG', 'a'.repeat(300_000));
  const [top, ...rows] = text.split('\n== ');
  const header = top.trim().split('\n').at(-1);
  return rows.map((row) => {
    const [, name, verdict, rules, lines] =
      /^([^\n]*): ([^\n]*)\n(?:mayDiffer ([^\n]*)\n)?(.*)$/s.exec(row);
    const own = rules ? `${header.slice(0, -1)},"mayDiffer":${rules}}` : header;
    return [name, verdict, `${own}\n${lines}`];
  });
}

test('recordings are judged as by zefhost', async () => {
  for (const [name, verdict, text] of table()) {
    let found;
    try {
      const { ok, failures } = await replayHere({ text }, { timeout: 1000 });
      found = ok ? 'green' : `red ${failures[0].line}`;
    } catch (error) {
      if (!(error instanceof RecordingError)) throw error;
      found = `refused ${error.line}`;
    }
    assert.equal(found, verdict, name);
  }
  const example = fs.readFileSync(path.join(__dirname, '../../examples/recording.jsonl'), 'utf8');
  const { report } = await replayHere({ text: example });
  assert.match(report, /^8 calls, 23 .* 0 differ$/);
});

test('the page replays recordings of any length, one at a time', async (t) => {
  const { api } = await started(t);
  const [, , text] = table()[0];
  const long = text + `{"note":"${'x'.repeat(1000)}"}\n`.repeat(17_000); // more than JSON may have
  const answers = await Promise.all([api.postLines('replay', long), api.post('replay', { text })]);
  assert.deepEqual(answers.map(({ status }) => status).sort(), [200, 409]);
  const { ok } = answers.find(({ status }) => status === 200);
  assert.equal(ok, true);
  assert.equal(
    (await api.post('replay', { text: `${text}{` })).error,
    '-: line 5: not a JSON object',
  );
});

test('what is told later is no sooner, and one that began before the start is of the mock', async (t) => {
  const { framework, inspector } = await attached(t);
  const api = client(inspector.url);
  await api.post('startRecording');
  await framework.init(settings());
  await framework.call('account.logout', [1]).catch(() => {}); // which does not reach the library
  for (const afterMs of [2 ** 31, -1, 'x']) {
    const told = await api.post('mock', { command: { signal: 'cookieUpdated' }, afterMs });
    assert.equal(told.status, 400);
  }
  assert.equal((await api.post('mock')).status, 400);
  const { header, lines } = readRecording((await api.post('stopRecording')).text);
  assert.equal(header.libraries, 'mock');
  assert.deepEqual(
    lines.filter(({ got, note }) => note || got?.reply).map(({ note }) => note),
    ['account.logout was refused: ZEF_BAD_ARGUMENT'],
  );
});

test('answers of one method are compared in their order', () => {
  const lines = recording.trimEnd().split('\n');
  const answers = lines.flatMap((line, at) =>
    /"got".*(refused|"currentUserId":""|"userId":"10001"\},"msg")/.test(line) ? [at] : [],
  );
  const [first, second] = [answers.at(-2), answers.at(-1)];
  [lines[first], lines[second]] = [lines[second], lines[first]];
  assert.equal(replay(`${lines.join('\n')}\n`).status, 1);
});

test('--update writes a recording as things are now', () => {
  const name = file(
    changed(/"msg":"sign-in refused"/, (line) => [line.replace('refused', 'granted')]).text,
  );
  const run = (...options) =>
    spawnSync(process.execPath, [program, 'replay', ...options, name], { encoding: 'utf8' });
  const first = run('--update');
  assert.equal(first.status, 1);
  assert.match(first.stdout, /recorded "sign-in granted"\n {2}now {6}"sign-in refused"/);
  assert.equal(run().status, 0);
  const text = fs.readFileSync(name, 'utf8');
  for (const secret of Object.values(canaries)) assert.ok(!text.includes(secret), secret);
});

test('a recording of real libraries becomes a script for the mock', async (t) => {
  // As recorded elsewhere: answers that the honest mock would not give.
  const real = (text) =>
    text
      .replace('"libraries":"mock"', '"libraries":"real"')
      .replace(/"standin":.*?"initFinishedAfterMs":-1\}/, '"standin":{}')
      .split('\n')
      .filter((line) => !line.startsWith('{"mock"'))
      .join('\n');
  const strange = recording
    .replaceAll('"sign-in refused"', '"blocked until tomorrow"')
    .replaceAll('Ada', 'Zoe');
  const result = replay(real(strange));
  assert.equal(result.status, 0, result.report);
  const { script } = forMock(readRecording(real(strange))).header.settings.standin;
  assert.equal(script.loginCallback[1].reply.msg, 'blocked until tomorrow');

  const { framework, api } = await started(t, { standin });
  const idle = () => until(() => !mock().busy, 'all that the mock does');
  await idle();
  await api.post('startRecording');
  const [one, hold] = [[{ refuse: true }], { hold: true, reply: { result: 'ok', msg: 'first' } }];
  const getters = ['Sign', 'Accessbase', 'Login'].map((name) => [`get${name}Service`, one]);
  mock({ script: { ...Object.fromEntries(getters), getCookieFactory: one } });
  mock({ script: { getDeviceHeader: [{ throw: 'x' }], switchAccount: [{ times: 0 }, hold] } });
  const call = (method, params = {}, options = {}) =>
    framework.call(`account.${method}`, params, options).catch(() => {});
  await call('getJwkPublicKeyStr');
  await call('getJwkPublicKeyStr');
  await call('queryWebviewCookies', { url: 'https://account.example.com' });
  await call('logout');
  await framework.call('accessbase.getDeviceInfo').catch(() => {});
  await framework.call('accessbase.getDeviceHeader', { deviceCode: { a: 1 } }).catch(() => {});
  await call('switchAccount', {}, { timeout: 50 });
  const overtaken = call('switchAccount');
  await call('switchAccount');
  mock({ release: true });
  await overtaken;
  await idle();
  const all = replay(real((await api.post('stopRecording')).text));
  assert.equal(all.status, 0, all.report);
  assert.equal(all.calls, 9);
});

test('what is no recording is refused with its line', () => {
  for (const [text, message] of [
    ['{"call":"utils.getLogPath"}', /line 1: no recording/],
    ['{"recording":2}', /line 1: no recording/],
    ['{"recording":1}\n{"got":', /line 2: not a JSON object/],
  ]) {
    const { status, stderr } = spawnSync(process.execPath, [program, 'replay', file(text)], {
      encoding: 'utf8',
    });
    assert.equal(status, 2);
    assert.match(stderr, message);
  }
});
