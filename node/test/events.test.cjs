'use strict';

const assert = require('node:assert/strict');
const { AsyncLocalStorage } = require('node:async_hooks');
const { getEventListeners, on, once } = require('node:events');
const { test } = require('node:test');
const { ElectronFramework } = require('../index.cjs');
const { events, taskTypes } = require('../lib/methods.cjs');
const { MessageLoop } = require('../lib/tasks.cjs');
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

test('a burst of messages leaves room for the rest of the program', async (t) => {
  const framework = await started(t);
  const count = 2000;
  let heard = 0;
  framework.onTask('meetingDataChangeTask', () => {
    heard += 1;
  });
  for (let i = 0; i < count; i += 1) standin.sendMessage('{"msgType":"getMeetingStatus"}');
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

test('events that nobody has taken yet are one, and so are as many messages as fit', async (t) => {
  const framework = await started(t);
  let heard = 0;
  let messages = 0;
  framework.on(event, () => {
    heard += 1;
  });
  framework.onTask('accountInfoCollectTask', () => {
    messages += 1;
  });
  const warned = once(process, 'warning');
  standin.raise('userInfoChanged', 1000, 0);
  const text = JSON.stringify({ text: 'x'.repeat(1e6) });
  for (let i = 0; i < 100; i += 1) standin.collect(text);
  const start = Date.now();
  while (Date.now() < start + (isEmulated ? 20000 : 1000)); // nothing is taken meanwhile
  const [warning] = await warned;
  assert.equal(warning.code, 'ZEF_DROPPED');
  await until(() => messages === 67, 'the messages that fit in 64 MB');
  assert.match(warning.message, /^33 task messages/);
  assert.equal(heard, 1);
});

test('off, once, signals and disposal end the one registration that they belong to', async (t) => {
  const framework = await started(t);
  const counts = {};
  const count = (name) => () => {
    counts[name] = (counts[name] ?? 0) + 1;
  };
  const controller = new AbortController();
  const { signal } = controller;
  const [removed, again] = [count('removed'), count('again')];
  framework.on(event, removed);
  framework.once(event, count('once'));
  framework.on(event, count('signal'), { signal });
  framework.once(event, count('onceSignal'), { signal });
  framework.prependListener(event, count('first'), { signal });
  framework.prependOnceListener(event, count('onceFirst'), { signal });
  framework.prependListener(event, count('never'), { signal: AbortSignal.abort() });
  const subscription = framework.subscribe(event, count('disposed'));
  framework.subscribe(event, count('never'), { signal: AbortSignal.abort() });
  framework.on(event, again, { signal });
  framework.off(event, again);
  framework.on(event, again);
  framework.on(event, count('always'));
  for (const expected of [1, 2]) {
    standin.raise('userInfoChanged', 1, 0);
    await until(() => counts.always === expected, 'an event');
  }
  framework.off(event, removed);
  controller.abort();
  subscription.dispose();
  subscription.dispose();
  standin.raise('userInfoChanged', 1, 0);
  await until(() => counts.always === 3, 'a third event');
  assert.deepEqual(counts, {
    removed: 2,
    once: 1,
    signal: 2,
    onceSignal: 1,
    first: 2,
    onceFirst: 1,
    disposed: 2,
    again: 3,
    always: 3,
  });
  const other = new AbortController().signal;
  for (const add of ['on', 'once', 'subscribe', 'prependListener', 'prependOnceListener']) {
    framework[add](event, removed, { signal: other });
    framework.off(event, removed);
  }
  framework.removeAllListeners();
  assert.deepEqual(framework.eventNames(), []);
  assert.equal(getEventListeners(other, 'abort').length, 0); // nothing holds on to it
});

test('listeners run in the asynchronous context in which they were registered', async (t) => {
  const storage = new AsyncLocalStorage();
  const framework = await storage.run('init', () => started(t));
  const heard = [];
  const note = () => heard.push(storage.getStore());
  storage.run('on', () => framework.on(event, note));
  storage.run('once', () => framework.once(event, note));
  storage.run('subscribe', () => framework.subscribe(event, note));
  storage.run('onTask', () => framework.onTask('accountInfoCollectTask', note));
  standin.raise('userInfoChanged', 1, 0);
  standin.collect('{}');
  await until(() => heard.length === 4, 'all of them');
  assert.deepEqual(heard.sort(), ['on', 'onTask', 'once', 'subscribe']);
});

test('events can be iterated over and end with their signal', async (t) => {
  const framework = await started(t);
  const controller = new AbortController();
  const iterator = on(framework.ref(), 'account.cookieUpdated', { signal: controller.signal });
  standin.raise('cookieUpdated', 1, 0);
  let seen = 0;
  await assert.rejects(
    async () => {
      for await (const values of iterator) {
        assert.deepEqual(values, []);
        seen += 1;
        if (seen === 3) controller.abort();
        else standin.raise('cookieUpdated', 1, 0);
      }
    },
    { name: 'AbortError' },
  );
  assert.equal(seen, 3);
  assert.equal(framework.listenerCount('account.cookieUpdated'), 0);
});

test('listeners may come before init and outlive close', async (t) => {
  const office = { meeting: { meetingUrl: 'https://m.example.com/1', accessCode: '' } };
  const framework = new ElectronFramework({ mock: true });
  t.after(() => framework.close());
  const heard = [];
  framework.on(event, () => heard.push('event'));
  framework.onTask('meetingDataChangeTask', ({ dataType }) => heard.push(dataType));
  for (let round = 0; round < 2; round += 1) {
    await framework.init(settings({ office }));
    await until(() => heard.length === 1, 'the meeting that is on');
    standin.raise('userInfoChanged', 1, 0);
    await until(() => heard.length === 2, 'an event');
    assert.deepEqual(heard.splice(0), ['enterMeeting', 'event']);
    await framework.close();
  }
});

test('close delivers nothing more, however much is waiting', async (t) => {
  const framework = await started(t);
  let heard = 0;
  const slow = () => {
    heard += 1;
    const end = performance.now() + 1;
    while (performance.now() < end);
  };
  for (const name of events) framework.on(name, slow);
  framework.onTask('meetingDataChangeTask', slow);
  for (const name of events) standin.raise(signalOf(name), 20000, 0);
  for (let i = 0; i < 20000; i += 1) standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await until(() => heard > 10, 'some of them');
  const start = Date.now();
  const closed = framework.close();
  const before = heard;
  await closed;
  const milliseconds = Date.now() - start;
  assert.equal(heard, before);
  t.diagnostic(`closed in ${milliseconds} ms`);
  assert.ok(milliseconds < 1000 || isEmulated, `${milliseconds} ms`);
});

test('wrong events, listeners and options are refused, and say what was meant', async (t) => {
  const framework = await started(t);
  for (const name of ['userInfoChanged', 'account.userInfoChange', '', Symbol('x'), undefined]) {
    const isNear = String(name).includes('userInfo');
    const message = isNear
      ? /; did you mean account.userInfoChanged\?$/
      : /^there is no event [^;]*$/;
    for (const add of ['on', 'once', 'subscribe', 'prependListener']) {
      const refused = failure('ZEF_UNKNOWN_EVENT', { message });
      assert.throws(() => framework[add](name, () => {}), refused);
    }
  }
  const { signal } = new AbortController();
  const options = [signal, [], new Map(), { signal: new AbortController() }, { sginal: signal }];
  const wrong = [[], ['text'], ...options.map((each) => [() => {}, each])];
  const additions = ['on', 'once', 'subscribe', 'prependListener', 'prependOnceListener', 'onTask'];
  for (const add of additions) {
    const name = add === 'onTask' ? 'meetingDataChangeTask' : event;
    for (const args of wrong) {
      assert.throws(() => framework[add](name, ...args), failure('ZEF_BAD_ARGUMENT'));
    }
  }
  assert.throws(() => framework.off(event, undefined), failure('ZEF_BAD_ARGUMENT'));
  for (const each of options) {
    const loop = () => framework.tasks('meetingDataChangeTask', each);
    assert.throws(loop, failure('ZEF_BAD_ARGUMENT'));
  }
  const message = 'there is no task type meetingDataChange; did you mean meetingDataChangeTask?';
  for (const listen of ['onTask', 'tasks']) {
    const refused = failure('ZEF_UNKNOWN_TASK', { message });
    assert.throws(() => framework[listen]('meetingDataChange', () => {}), refused);
  }
  assert.deepEqual(framework.eventNames(), []);
});

test('every task type is accepted', async (t) => {
  const framework = await started(t);
  for (const type of taskTypes) framework.onTask(type, () => {});
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

test('task messages can be iterated over, until break, a signal or close()', async (t) => {
  const framework = await started(t);
  framework.ref();
  const type = 'accountInfoCollectTask';
  const seen = [];
  const messages = framework.tasks(type);
  for (let n = 0; n < 3; n += 1) standin.collect(JSON.stringify({ n })); // none is lost meanwhile
  for await (const { n } of messages) {
    seen.push(n);
    if (n === 2) break;
  }
  assert.deepEqual(seen, [0, 1, 2]);
  const over = { value: undefined, done: true };
  const controller = new AbortController();
  const { signal } = controller;
  const loops = [framework.tasks(type, { signal }), framework.tasks(type)];
  const waiting = loops.map((loop) => [loop.next(), loop.next()]);
  controller.abort();
  assert.deepEqual(await Promise.all(waiting[0]), [over, over]);
  assert.deepEqual(await framework.tasks(type, { signal }).next(), over);
  const unread = framework.tasks(type);
  standin.collect('{"n":3}');
  const [first, second] = waiting[1];
  assert.deepEqual(await first, { value: { n: 3 }, done: false });
  await framework.close();
  assert.deepEqual(await second, over);
  assert.deepEqual(await unread.next(), over); // close() drops what was not taken
});

test('a loop that is too slow gets as many messages as fit, and a warning', async () => {
  const loop = new MessageLoop(() => {});
  const warned = once(process, 'warning');
  const text = JSON.stringify('x'.repeat(2 ** 20 - 2));
  for (let n = 0; n < 100; n += 1) loop.add(text);
  const [{ code, message }] = await warned;
  assert.deepEqual([code, message.includes('64 MB')], ['ZEF_DROPPED', true]);
  for (let n = 0; n < 64; n += 1) assert.equal((await loop.next()).value.length, 2 ** 20 - 2);
  loop.add('"after"');
  assert.deepEqual(await loop.next(), { value: 'after', done: false });
});

test('a task that the account library refuses is refused, also at init', async (t) => {
  const framework = await started(t);
  standin.script('registerCollectCallback', '{"refuse":true}');
  t.after(() => standin.script('registerCollectCallback', '{}'));
  const listen = () => framework.onTask('accountInfoCollectTask', () => {});
  assert.throws(listen, failure('ZEF_TASK_REFUSED'));
  await framework.close();
  const task = listen();
  await assert.rejects(framework.init(settings()), failure('ZEF_TASK_REFUSED'));
  task.dispose();
  await framework.init(settings());
  standin.script('registerCollectCallback', '{}');
  listen();
});
