'use strict';

const { on, EventEmitter } = require('node:events');
const { calls, starts, heardEvents, heardTasks } = require('./channels.cjs');
const { FrameworkEmitter } = require('./emitter.cjs');
const { FrameworkError, callerOf, calledFrom } = require('./errors.cjs');
const { methods, events, taskTypes } = require('./methods.cjs');
const { native } = require('./native.cjs');
const { checkedOptions, checkListener, startTimer } = require('./options.cjs');
const { checkMethodName, paramsText, readReply } = require('./replies.cjs');
const { Session, run, asFrameworkError } = require('./session.cjs');
const { librariesOf, settingsText, startFailure, taskRefused } = require('./start.cjs');
const { Subscription } = require('./subscription.cjs');

class ElectronFramework extends FrameworkEmitter {
  #options;
  #state = 'closed'; // 'starting', 'running', 'closing'
  #session; // unless closed
  #settings; // as text, of the session
  #starting;
  #closing;
  #openCalls = Object.create(null); // id -> function that ends the call because of close()
  #listening = new Map(); // event or task type -> id, for what the session listens to
  #taskListeners = new Map(); // task type -> set of functions
  #isReferenced = false;

  constructor(options) {
    super((event) => this.#followListeners(event));
    this.#options = { ...checkedOptions('new ElectronFramework', 'framework', options) };
  }

  get running() {
    return this.#state === 'running';
  }

  init(settings, options) {
    if (this.#state === 'closing') return this.#closing.then(() => this.init(settings, options));
    if (!starts.isWatched) return this.#begin(settings, options);
    const text = ifPossible(() => settingsText(settings));
    const context = { id: ifPossible(() => native().newId()), settings: text };
    return starts.async(context, () => this.#begin(settings, options, context));
  }

  async #begin(settings, options, context) {
    const { join = false } = checkedOptions('init', 'init', options);
    if (this.#state === 'closed') {
      this.#starting = this.#start(settingsText(settings), join, context);
    } else if (!join && settingsText(settings) !== this.#settings) {
      throw startFailure('settings', {});
    }
    return this.#starting;
  }

  async #start(settings, isJoining, context) {
    const libraries = librariesOf(this.#options);
    const session = new Session();
    if (context) context.instance = session.id;
    this.#session = session;
    this.#settings = settings;
    this.#state = 'starting';
    try {
      const early = (names, receive) =>
        names.map((name) => {
          const id = receive(name);
          this.#listening.set(name, id);
          return [name, id];
        });
      const outcome = await session.start(
        libraries,
        settings,
        isJoining,
        early(this.#heard(events), (event) => this.#receiveEvent(event)),
        early(this.#heard(taskTypes), (type) => this.#receiveTask(type)),
      );
      if (context) context.reply = outcome;
      const failure = startFailure(outcome, libraries);
      if (failure) throw failure;
      // Whoever came meanwhile.
      for (const type of this.#heard(taskTypes)) this.#subscribeTask(type);
      this.#state = 'running';
      for (const event of events) this.#followListeners(event);
    } catch (error) {
      await session.stop();
      this.#forgetSession();
      throw asFrameworkError(error);
    }
    if (this.#isReferenced) session.hold();
    return this;
  }

  /** Those of the names that somebody listens to. */
  #heard(names) {
    return [...names].filter(
      (name) => this.listenerCount(name) > 0 || this.#taskListeners.get(name)?.size > 0,
    );
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
    for (const end of Object.values(this.#openCalls)) end();
    await this.#session.stop();
    this.#forgetSession();
  }

  #forgetSession() {
    this.#session = undefined;
    this.#listening.clear();
    this.#state = 'closed';
  }

  call(method, params, options) {
    const caller = callerOf(this.call);
    if (!calls.isWatched) return this.#ask(caller, method, params, options);
    const context = this.#contextOf('async', method, params, options);
    return calls.async(context, () => this.#ask(caller, method, params, options, context));
  }

  #contextOf(mode, method, params, options) {
    const { signal, timeout } = options ?? {};
    const text = ifPossible(() => paramsText(method, params));
    const id = ifPossible(() => native().newId());
    return { id, instance: this.#session?.id, method, mode, params: text, signal, timeout };
  }

  #ask(caller, method, params, options, context) {
    return new Promise((resolve, reject) => {
      const fail = (error) => reject(calledFrom(caller, asFrameworkError(error)));
      try {
        this.#send(method, params, options, context, resolve, fail);
      } catch (error) {
        fail(error);
      }
    });
  }

  #send(method, params, options, context, resolve, fail) {
    checkMethodName(method);
    const given = checkedOptions(method, 'call', options);
    const { signal, timeout = this.#options.timeout, raw } = given;
    this.#mustRun(method);
    const text = context?.params ?? paramsText(method, params);
    if (signal?.aborted) throw aborted(method, signal);

    const session = this.#session;
    const id = context?.id ?? native().newId();
    if (!native().asynCall(session.id, id, method, text)) throw notRunning(method);
    const finish = () => {
      session.forget(id);
      delete this.#openCalls[id];
      clearTimeout(timer);
      signal?.removeEventListener('abort', abort);
      session.letGo();
    };
    const end = (error) => {
      finish();
      fail(error);
    };
    const abort = () => end(aborted(method, signal));
    const receiver = (reply) => {
      finish();
      if (context) context.reply = reply;
      try {
        resolve(readReply(method, reply, raw));
      } catch (error) {
        fail(error);
      }
    };
    session.receive(receiver, id);
    session.hold();
    this.#openCalls[id] = () => end(closed(method));
    signal?.addEventListener('abort', abort, { once: true });
    const timer = startTimer(timeout, () => end(timedOut(method, timeout)));
  }

  callSync(method, params, options) {
    if (!calls.isWatched) return this.#askNow(method, params, options);
    const context = this.#contextOf('sync', method, params, options);
    return calls.sync(context, () => this.#askNow(method, params, options, context));
  }

  #askNow(method, params, options, context) {
    if (methods.get(method)?.isSync !== true) throw notSynchronous(method);
    const { raw } = checkedOptions(method, 'callSync', options);
    this.#mustRun(method);
    const text = context?.params ?? paramsText(method, params);
    const reply = callNow(method, text);
    if (reply === undefined) throw notRunning(method);
    if (context) context.reply = reply;
    return readReply(method, reply, raw);
  }

  #mustRun(method) {
    if (this.#state !== 'running') throw notRunning(method);
  }

  /** Listens at the library exactly while somebody listens here. */
  #followListeners(event) {
    if (!this.running || !events.has(event)) return;
    const id = this.#listening.get(event);
    if (this.listenerCount(event) > 0) {
      if (id !== undefined) return;
      const added = this.#receiveEvent(event);
      this.#listening.set(event, added);
      native().listen(this.#session.id, added, event);
    } else if (id !== undefined) {
      this.#listening.delete(event);
      this.#session.forget(id);
      native().unlisten(this.#session.id, id);
    }
  }

  #receiveEvent(event) {
    const session = this.#session;
    return session.receive((count) => {
      if (heardEvents.hasSubscribers) {
        heardEvents.publish({ instance: session.id, name: event, count });
      }
      this.emit(event);
    });
  }

  onTask(type, listener, options) {
    const where = `onTask ${String(type)}`;
    if (!taskTypes.has(type)) {
      throw new FrameworkError('ZEF_UNKNOWN_TASK', `there is no task type ${String(type)}`);
    }
    checkListener(where, listener);
    const { signal } = checkedOptions(where, 'listener', options);
    const listeners = this.#taskListeners.get(type) ?? new Set();
    this.#taskListeners.set(type, listeners);
    const own = (message) => listener(message); // the same listener may listen twice
    const begin = () => {
      if (this.running) this.#subscribeTask(type);
      listeners.add(own);
    };
    return new Subscription(() => listeners.delete(own), signal, begin);
  }

  /** Once in a session; that nobody listens any more costs next to nothing. */
  #subscribeTask(type) {
    if (this.#listening.has(type)) return;
    const id = this.#receiveTask(type);
    if (!native().subscribeTask(this.#session.id, id, type)) {
      this.#session.forget(id);
      throw taskRefused(type);
    }
    this.#listening.set(type, id);
  }

  #receiveTask(type) {
    const session = this.#session;
    return session.receive((text) => {
      if (heardTasks.hasSubscribers) heardTasks.publish({ instance: session.id, type, text });
      for (const listener of [...this.#taskListeners.get(type)]) run(listener, JSON.parse(text));
    });
  }

  /** The messages of a task type, for `for await`. */
  tasks(type, options) {
    const { signal } = checkedOptions(`tasks ${String(type)}`, 'listener', options);
    const arrivals = new EventEmitter();
    const subscription = this.onTask(type, (message) => arrivals.emit('message', message), options);
    const iterator = on(arrivals, 'message', { signal });
    return {
      async next() {
        const { value, done } = await iterator.next();
        return { value: value?.[0], done };
      },
      return() {
        subscription.dispose();
        return iterator.return();
      },
      [Symbol.asyncIterator]() {
        return this;
      },
    };
  }

  /** Keeps the process running for events and task messages, until unref() or close(). */
  ref() {
    if (!this.#isReferenced && this.running) this.#session.hold();
    this.#isReferenced = true;
    return this;
  }

  unref() {
    if (this.#isReferenced && this.running) this.#session.letGo();
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

/** \returns undefined for what is refused in a moment. */
function ifPossible(make) {
  try {
    return make();
  } catch {
    return undefined;
  }
}

function callNow(method, text) {
  try {
    return native().call(method, text);
  } catch (error) {
    throw asFrameworkError(error);
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

function closed(method) {
  const message = `${method}: the framework was closed before the answer came`;
  return new FrameworkError('ZEF_CLOSED', message, { method });
}

function aborted(method, signal) {
  return new FrameworkError('ZEF_ABORTED', `${method}: aborted`, { method, cause: signal.reason });
}

module.exports = { ElectronFramework };
