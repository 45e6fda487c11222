'use strict';

const { setTimeout: pause } = require('node:timers/promises');
const { mock } = require('zelectronframework');

const settleMilliseconds = 50;
const mostSettleMilliseconds = 5000;

/** What arrives, by where it belongs: the replies of one method, one event, one task type. */
class Arrivals {
  #queues = new Map();
  #wake = () => {};
  #count = 0;
  isEarly = true; // before the first line; then nothing need be expected

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

  /** Waits until nothing more comes. A machine that is busy elsewhere needs longer to tell. */
  async settle() {
    const end = Date.now() + mostSettleMilliseconds;
    for (let isQuiet = false; !isQuiet && Date.now() < end; ) {
      const [count, begin] = [this.#count, Date.now()];
      await pause(settleMilliseconds);
      const isInTime = Date.now() - begin < 2 * settleMilliseconds;
      isQuiet = isInTime && count === this.#count && !mock().busy;
    }
  }

  /** Waits until the mock has nothing on its way, so that it holds what it is to hold. */
  async idle(milliseconds) {
    const end = Date.now() + milliseconds;
    while (mock().busy && Date.now() < end) await pause(1);
  }

  left() {
    return [...this.#queues.values()].flat().sort((a, b) => a.order - b.order);
  }
}

module.exports = { Arrivals };
