'use strict';

const assert = require('node:assert/strict');
const { test } = require('node:test');
const { ElectronFramework, doctor, mock } = require('../index.cjs');
const { failure, settings, started, until } = require('./support.cjs');

test('the mock does while it runs what it is told', async (t) => {
  const framework = await started(t, { initFinishedAfterMs: -1 });
  const heard = [];
  framework.on('account.cookieUpdated', () => heard.push('cookieUpdated'));
  framework.onTask('meetingDataChangeTask', (message) => heard.push(message.dataType));

  mock({ signal: 'cookieUpdated' });
  mock({ message: { msgType: 'getMeetingStatus' } });
  await until(() => heard.length === 2, 'an event and a message');
  assert.deepEqual(heard.sort(), ['cookieUpdated', 'getMeetingStatus']);

  const { scripts } = mock({
    accounts: [{ userid: '7', nickname: 'Eve', is_login: true }],
    currentUserId: '7',
    script: { logout: [{ refuse: true }, { skip: 1, reply: { result: 'fail', msg: 'second' } }] },
  });
  assert.deepEqual(scripts, { logout: 3 });
  const logout = async () => (await framework.call('account.logout', {}, { raw: true })).msg;
  assert.deepEqual(
    [await logout(), await logout(), await logout(), await logout()],
    ['refused', 'success', 'second', 'not signed in'],
  );
  assert.equal(mock().users[0].ssid, 'ssid-10001');

  mock({ script: { logout: { hold: true, refuse: true } } });
  const first = logout();
  const second = logout().then((msg) => [msg, mock().held.length]);
  await until(() => mock().held.length === 2, 'two held answers');
  mock({ releaseNth: 1 });
  assert.deepEqual(await second, ['refused', 1]);
  mock({ release: true });
  assert.equal(await first, 'refused');

  await framework.close();
  assert.deepEqual(mock({ reset: true }).scripts, {});
});

test('what the mock cannot do is refused in words', async (t) => {
  const framework = await started(t);
  const circular = {};
  circular.self = circular;
  const rows = [
    [{ scripts: {} }, /command has no key scripts; did you mean script\?/],
    [{ script: 'x' }, /command.script must be an object, not "x"/],
    [{ script: { logut: {} } }, /command.script has no key logut; did you mean logout\?/],
    [{ script: { logout: [{ odd: 1 }] } }, /command.script.logout\[0\] has no key odd$/],
    [{ script: { logout: { times: -1 } } }, /command.script.logout.times must be 0 or more/],
    [{ script: { logout: { times: 0.5 } } }, /times must be a whole number/],
    [{ signal: 'account.cookieUpdated' }, /did you mean cookieUpdated\?/],
    [{ message: { msgType: 'none' } }, /command.message.msgType is none; it must be one of enterM/],
    [{ message: {} }, /command.message.msgType is required/],
    [{ office: 7 }, /command.office must be an object, not 7/],
  ];
  for (const [command, message] of rows) {
    assert.throws(() => mock(command), failure('ZEF_MOCK_REFUSED', { message }));
  }
  for (const command of [{ releaseNth: 0 }, { reset: true }]) {
    // Nothing is held, and it runs.
    assert.throws(() => mock(command), failure('ZEF_MOCK_REFUSED'));
  }
  for (const command of [null, 'x', [], new Map(), { a: 1n }, circular, { toJSON() {} }]) {
    assert.throws(() => mock(command), failure('ZEF_BAD_ARGUMENT', { message: /^mock: / }));
  }
  assert.ok(await framework.call('account.getAccountListInfo')); // nothing of it was done
});

test('the mock takes every key that its description names', async (t) => {
  await started(t);
  const description = require('../../interface/mock.json');
  for (const operation of description.MockOperation.enum) mock({ script: { [operation]: {} } });
  const values = { boolean: false, integer: 0, string: 'caller', array: [], object: {} };
  const sample = (field) => field.enum?.[0] ?? values[field.type] ?? {};
  for (const [key, field] of Object.entries(description.MockScript.properties)) {
    mock({ script: { logout: [{ [key]: sample(field) }] } });
  }
  const { message, collect, signal, releaseNth, ...state } = {
    ...description.MockKnowledge.properties,
    ...description.MockCommand.properties,
  };
  const command = Object.entries(state).map(([key, field]) => [key, sample(field)]);
  assert.deepEqual(mock(Object.fromEntries(command)).accounts, []);
});

test('the doctor examines from within a process, whatever runs there', async () => {
  const [whole, lacking, wrong] = [await doctor({ mock: true }), await doctor(), await doctor(7)];
  assert.match(whole.text, /^round trip +with the mock: started, answered, stopped in \d+ ms$/m);
  assert.deepEqual([whole.ok, whole.findings], [true, []]);
  assert.match(lacking.text, /^ZEF_ACCOUNT_LIBRARY_MISSING: /m);
  assert.deepEqual([lacking.ok, lacking.roundTrip], [false, undefined]);
  assert.deepEqual([wrong.ok, wrong.findings[0].code], [false, 'ZEF_BAD_ARGUMENT']);
  const running = await new ElectronFramework({ mock: true }).init(settings({ accounts: [] }));
  assert.ok((await doctor({ mock: true })).ok);
  await running.close();
});
