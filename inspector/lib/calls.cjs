'use strict';

const { eventNames, taskNames } = require('./description.cjs');

/** Calls that the page makes, and what is subscribed to for it. */
class Calls {
  #framework;
  #store;
  #runs = new Map(); // id that the page gave -> AbortController
  #subscriptions = new Map();

  constructor(framework, store) {
    this.#framework = framework;
    this.#store = store;
  }

  get subscribed() {
    return [...this.#subscriptions.keys()];
  }

  close() {
    for (const subscription of this.#subscriptions.values()) subscription.dispose();
  }

  async run({ run, method, params, mode, timeout }) {
    const abort = new AbortController();
    const seq = this.#store.next;
    const options = { raw: true, signal: abort.signal, timeout };
    this.#runs.set(run, abort);
    try {
      if (mode === 'sync') this.#framework.callSync(method, params, options);
      else await this.#framework.call(method, params, options);
    } catch (error) {
      if (!this.#store.get(seq)) throw error;
    } finally {
      this.#runs.delete(run);
    }
    return { seq };
  }

  abort({ run }) {
    this.#runs.get(run)?.abort();
  }

  subscribe({ event, task, on }) {
    const name = event ?? task;
    const nothing = () => {};
    if (!on) {
      this.#subscriptions.get(name)?.dispose();
      this.#subscriptions.delete(name);
    } else if (!this.#subscriptions.has(name)) {
      const subscription =
        event === undefined
          ? this.#framework.onTask(task, nothing)
          : this.#framework.subscribe(event, nothing);
      this.#subscriptions.set(name, subscription);
    }
    return { subscribed: this.subscribed };
  }

  subscribeAll() {
    for (const event of eventNames) this.subscribe({ event, on: true });
    for (const task of taskNames) this.subscribe({ task, on: true });
  }
}

module.exports = { Calls };
