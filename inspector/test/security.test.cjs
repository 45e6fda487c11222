'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const net = require('node:net');
const path = require('node:path');
const { channel } = require('node:diagnostics_channel');
const { test } = require('node:test');
const { attach } = require('../index.cjs');
const { started, scratch, until } = require('./support.cjs');

/** Sends bytes as they are and gives what comes back until the server or the time ends it. */
function send(port, text) {
  return new Promise((resolve) => {
    const socket = net.connect(port, '127.0.0.1', () => socket.write(text));
    let answer = '';
    socket.on('data', (part) => {
      answer += part;
    });
    socket.on('error', () => {});
    socket.on('close', () => resolve(answer));
    socket.setTimeout(500, () => socket.destroy());
  });
}

const raise = '{"command":{"signal":"cookieUpdated"}}';

test('requests that the page did not send are refused and have no effect', async (t) => {
  const { framework, inspector } = await started(t);
  const { host, port, hash, origin } = new URL(inspector.url);
  let effects = 0;
  framework.on('account.cookieUpdated', () => {
    effects += 1;
  });
  const token = hash.slice(1);
  const good = {
    Host: host,
    'Sec-Fetch-Site': 'same-origin',
    Origin: origin,
    Authorization: `Bearer ${token}`,
    'Content-Type': 'application/json',
    'Content-Length': raise.length,
    Connection: 'close',
  };
  const request = (changes = {}, line = 'POST /api/mock HTTP/1.1') => {
    const lines = Object.entries({ ...good, ...changes })
      .filter(([, value]) => value !== undefined)
      .flatMap(([name, value]) => [value].flat().map((each) => `${name}: ${each}`));
    return `${line}\r\n${lines.join('\r\n')}\r\n\r\n${raise}`;
  };
  const hostile = {
    'no host': request({ Host: undefined }),
    'two hosts': request({ Host: [host, host] }),
    'two hosts, ours first': request({ Host: [host, 'evil.example'] }),
    'a name that leads here': request({ Host: `evil.example:${port}` }),
    'the name of this machine': request({ Host: `localhost:${port}` }),
    'another port': request({ Host: '127.0.0.1:1' }),
    'HTTP/1.0': request({}, 'POST /api/mock HTTP/1.0'),
    'an absolute target': request({}, `POST ${origin}/api/mock HTTP/1.1`),
    'a fragment': request({}, 'POST /api/mock#x HTTP/1.1'),
    'a foreign origin': request({ Origin: 'http://evil.example' }),
    'the same host, another port': request({ Origin: 'http://127.0.0.1:1' }),
    'a null origin': request({ Origin: 'null' }),
    'sent by another site': request({ 'Sec-Fetch-Site': 'cross-site' }),
    'not said who sends': request({ 'Sec-Fetch-Site': undefined, Origin: undefined }),
    'no token': request({ Authorization: undefined }),
    'a wrong token': request({ Authorization: `Bearer ${'A'.repeat(token.length)}` }),
    'a token too short': request({ Authorization: `Bearer ${token.slice(1)}` }),
    'two tokens': request({ Authorization: [`Bearer ${token}`, 'Bearer x'] }),
    'the token as cookie': request({ Authorization: undefined, Cookie: `token=${token}` }),
    'the token in the address': request(
      { Authorization: undefined },
      `POST /api/mock?${token} HTTP/1.1`,
    ),
    'an action by GET': request({}, 'GET /api/mock/../mock?command=x HTTP/1.1'),
    'another method': request({}, 'PUT /api/mock HTTP/1.1'),
    'a form': request({ 'Content-Type': 'application/x-www-form-urlencoded' }),
    'plain text': request({ 'Content-Type': 'text/plain' }),
    'no JSON': request().replace(raise, 'x'.repeat(raise.length)),
    'a file of the server': request({}, 'GET /../package.json HTTP/1.1'),
    'data without token': request({ Authorization: undefined }, 'GET /api/heads HTTP/1.1'),
    'the stream without token': request({ Authorization: undefined }, 'GET /api/stream HTTP/1.1'),
  };
  for (const [what, text] of Object.entries(hostile)) {
    const answer = await send(port, text);
    assert.match(answer, /^HTTP\/1.1 4\d\d /, what);
    assert.doesNotMatch(answer, /access-control|set-cookie/i, what);
  }
  // The same with nothing wrong has its effect, and nothing before it had.
  assert.match(await send(port, request()), /^HTTP\/1.1 200 /);
  await until(() => effects > 0, 'the event');
  assert.equal(effects, 1);

  const page = await send(port, `GET / HTTP/1.1\r\nHost: ${host}\r\nConnection: close\r\n\r\n`);
  assert.match(page, /^HTTP\/1.1 200 /);
  assert.match(page, /content-security-policy: default-src 'none'; script-src 'self';/i);
  assert.doesNotMatch(page, new RegExp(token));
});

