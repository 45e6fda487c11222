'use strict';

const assert = require('node:assert/strict');
const { test } = require('node:test');
const { mock } = require('../index.cjs');
const { failure, started, until } = require('./support.cjs');

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

  for (const command of [
    { releaseNth: 0 }, // nothing is held
    { reset: true }, // it runs
    { unknown: 1 },
    { script: { logout: [{ odd: 1 }] } },
    { signal: 'none' },
  ]) {
    assert.throws(() => mock(command), failure('ZEF_MOCK_REFUSED'));
  }
  await framework.close();
  assert.deepEqual(mock({ reset: true }).scripts, {});
});

test('the mock takes every key that its description names', async (t) => {
  await started(t);
  const description = require('../../interface/mock.json');
  for (const operation of description.MockOperation.enum) mock({ script: { [operation]: {} } });
  const values = { boolean: false, integer: 0, string: 'caller', array: [], object: {} };
  for (const [key, { type }] of Object.entries(description.MockScript.properties)) {
    mock({ script: { logout: [{ [key]: values[type] }] } });
  }
  const { message, collect, signal, releaseNth, ...state } = {
    ...description.MockKnowledge.properties,
    ...description.MockCommand.properties,
  };
  const command = Object.entries(state).map(([key, { type }]) => [key, values[type] ?? {}]);
  assert.deepEqual(mock(Object.fromEntries(command)).accounts, []);
});
