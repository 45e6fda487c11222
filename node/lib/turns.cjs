'use strict';

const { setImmediate } = require('node:timers'); // not one that a test has replaced

/** Takes asynchronous steps one after the other, in the order in which they are asked for. */
class Turns {
  #waiting = [];

  /** Takes a step at once where no other one is under way. \returns what the step returns. */
  take(step) {
    return new Promise((resolve, reject) => {
      this.#waiting.push({ step, resolve, reject });
      if (this.#waiting.length === 1) this.#takeFirst();
    });
  }

  async #takeFirst() {
    const { step, resolve, reject } = this.#waiting[0];
    const settle = await step().then(
      (value) => () => resolve(value),
      (error) => () => reject(error),
    );
    this.#waiting.shift();
    settle();
    // Whoever waited for this step goes on before the next one is taken.
    if (this.#waiting.length > 0) setImmediate(() => this.#takeFirst());
  }
}

module.exports = { Turns };
