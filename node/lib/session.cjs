'use strict';

const { setImmediate } = require('node:timers'); // not one that a test has replaced
const { lateReplies } = require('./channels.cjs');
const { FrameworkError } = require('./errors.cjs');
const { run, startLimits } = require('./limits.cjs');
const { native } = require('./native.cjs');

function warnOfDropped(count) {
  const message = `${count} task messages were dropped: more than 64 MB of them were waiting`;
  process.emitWarning(message, { code: 'ZEF_DROPPED' });
}

/** One run of a framework object: receives its deliveries from the addon, by id. */
class Session {
  #id;
  // id -> function. Not a Map: with many short-lived entries its outgrown tables keep each other
  // alive, and garbage collections that take less than a millisecond take ten or more.
  #receivers = Object.create(null);
  #calls = Object.create(null); // id -> function that settles the call
  #holders = 0;
  #isSilent = false;
  #isOpen = true;

  constructor() {
    this.#id = native().open(this.#collect);
  }

  get id() {
    return this.#id;
  }

  /** @returns the id under which the addon delivers to `receiver`. */
  receive(receiver, id = native().newId()) {
    this.#receivers[id] = receiver;
    return id;
  }

  forget(id) {
    delete this.#receivers[id];
  }

  /** Keeps the event loop running until letGo() was called as often. */
  hold() {
    if (this.#holders === 0 && this.#isOpen) native().keepAlive(this.#id, true);
    this.#holders += 1;
  }

  letGo() {
    this.#holders -= 1;
    if (this.#holders === 0 && this.#isOpen) native().keepAlive(this.#id, false);
  }

  /**
   * Queues a call. Everything that can fail is done before the addon receives it.
   * @param settle is called once, with the reply or else with an error.
   */
  ask(request, settle) {
    const { method, text, id = native().newId() } = request;
    let release;
    const end = (reply, error) => {
      if (!this.#calls[id]) return;
      delete this.#calls[id];
      try {
        settle(reply, reply === undefined ? (error ?? closed(method)) : undefined);
      } finally {
        release?.();
        this.letGo();
      }
    };
    this.hold();
    this.#calls[id] = end;
    try {
      release = startLimits(method, request, (error) => end(undefined, error));
      if (!this.#calls[id]) release();
      else if (!native().asynCall(this.#id, id, method, text)) throw notRunning(method);
    } catch (thrown) {
      end(undefined, FrameworkError.from(thrown));
    }
  }

  /** @returns the outcome, as text of the addon. */
  start({ library, account, closed }, settings, isJoining, events, tasks) {
    const files = closed.flatMap(({ name, file }) => [name, file]);
    const list = (names) => [...names].flatMap(([name, id]) => [String(id), name]);
    return this.#outcome(() => {
      const texts = [library, account, settings];
      native().start(this.#id, texts, files, isJoining, list(events), list(tasks));
      return true;
    });
  }

  /** Afterwards nothing is delivered. Ends the open calls and the run that start() began. */
  async stop() {
    this.#isSilent = true;
    for (const end of Object.values(this.#calls)) end();
    await this.#outcome(() => native().stop(this.#id));
    this.close();
  }

  close() {
    this.#isOpen = false;
    native().close(this.#id);
  }

  #outcome(begin) {
    this.hold();
    return new Promise((resolve) => {
      this.receive(resolve, this.#id);
      if (!begin()) resolve();
    }).finally(() => this.letGo());
  }

  /**
   * Delivers what has arrived, in several turns of the event loop if it is much, so that timers and
   * other work run in between.
   */
  #collect = () => {
    if (!this.#isOpen) return;
    let mail = [];
    let isMore = true; // also when taking failed
    run(() => {
      mail = native().take(this.#id);
      isMore = mail.length > 0;
    });
    if (isMore) setImmediate(this.#collect);
    for (let i = 0; i < mail.length; i += 2) this.#deliver(mail[i], mail[i + 1]);
  };

  #deliver(id, text) {
    const receiver = this.#calls[id] ?? this.#receivers[id];
    if (this.#isSilent && id !== this.#id) return;
    if (receiver) run(receiver, text);
    else if (id === 0) warnOfDropped(text);
    // An answer whose call has ended. Events have a number.
    else if (typeof text !== 'number' && lateReplies.hasSubscribers) {
      lateReplies.publish({ id, reply: text });
    }
  }
}

function notRunning(method) {
  return new FrameworkError('ZEF_NOT_RUNNING', `${method}: the framework is not running`, {
    method,
    remedy: 'await init() first',
  });
}

function closed(method) {
  const message = `${method}: the framework was closed before the answer came`;
  return new FrameworkError('ZEF_CLOSED', message, { method });
}

module.exports = { Session, notRunning, warnOfDropped };
