'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const { test } = require('node:test');
const { readRecording, forMock } = require('../index.cjs');
const { scratch, started, until } = require('./support.cjs');

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
  await until(async () => (await api.get('search?q=mystery')).found.length > 1, 'the log');
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
  assert.deepEqual((await api.get('search?q=canary')).found, [], 'a search tells nothing');
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

test('the recording of the examples replays as zefhost replays it', () => {
  const example = fs.readFileSync(path.join(__dirname, '../../examples/recording.jsonl'), 'utf8');
  const { status, report } = replay(example);
  assert.equal(status, 0, report);
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

test('a recording of real libraries becomes a script for the mock', () => {
  // As recorded elsewhere: answers that the honest mock would not give.
  const strange = recording
    .replace('"libraries":"mock"', '"libraries":"real"')
    .replace(/"standin":.*?"initFinishedAfterMs":-1\}/, '"standin":{}')
    .replaceAll('"sign-in refused"', '"blocked until tomorrow"')
    .replaceAll('Ada', 'Zoe');
  const lines = strange.split('\n').filter((line) => !line.startsWith('{"mock"'));
  const result = replay(lines.join('\n'));
  assert.equal(result.status, 0, result.report);
  const { script } = forMock(readRecording(lines.join('\n'))).header.settings.standin;
  assert.equal(script.loginCallback[1].reply.msg, 'blocked until tomorrow');
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
