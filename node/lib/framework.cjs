'use strict';

const { EventEmitter } = require('node:events');
const { calls, starts, heardEvents, heardTasks } = require('./channels.cjs');
const { FrameworkError } = require('./errors.cjs');
const { methods, events, taskTypes } = require('./methods.cjs');
const { native, newId, receive, stopReceiving, hold, letGo } = require('./native.cjs');
const { checkMethodName, paramsText, readReply } = require('./replies.cjs');
const { librariesOf, settingsText, startFailure } = require('./start.cjs');
const { Subscription, onAbort } = require('./subscription.cjs');

/** Events that every emitter has; they come from the emitter itself. */
const emitterEvents = new Set(['error', 'newListener', 'removeListener']);

class ElectronFramework extends EventEmitter {
  #options;
  #state = 'closed'; // 'starting', 'running', 'closing'
  #session; // while starting or running: the id under which the addon knows this object
  #starting;
  #closing;
  #openCalls = Object.create(null); // id -> function that ends the call with an error; as receivers
  #listening = new Map(); // event -> id, for what the addon listens to
  #tasks = new Set(); // subscriptions
  #isReferenced = false;

  constructor(options = {}) {
    super();
    this.#options = { ...options };
  }

  get running() {
    return this.#state === 'running';
  }

  init(settings) {
    if (this.#state === 'closing') return this.#closing.then(() => this.init(settings));
    if (this.#state === 'closed') {
      this.#starting = starts.isWatched
        ? starts.async(
            { id: newId(), settings: textIfPossible(() => settingsText(settings)) },
            (context) => this.#start(settings, context),
          )
        : this.#start(settings);
    }
    return this.#starting;
  }

  async #start(settings, context) {
    const text = settingsText(settings);
    const libraries = librariesOf(this.#options);
    const wanted = this.eventNames().filter((event) => events.has(event));
    for (const event of wanted) this.#listening.set(event, this.#receiveEvent(event));

    hold();
    this.#state = 'starting';
    try {
      const outcome = await new Promise((resolve) => {
        this.#session = receive(resolve);
        if (context) context.instance = this.#session;
        const list = [...this.#listening].map(([event, id]) => `${id} ${event}`);
        native().start(this.#session, libraries.library, libraries.preloaded, text, list);
      });
      if (context) context.reply = outcome;
      const failure = startFailure(outcome, libraries);
      if (failure) throw failure;
    } catch (error) {
      native().stop(this.#session, 0);
      this.#forgetSession();
      this.#state = 'closed';
      throw error;
    } finally {
      letGo();
    }
    this.#state = 'running';
    for (const event of events) this.#followListeners(event);
    if (this.#isReferenced) hold();
    return this;
  }

  close() {
    if (this.#state === 'starting') {
      return this.#starting.then(
        () => this.close(),
        () => {},
      );
    }
    if (this.#state === 'running') this.#closing = this.#stop();
    return this.#closing ?? Promise.resolve();
  }

  async #stop() {
    this.#state = 'closing';
    if (this.#isReferenced) letGo();
    for (const [id, end] of Object.entries(this.#openCalls)) {
      end(id, new FrameworkError('ZEF_CLOSED', 'the framework was closed before the answer came'));
    }
    for (const task of [...this.#tasks]) task.dispose();

    hold();
    try {
      const session = this.#session;
      await new Promise((resolve) => {
        const done = receive(() => {
          stopReceiving(done);
          resolve();
        });
        if (!native().stop(session, done)) resolve();
      });
    } finally {
      letGo();
      this.#forgetSession();
      this.#state = 'closed';
    }
  }

  #forgetSession() {
    stopReceiving(this.#session);
    this.#session = undefined;
    for (const id of this.#listening.values()) stopReceiving(id);
    this.#listening.clear();
  }

  call(method, params, options = {}) {
    if (!calls.isWatched) return this.#ask(method, params, options);
    const context = this.#contextOf('async', method, params, options);
    return calls.async(context, () => this.#ask(method, params, options, context));
  }

  #contextOf(mode, method, params, options) {
    const { signal, timeout } = options ?? {};
    const text = textIfPossible(() => paramsText(method, params));
    return { id: newId(), instance: this.#session, method, mode, params: text, signal, timeout };
  }

  #ask(method, params, options, context) {
    return new Promise((resolve, reject) => {
      checkMethodName(method);
      this.#mustRun(method);
      const { signal, timeout, raw = false } = options;
      const text = context?.params ?? paramsText(method, params);
      if (signal?.aborted) throw aborted(method, signal);

      let timer;
      const finish = (id) => {
        stopReceiving(id);
        delete this.#openCalls[id];
        clearTimeout(timer);
        signal?.removeEventListener('abort', abort);
        letGo();
      };
      const end = (id, error) => {
        finish(id);
        reject(error);
      };
      const id = receive((reply) => {
        finish(id);
        if (context) context.reply = reply;
        try {
          resolve(readReply(method, reply, raw));
        } catch (error) {
          reject(error);
        }
      }, context?.id);
      const abort = () => end(id, aborted(method, signal));

      hold();
      this.#openCalls[id] = end;
      // A method that is not listed may belong to a newer library, whose habits are not known.
      const isKept = methods.get(method)?.isKept ?? true;
      if (!native().asynCall(id, method, text, isKept)) {
        end(id, notRunning(method));
        return;
      }
      signal?.addEventListener('abort', abort, { once: true });
      if (timeout !== undefined) {
        timer = setTimeout(() => end(id, timedOut(method, timeout)), timeout);
      }
    });
  }

  callSync(method, params, options) {
    if (!calls.isWatched) return this.#askNow(method, params, options);
    const context = this.#contextOf('sync', method, params, options);
    return calls.sync(context, () => this.#askNow(method, params, options, context));
  }

  #askNow(method, params, options, context) {
    if (methods.get(method)?.isSync !== true) throw notSynchronous(method);
    this.#mustRun(method);
    const reply = native().call(method, context?.params ?? paramsText(method, params));
    if (reply === undefined) throw notRunning(method);
    if (context) context.reply = reply;
    return readReply(method, reply, options?.raw === true);
  }

  #mustRun(method) {
    if (this.#state !== 'running') throw notRunning(method);
  }

  on(event, listener, { signal } = {}) {
    checkEvent(event);
    if (signal?.aborted) return this;
    super.on(event, listener);
    onAbort(signal, () => this.off(event, listener));
    this.#followListeners(event);
    return this;
  }

  once(event, listener, { signal } = {}) {
    checkEvent(event);
    if (signal?.aborted) return this;
    super.once(event, listener); // through on()
    onAbort(signal, () => this.off(event, listener));
    return this;
  }

  addListener(event, listener, options) {
    return this.on(event, listener, options);
  }

  prependListener(event, listener) {
    checkEvent(event);
    super.prependListener(event, listener);
    this.#followListeners(event);
    return this;
  }

  off(event, listener) {
    super.removeListener(event, listener);
    this.#followListeners(event);
    return this;
  }

  removeListener(event, listener) {
    return this.off(event, listener);
  }

  removeAllListeners(...names) {
    super.removeAllListeners(...names);
    for (const event of events) this.#followListeners(event);
    return this;
  }

  subscribe(event, listener, { signal } = {}) {
    const own = (...values) => listener(...values); // the same listener may subscribe again
    this.on(event, own);
    const subscription = new Subscription(() => this.off(event, own));
    subscription.endWith(signal);
    return subscription;
  }

  /** Listens at the library exactly while somebody listens here. */
  #followListeners(event) {
    if (!events.has(event) || !this.running) return;
    const id = this.#listening.get(event);
    if (this.listenerCount(event) > 0) {
      if (id !== undefined) return;
      const added = this.#receiveEvent(event);
      this.#listening.set(event, added);
      native().listen(this.#session, added, event);
    } else if (id !== undefined) {
      this.#listening.delete(event);
      stopReceiving(id);
      native().unlisten(this.#session, id);
    }
  }

  #receiveEvent(event) {
    return receive(() => {
      if (heardEvents.hasSubscribers) heardEvents.publish({ instance: this.#session, name: event });
      this.emit(event);
    });
  }

  onTask(type, listener, { signal } = {}) {
    if (!taskTypes.has(type)) {
      throw new FrameworkError('ZEF_UNKNOWN_TASK', `there is no task type ${String(type)}`);
    }
    if (typeof listener !== 'function') {
      throw new FrameworkError('ZEF_BAD_ARGUMENT', 'onTask: a function is needed as listener');
    }
    this.#mustRun(`onTask ${type}`);
    const session = this.#session;
    const id = receive((text) => {
      if (heardTasks.hasSubscribers) heardTasks.publish({ instance: session, type, text });
      listener(JSON.parse(text));
    });
    const subscription = new Subscription(() => {
      stopReceiving(id);
      this.#tasks.delete(subscription);
      if (this.#session === session) native().unsubscribeTask(session, id);
    });
    if (!native().subscribeTask(session, id, type)) {
      stopReceiving(id);
      throw new FrameworkError('ZEF_TASK_REFUSED', `the account library refused ${type}`);
    }
    this.#tasks.add(subscription);
    subscription.endWith(signal);
    return subscription;
  }

  /** Keeps the process running for events and task messages, until unref() or close(). */
  ref() {
    if (!this.#isReferenced && this.running) hold();
    this.#isReferenced = true;
    return this;
  }

  unref() {
    if (this.#isReferenced && this.running) letGo();
    this.#isReferenced = false;
    return this;
  }
}

if (Symbol.asyncDispose) {
  Object.defineProperty(ElectronFramework.prototype, Symbol.asyncDispose, {
    value() {
      return this.close();
    },
  });
}

function checkEvent(event) {
  if (!events.has(event) && !emitterEvents.has(event)) {
    throw new FrameworkError('ZEF_UNKNOWN_EVENT', `there is no event ${String(event)}`);
  }
}

function textIfPossible(make) {
  try {
    return make();
  } catch {
    return undefined; // refused in a moment
  }
}

function notSynchronous(method) {
  checkMethodName(method);
  return new FrameworkError(
    methods.has(method) ? 'ZEF_NOT_THREAD_SAFE' : 'ZEF_UNKNOWN_METHOD',
    `${method} cannot be called synchronously`,
    { method, remedy: 'use call()' },
  );
}

function notRunning(method) {
  return new FrameworkError('ZEF_NOT_RUNNING', `${method}: the framework is not running`, {
    method,
    remedy: 'await init() first',
  });
}

function timedOut(method, timeout) {
  return new FrameworkError('ZEF_TIMEOUT', `${method}: no answer within ${timeout} ms`, { method });
}

function aborted(method, signal) {
  return new FrameworkError('ZEF_ABORTED', `${method}: aborted`, { method, cause: signal.reason });
}

module.exports = { ElectronFramework };
