'use strict';

const assert = require('node:assert/strict');
const { test } = require('node:test');
const { Worker } = require('node:worker_threads');
const { mock } = require('zelectronframework');
const { started, until } = require('./support.cjs');

test('calls that end otherwise are told apart', async (t) => {
  const { framework, api } = await started(t);
  const run = async (script, body = {}) => {
    mock({ script: { logout: [script] } });
    const { seq } = await api.post('run', {
      run: 1,
      method: 'account.logout',
      params: {},
      ...body,
    });
    return api.get(`entry?seq=${seq}`);
  };
  assert.equal((await run({ refuse: true })).outcome, 'fail');
  assert.equal((await run({ reply: { result: 'ok', data: { result: 'fail' } } })).outcome, 'ok');
  assert.equal((await run({ hold: true }, { timeout: 20 })).outcome, 'ZEF_TIMEOUT');

  const aborted = run({ times: 0 });
  // Not the last entry: log lines of earlier calls may still come behind it.
  const isOpen = ({ outcome }) => outcome === 'open';
  await until(async () => (await api.get('heads')).heads.some(isOpen), 'the call');
  await api.post('abort', { run: 1 });
  assert.equal((await aborted).outcome, 'ZEF_ABORTED');

  const twice = await run({ times: 2 });
  const late = await until(
    async () => (await api.get('heads')).heads.find(({ kind }) => kind === 'late'),
    'the second answer',
  );
  assert.equal(late.of, twice.seq);
  assert.equal((await api.get(`entry?seq=${twice.seq}`)).answers, 2);

  // Where it comes from is this file, also for those who wait.
  const call = framework.call('account.logout', {}).catch(() => {});
  const { heads } = await api.get('heads');
  await call;
  const { seq } = heads.findLast(({ name }) => name === 'account.logout');
  assert.match((await api.get(`entry?seq=${seq}`)).where[0], /watch\.test\.cjs/);
  const refused = await api.post('run', { run: 2, method: 'account.logout', mode: 'sync' });
  assert.match((await api.get(`entry?seq=${refused.seq}`)).outcome, /ZEF_NOT_THREAD_SAFE/);
});

test('the mock can be told to answer so again, in the form that the operation takes', async (t) => {
  const { framework, api } = await started(t);
  const entryOf = async (method, params) => {
    const before = (await api.get('heads')).next;
    const reply = await framework.call(method, params, { raw: true });
    const { heads } = await api.get(`heads?from=${before}`);
    const { seq } = heads.find(({ name }) => name === method);
    return { reply, entry: await api.get(`entry?seq=${seq}`) };
  };
  const signed = await entryOf('account.signLoginData', { signData: 'a' });
  const { operation, step } = signed.entry.mockAnswer;
  assert.deepEqual([operation, step], ['signLoginData', { text: '{{data:1}}' }]);
  await api.post('mock', { command: { script: { [operation]: [step] } } });
  const again = await entryOf('account.signLoginData', { signData: 'b' });
  assert.deepEqual(again.reply, signed.reply);

  const refuse = { operation: 'getLoginService', step: { refuse: true } };
  mock({ script: { [refuse.operation]: [refuse.step] } });
  assert.deepEqual((await entryOf('account.logout', {})).entry.mockAnswer, refuse);
  assert.equal((await entryOf('account.getAccountListInfo', {})).entry.mockAnswer, undefined);
});

test('a worker has a list of its own, and says so', async () => {
  const script = `
    const { parentPort } = require('node:worker_threads');
    const { started } = require(${JSON.stringify(require.resolve('./support.cjs'))});
    const endings = [];
    started({ after: (end) => endings.push(end) }).then(async ({ framework, api }) => {
      framework.callSync('account.getJwkPublicKeyStr');
      const { heads } = await api.get('heads');
      const note = await api.get('entry?seq=0');
      for (const end of endings) await end();
      parentPort.postMessage({ heads, note });
    });`;
  const worker = new Worker(script, { eval: true });
  const { heads, note } = await new Promise((resolve, reject) => {
    worker.once('message', resolve).once('error', reject);
  });
  assert.match(note.text, /calls of other threads are not seen/);
  const call = heads.find(({ name }) => name === 'account.getJwkPublicKeyStr');
  assert.ok(call.thread > 0);
  await worker.terminate();
});
