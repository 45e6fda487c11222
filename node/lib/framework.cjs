'use strict';

const { AsyncResource } = require('node:async_hooks');
const { calls, starts, heardEvents, heardTasks } = require('./channels.cjs');
const { FrameworkEmitter } = require('./emitter.cjs');
const { FrameworkError, callerOf, calledFrom } = require('./errors.cjs');
const { run, startLimits, whenAborted } = require('./limits.cjs');
const { events, taskTypes } = require('./methods.cjs');
const { didYouMean, shown } = require('./names.cjs');
const { native } = require('./native.cjs');
const { checkedOptions, checkListener } = require('./options.cjs');
const { readReply } = require('./replies.cjs');
const { callRequest, startRequest } = require('./requests.cjs');
const { Session, notRunning, warnOfDropped } = require('./session.cjs');
const { checkLibraries, librariesOf, startFailure, taskRefused } = require('./start.cjs');
const { Subscription } = require('./subscription.cjs');
const { MessageLoop } = require('./tasks.cjs');
const { Turns } = require('./turns.cjs');

class ElectronFramework extends FrameworkEmitter {
  #options;
  #turns = new Turns(); // starts and stops
  #session; // from the beginning of a start to the end of the stop
  #isRunning = false;
  #settings; // as text, of the session
  #listening = new Map(); // event or task type -> id, for what the session listens to
  #taskListeners = new Map(); // task type -> set of functions that take a text
  #loops = new Set();
  #isReferenced = false;

