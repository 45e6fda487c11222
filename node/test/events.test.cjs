'use strict';

const assert = require('node:assert/strict');
const { on, once } = require('node:events');
const { test } = require('node:test');
const { ElectronFramework } = require('../index.cjs');
const { events } = require('../lib/methods.cjs');
const { standin, settings, started, until, failure, isEmulated } = require('./support.cjs');

const event = 'account.userInfoChanged';
const signalOf = (name) => name.split('.')[1];

test('every event reaches its listeners and no others', async (t) => {
  const framework = await started(t);
  for (const name of events) {
    const heard = [];
    const subscriptions = [...events].map((each) =>
      framework.subscribe(each, (...values) => heard.push([each, ...values])),
    );
    standin.raise(signalOf(name), 1, 0);
    await until(() => heard.some(([each]) => each === name), name);
    // The first event of a start may still be on its way.
    assert.deepEqual(
      heard.filter(([each]) => each !== 'account.initFinished' || each === name).slice(0, 1),
      [[name]],
    );
    for (const subscription of subscriptions) subscription.dispose();
  }
});

test('whoever listens before the start hears the first event', async (t) => {
  const framework = new ElectronFramework({ mock: true });
  t.after(() => framework.close());
  const signal = AbortSignal.timeout(60000);
  const heard = once(framework.ref(), 'account.initFinished', { signal });
  await framework.init(settings({ initFinishedAfterMs: isEmulated ? 2000 : 50 }));
  assert.deepEqual(await heard, []);
});

test('a burst of events leaves room for the rest of the program', async (t) => {
  const framework = await started(t);
  const count = 2000;
  let heard = 0;
  framework.on(event, () => {
    heard += 1;
  });
  standin.raise('userInfoChanged', count, 0);
  const start = Date.now();
  while (Date.now() < start + (isEmulated ? 5000 : 200)); // all of them arrive meanwhile
  let most = 0;
  while (heard < count) {
    const before = heard;
    await new Promise(setImmediate);
    most = Math.max(most, heard - before);
  }
  assert.ok(most < count / 4, `${most} in one turn of the event loop`);
});

test('off, once, signals and disposal end a subscription', async (t) => {
  const framework = await started(t);
  const counts = {};
  const count = (name) => () => {
    counts[name] = (counts[name] ?? 0) + 1;
  };
  const controller = new AbortController();
  const removed = count('removed');
  framework.on(event, removed);
  framework.once(event, count('once'));
  framework.on(event, count('signal'), { signal: controller.signal });
  const subscription = framework.subscribe(event, count('disposed'));
  framework.subscribe(event, count('never'), { signal: AbortSignal.abort() });
  framework.on(event, count('always'));
  standin.raise('userInfoChanged', 2, 0);
  await until(() => counts.always === 2, 'two events');
  framework.off(event, removed);
  controller.abort();
  subscription.dispose();
  subscription.dispose();
  standin.raise('userInfoChanged', 1, 0);
  await until(() => counts.always === 3, 'a third event');
  assert.deepEqual(counts, { removed: 2, once: 1, signal: 2, disposed: 2, always: 3 });
});

test('events can be iterated over and end with their signal', async (t) => {
  const framework = await started(t);
  const controller = new AbortController();
  const iterator = on(framework.ref(), 'account.cookieUpdated', { signal: controller.signal });
  standin.raise('cookieUpdated', 3, 0);
  let seen = 0;
  await assert.rejects(
    async () => {
      for await (const values of iterator) {
        assert.deepEqual(values, []);
        seen += 1;
        if (seen === 3) controller.abort();
      }
    },
    { name: 'AbortError' },
  );
  assert.equal(seen, 3);
  assert.equal(framework.listenerCount('account.cookieUpdated'), 0);
});

test('subscriptions outlive close and init', async (t) => {
  const framework = await started(t);
  let heard = 0;
  framework.on(event, () => {
    heard += 1;
  });
  await framework.close();
  await framework.init(settings());
  standin.raise('userInfoChanged', 1, 0);
  await until(() => heard === 1, 'an event of the second run');
});

test('unknown events are refused', async (t) => {
  const framework = await started(t);
  for (const name of ['userInfoChanged', 'account.nothing', '', Symbol('x'), undefined]) {
    assert.throws(() => framework.on(name, () => {}), failure('ZEF_UNKNOWN_EVENT'));
    assert.throws(() => framework.once(name, () => {}), failure('ZEF_UNKNOWN_EVENT'));
  }
});

test('meeting messages and collected records reach their tasks', async (t) => {
  const framework = await started(t, {
    office: { meeting: { meetingUrl: 'https://m.example.com/1', accessCode: '' } },
  });
  const messages = [];
  const records = [];
  const task = framework.onTask('meetingDataChangeTask', (message) => messages.push(message));
  framework.onTask('accountInfoCollectTask', (record) => records.push(record));
  await until(() => messages.length === 1, 'the meeting that is on');
  standin.sendMessage('{"msgType":"closeMeetingApp","logoutAccount":true}');
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  standin.collect('{"kind":"login","n":1}');
  await until(() => messages.length === 3 && records.length === 1, 'the messages');
  assert.deepEqual(messages, [
    {
      dataType: 'enterMeeting',
      data: { meetingUrl: 'https://m.example.com/1', accessCode: '' },
    },
    { dataType: 'closeMeetingApp', data: { logoutAccount: true } },
    { dataType: 'getMeetingStatus' },
  ]);
  assert.deepEqual(records, [{ kind: 'login', n: 1 }]);

  // A second listener shares the one registration; a disposed one hears nothing more.
  const others = [];
  framework.onTask('meetingDataChangeTask', (message) => others.push(message));
  task.dispose();
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await until(() => others.length === 1, 'a message for the second listener');
  assert.equal(messages.length, 3);
});

test('a refused task and an unknown one throw', async (t) => {
  const framework = await started(t);
  standin.script('registerCollectCallback', '{"refuse":true}');
  t.after(() => standin.script('registerCollectCallback', '{}'));
  assert.throws(
    () => framework.onTask('accountInfoCollectTask', () => {}),
    failure('ZEF_TASK_REFUSED'),
  );
  assert.throws(() => framework.onTask('noTask', () => {}), failure('ZEF_UNKNOWN_TASK'));
  assert.throws(() => framework.onTask('meetingDataChangeTask'), failure('ZEF_BAD_ARGUMENT'));
  standin.script('registerCollectCallback', '{}');
  framework.onTask('accountInfoCollectTask', () => {}).dispose();
});
