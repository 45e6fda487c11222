'use strict';

const { setImmediate } = require('node:timers'); // not one that a test has replaced

/** Runs asynchronous steps one after the other, in the order of the calls of take(). */
class Turns {
  #waiting = [];

  /** Runs a step at once where no other one is running or waiting. @returns what the step returns. */
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
    // Code that awaits this step runs before the next step does.
    if (this.#waiting.length > 0) setImmediate(() => this.#takeFirst());
  }
}

module.exports = { Turns };
