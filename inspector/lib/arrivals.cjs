'use strict';

const { setTimeout: pause } = require('node:timers/promises');
const { mock } = require('zelectronframework');

const settleMilliseconds = 50;
const mostSettleMilliseconds = 5000;

/** Deliveries, in one queue for each method, event and task type. */
class Arrivals {
  #queues = new Map();
  #wake = () => {};
  #count = 0;
  isEarly = true; // before the first line, where deliveries need not be recorded

  add(key, value) {
    const queue = this.#queues.get(key) ?? [];
    this.#queues.set(key, queue);
    queue.push({ key, value, order: this.#count++, isEarly: this.isEarly });
    this.#wake();
  }

  /** @returns the oldest arrival of a key, or undefined when none has come in that time. */
  async next(key, milliseconds) {
    const end = Date.now() + milliseconds;
    while (!this.#queues.get(key)?.length) {
      const left = end - Date.now();
      if (left <= 0) return undefined;
      await new Promise((resolve) => {
        const timer = setTimeout(resolve, left);
        this.#wake = () => {
          clearTimeout(timer);
          resolve();
        };
      });
    }
    return this.#queues.get(key).shift();
  }

  forget() {
    this.#queues.clear();
  }

  /** Waits until no more deliveries arrive; longer on a busy machine. */
  async settle() {
    const end = Date.now() + mostSettleMilliseconds;
    for (let isQuiet = false; !isQuiet && Date.now() < end; ) {
      const [count, begin] = [this.#count, Date.now()];
      await pause(settleMilliseconds);
      const isInTime = Date.now() - begin < 2 * settleMilliseconds;
      isQuiet = isInTime && count === this.#count && !mock().busy;
    }
  }

  /** Waits until the mock is idle, so that it holds the answers that it must hold. */
  async idle(milliseconds) {
    const end = Date.now() + milliseconds;
    while (mock().busy && Date.now() < end) await pause(1);
  }

  left() {
    return [...this.#queues.values()].flat().sort((a, b) => a.order - b.order);
  }
}

module.exports = { Arrivals };