  constructor(options) {
    super((event) => this.#followListeners(event));
    this.#options = checkedOptions('new ElectronFramework', 'framework', options);
  }

  get running() {
    return this.#isRunning;
  }

  init(settings, options) {
    if (!ElectronFramework.#isOne(this)) return Promise.reject(detached('init'));
    const caller = callerOf(init);
    const request = startRequest(settings, options, this.#options);
    if (!starts.isWatched) return this.#begin(caller, request);
    const context = { id: newIdIfPossible(), settings: request.text };
    return starts.async(context, () => this.#begin(caller, request, context));
  }

  /** A start that was aborted before its turn is skipped; one aborted later is stopped again. */
  #begin(caller, request, context) {
    return new Promise((resolve, reject) => {
      let isGivenUp = false;
      const fail = (thrown) => {
        isGivenUp = true;
        reject(calledFrom(caller, FrameworkError.from(thrown)));
      };
      const start = async () => {
        if (isGivenUp) return;
        const isRunning = this.#isRunning;
        if (!isRunning) await this.#start(request, context);
        else if (!request.join && request.text !== this.#settings)
          throw startFailure('settings', {});
        if (isGivenUp && !isRunning) await this.#stopSession();
      };
      try {
        if (request.error) throw request.error;
        const release = startLimits('init', request, fail);
        const started = this.#turns.take(start);
        started.then(() => resolve(this), fail).then(release);
      } catch (thrown) {
        fail(thrown);
      }
    });
  }

  async #start({ text, join = false }, context) {
    const libraries = librariesOf(this.#options);
    checkLibraries(libraries);
    const session = new Session();
    if (context) Reflect.set(context, 'instance', session.id);
    this.#session = session;
    this.#settings = text;
    try {
      const outcome = await session.start(
        libraries,
        text,
        join,
        this.#early(events, (event) => this.#receiveEvent(event)),
        this.#early(taskTypes, (type) => this.#receiveTask(type)),
      );
      if (context) Reflect.set(context, 'reply', outcome);
      const failure = startFailure(outcome, libraries);
      if (failure) throw failure;
      // Listeners that were added during the start.
      for (const type of this.#heard(taskTypes)) this.#subscribeTask(type);
      this.#isRunning = true;
      for (const event of events) this.#followListeners(event);
      if (this.#isReferenced) session.hold();
    } catch (error) {
      await this.#stopSession();
      throw FrameworkError.from(error);
    }
  }

  /** @returns [name, receiver id] for each of the names that has listeners. */
  #early(names, receive) {
    return this.#heard(names).map((name) => {
      const id = receive(name);
      this.#listening.set(name, id);
      return [name, id];
    });
  }

  /** The names that have listeners. */
  #heard(names) {
    return [...names].filter(
      (name) => this.listenerCount(name) > 0 || this.#taskListeners.get(name)?.size > 0,
    );
  }

  close() {
    if (!ElectronFramework.#isOne(this)) return Promise.reject(detached('close'));
    this.unref();
    return this.#turns.take(() => this.#stop());
  }

  async #stop() {
    for (const loop of this.#loops) loop.end();
    if (this.#session) await this.#stopSession();
  }

  async #stopSession() {
    this.#isRunning = false;
    try {
      await this.#session.stop();
    } catch (error) {
      process.emitWarning(FrameworkError.from(error));
    }
    this.#session = undefined;
    this.#listening.clear();
  }

  call(method, params, options) {
    if (!ElectronFramework.#isOne(this)) return Promise.reject(detached('call'));
    const caller = callerOf(call);
    const request = callRequest('call', method, params, options, this.#options);
    if (!calls.isWatched) return this.#ask(caller, request);
    const context = this.#contextOf('async', request);
    return calls.async(context, () => this.#ask(caller, request, context));
  }

  #contextOf(mode, request) {
    request.id = newIdIfPossible();
    const { id, method, text, signal, timeout } = request;
    return { id, instance: this.#session?.id, method, mode, params: text, signal, timeout };
  }

  #ask(caller, request, context) {
    return new Promise((resolve, reject) => {
      const settle = (reply, error) => {
        try {
          if (error) throw error;
          resolve(readReply(request, reply));
        } catch (thrown) {
          reject(calledFrom(caller, FrameworkError.from(thrown)));
        }
        if (context && reply !== undefined) Reflect.set(context, 'reply', reply);
      };
      if (request.error) settle(undefined, request.error);
      else if (!this.#isRunning) settle(undefined, notRunning(request.method));
      else this.#session.ask(request, settle);
    });
  }

  callSync(method, params, options) {
    if (!ElectronFramework.#isOne(this)) throw detached('callSync');
    const request = callRequest('callSync', method, params, options, this.#options);
    if (!calls.isWatched) return this.#askNow(request);
    const context = this.#contextOf('sync', request);
    return calls.sync(context, () => this.#askNow(request, context));
  }

  #askNow(request, context) {
    try {
      if (request.error) throw request.error;
      const reply = this.#isRunning ? native().call(request.method, request.text) : undefined;
      if (reply === undefined) throw notRunning(request.method);
      if (context) Reflect.set(context, 'reply', reply);
      return readReply(request, reply);
    } catch (thrown) {
      throw calledFrom(callerOf(callSync), FrameworkError.from(thrown));
    }
  }

  /** Subscribes to the library's event only while this object has listeners for it. */
  #followListeners(event) {
    if (!this.#isRunning || !events.has(event)) return;
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
    const where = `onTask ${shown(type)}`;
    checkTask(type);
    checkListener(where, listener);
    const { signal } = checkedOptions(where, 'listener', options);
    const own = AsyncResource.bind((text) => listener(JSON.parse(text)));
    return this.#listenToTask(type, signal, own);
  }

  /** @param own receives the texts of messages; each registration has its own function. */
  #listenToTask(type, signal, own, ended) {
    const listeners = this.#taskListeners.get(type) ?? new Set();
    this.#taskListeners.set(type, listeners);
    let release;
    const subscription = new Subscription(() => {
      listeners.delete(own);
      release?.();
      ended?.();
    });
    if (signal?.aborted) return subscription;
    if (this.#isRunning) this.#subscribeTask(type);
    release = signal && whenAborted(signal, subscription.dispose);
    listeners.add(own);
    return subscription;
  }

  /** Once per session, and never undone: an unused subscription costs almost nothing. */
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
      if (text === null) return warnOfDropped(1); // longer than JavaScript's longest text
      if (heardTasks.hasSubscribers) heardTasks.publish({ instance: session.id, type, text });
      for (const listener of [...this.#taskListeners.get(type)]) run(listener, text);
    });
  }

  /** The messages of a task type, for `for await`. */
  tasks(type, options) {
    checkTask(type);
    const { signal } = checkedOptions(`tasks ${type}`, 'listener', options);
    const loop = new MessageLoop(() => {
      this.#loops.delete(loop);
      subscription.dispose();
    });
    const add = (text) => loop.add(text);
    const subscription = this.#listenToTask(type, signal, add, () => loop.end());
    this.#loops.add(loop);
    if (signal?.aborted) loop.end();
    return loop;
  }

  /** Keeps the process running for events and task messages, until unref() or close(). */
  ref() {
    if (!this.#isReferenced && this.#isRunning) this.#session.hold();
    this.#isReferenced = true;
    return this;
  }

  unref() {
    if (this.#isReferenced && this.#isRunning) this.#session.letGo();
    this.#isReferenced = false;
    return this;
  }

  static #isOne(value) {
    return typeof value === 'object' && value !== null && #session in value;
  }
}

const { init, call, callSync } = ElectronFramework.prototype;

if (Symbol.asyncDispose) {
  Object.defineProperty(ElectronFramework.prototype, Symbol.asyncDispose, {
    value() {
      return this.close();
    },
  });
}

function newIdIfPossible() {
  try {
    return native().newId();
  } catch {
    return undefined; // init() reports why the addon cannot be loaded
  }
}

function checkTask(type) {
  if (taskTypes.has(type)) return;
  const message = `there is no task type ${shown(type)}${didYouMean(type, taskTypes)}`;
  throw new FrameworkError('ZEF_UNKNOWN_TASK', message);
}

/** The error when `this` is not a framework: a method was called without its object. */
function detached(operation) {
  const message = `${operation}() was called without its framework: write framework.${operation}(...)`;
  return new FrameworkError('ZEF_BAD_ARGUMENT', message);
}

module.exports = { ElectronFramework };
