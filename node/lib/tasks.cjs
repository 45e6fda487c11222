'use strict';

const mostWaiting = 64 * 2 ** 20; // characters

/** The messages of one `for await`, kept as texts until the loop takes them. */
class MessageLoop {
  #first = {}; // a chain of { text, next }; the last one is empty
  #last = this.#first;
  #length = 0;
  #waiting = []; // functions that resolve what next() has returned
  #isOver = false;
  #isFull = false;
  #ended;

  /** @param ended is called once. */
  constructor(ended) {
    this.#ended = ended;
  }

  add(text) {
    if (this.#waiting.length > 0) {
      this.#waiting.shift()(text);
      return;
    }
    if (this.#length > 0 && this.#length + text.length > mostWaiting) {
      this.#warn();
      return;
    }
    this.#length += text.length;
    this.#last.text = text;
    this.#last.next = {};
    this.#last = this.#last.next;
  }

  /** Warns once until the loop has taken everything. */
  #warn() {
    if (this.#isFull) return;
    this.#isFull = true;
    const message = 'task messages are dropped: a loop over tasks() has not taken 64 MB of them';
    process.emitWarning(message, { code: 'ZEF_DROPPED' });
  }

  /** Drops what the loop has not taken. */
  end() {
    if (this.#isOver) return;
    this.#isOver = true;
    this.#first = this.#last;
    for (const resolve of this.#waiting.splice(0)) resolve();
    this.#ended();
  }

  async next() {
    const text = this.#take() ?? (this.#isOver ? undefined : await this.#arrival());
    return text === undefined
      ? { value: undefined, done: true }
      : { value: JSON.parse(text), done: false };
  }

  #take() {
    const { text, next } = this.#first;
    if (text === undefined) return undefined;
    this.#first = next;
    this.#length -= text.length;
    if (this.#length === 0) this.#isFull = false;
    return text;
  }

  #arrival() {
    return new Promise((resolve) => {
      this.#waiting.push(resolve);
    });
  }

  async return(value) {
    this.end();
    return { value, done: true };
  }

  [Symbol.asyncIterator]() {
    return this;
  }
}

module.exports = { MessageLoop };