test('read-only, nothing is changed', async (t) => {
  const recordings = fs.mkdtempSync(path.join(scratch, 'recordings-'));
  const { api } = await started(t, { readOnly: true, recordings });
  const heads = () => api.get('heads');
  await until(
    async () => (await heads()).heads.some(({ name }) => name === 'account.initFinished'),
    'the start',
  );
  const effects = (entries) => entries.filter(({ kind }) => kind !== 'log').length;
  const before = effects((await heads()).heads);
  for (const [action, body] of Object.entries({
    run: { method: 'account.logout', run: 1 },
    mock: { command: { signal: 'cookieUpdated' } },
    subscribe: { event: 'account.cookieUpdated', on: false },
    startRecording: {},
    stopRecording: { name: 'x' },
    replay: { text: '{"recording":1}' },
  })) {
    assert.equal((await api.post(action, body)).status, 403, action);
  }
  assert.equal(effects((await heads()).heads), before);
});

test('connections that say nothing do not keep the page away', async (t) => {
  const { inspector, api } = await started(t);
  const { host, port } = new URL(inspector.url);
  const stream = await api.stream();
  let isOpen = true;
  stream.on('close', () => {
    isOpen = false;
  });
  stream.resume();
  const silent = Array.from({ length: 100 }, (_, index) => {
    const socket = net.connect(port, '127.0.0.1');
    socket.on('error', () => {});
    if (index % 2) socket.write(`GET / HTTP/1.1\r\nHost: ${host}\r\n`);
    return socket;
  });
  t.after(() => {
    for (const socket of silent) socket.destroy();
  });
  await until(() => silent.filter(({ closed }) => closed).length >= 68, 'an end of most of them');
  const page = await send(port, `GET / HTTP/1.1\r\nHost: ${host}\r\nConnection: close\r\n\r\n`);
  assert.match(page, /^HTTP\/1.1 200 /);
  assert.equal((await api.get('heads')).status, 200);
  assert.ok(isOpen, 'the page that has the token stays connected');
});

test('who cannot listen watches nothing', async (t) => {
  const { framework, inspector } = await started(t);
  const port = Number(new URL(inspector.url).port);
  const watched = channel('zelectronframework:event');
  const count = () => watched._subscribers.length;
  const before = count();
  for (const each of [port, 70_000]) await assert.rejects(attach(framework, { port: each }));
  assert.equal(count(), before);
});

test('recordings are new files in their folder, and none is lost over a name', async (t) => {
  const recordings = fs.mkdtempSync(path.join(scratch, 'recordings-'));
  const { framework, api } = await started(t, { recordings });
  const save = async (name) => {
    await api.post('startRecording');
    return (await api.post('stopRecording', { name })).status;
  };
  fs.symlinkSync('/tmp/not-there', path.join(recordings, 'link.jsonl'));
  assert.equal(await save('one'), 200);
  assert.equal(fs.statSync(path.join(recordings, 'one.jsonl')).mode & 0o777, 0o600);
  await api.post('startRecording');
  framework.callSync('account.getAccountListInfo');
  for (const name of ['one', 'link', '../two', '/tmp/two', '.hidden', 'a/b', 5]) {
    assert.notEqual((await api.post('stopRecording', { name })).status, 200, name);
  }
  assert.deepEqual(fs.readdirSync(recordings).sort(), ['link.jsonl', 'one.jsonl']);
  const { text, savedAs } = await api.post('stopRecording', { name: 'two' });
  assert.match(text, /"call":"account.getAccountListInfo"/);
  assert.equal(fs.readFileSync(decodeURIComponent(savedAs), 'utf8'), text);
  assert.equal((await api.post('stopRecording')).status, 409);
});

test('a packaged application refuses', async (t) => {
  const { framework } = await started(t);
  Object.defineProperty(process.versions, 'electron', { value: '45.0.0', configurable: true });
  t.after(() => delete process.versions.electron);
  await assert.rejects(attach(framework), /packaged/);
  (await attach(framework, { allowPackaged: true })).close();
});
