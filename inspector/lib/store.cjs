'use strict';

const { performance } = require('node:perf_hooks');

// As measured in V8 (test/load.test.cjs measures it again).
const entryBytes = 400; // an entry without its texts
const siteBytes = 900; // its call site
const texts = ['params', 'reply', 'text', 'error'];

/** Bytes that V8 takes for the characters of a text: two each as soon as one needs them. */
const textBytes = (text) => (/[^\0-\xff]/.test(text) ? 2 : 1) * text.length;

/**
 * All entries, in order, up to a number of bytes. The oldest ones are dropped first.
 *
 * An entry is { seq, t, kind, name, ... } with t in milliseconds since the store was made. Its texts
 * are kept unmasked: the code that passes them on masks them. A text that is too long is not kept; its
 * length is then in `cut`.
 */
class Store {
  #entries = [];
  #offset = 0; // of the oldest entry in the array
  #first = 0; // its seq
  #bytes = 0;
  #limit;
  #textLimit;
  #listeners = new Set();
  #byId = new Map(); // id of a call -> its entry, while that is kept

  /** @param onLoss is called with an entry before it, or one of its texts, is dropped. */
  constructor({ bytes = 128 * 2 ** 20, textLimit = 256 * 1024, onLoss = () => {} } = {}) {
    this.onLoss = onLoss;
    this.#limit = bytes;
    this.#textLimit = textLimit;
    this.started = performance.now();
    this.startedAt = performance.timeOrigin + this.started;
  }

  /** seq of the oldest entry that is kept, which is the number of dropped ones. */
  get first() {
    return this.#first;
  }

  /** seq of the next entry, which is the number of entries so far. */
  get next() {
    return this.#first + this.#entries.length - this.#offset;
  }

  get bytes() {
    return this.#bytes;
  }

  now() {
    return performance.now() - this.started;
  }

  add(entry) {
    entry.seq = this.next;
    entry.t ??= this.now();
    entry.bytes = 0;
    if (entry.id !== undefined) this.#byId.set(entry.id, entry);
    this.#entries.push(entry);
    this.#measure(entry);
    this.#tell(entry);
    return entry;
  }

  update(entry, changes) {
    Object.assign(entry, changes);
    this.#measure(entry);
    this.#tell(entry);
  }

  get(seq) {
    return seq < this.#first ? undefined : this.#entries[seq - this.#first + this.#offset];
  }

  call(id) {
    return this.#byId.get(id);
  }

  /** Calls listener(entry) for each new or changed entry. @returns a function that removes it. */
  onChange(listener) {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  #tell(entry) {
    for (const listener of this.#listeners) listener(entry);
  }

  #measure(entry) {
    const isKept = entry.seq >= this.#first;
    if (isKept) this.#bytes -= entry.bytes;
    const long = texts.filter((key) => entry[key]?.length > this.#textLimit);
    if (long.length > 0) this.#cut(entry, long);
    entry.bytes = entryBytes + (entry.where ? siteBytes : 0);
    for (const key of texts) if (entry[key]) entry.bytes += textBytes(entry[key]);
    if (isKept) this.#bytes += entry.bytes;
    while (this.#bytes > this.#limit && this.next - this.#first > 1) this.#dropOldest();
  }

  #cut(entry, keys) {
    this.onLoss(entry);
    for (const key of keys) {
      entry.cut = { ...entry.cut, [key]: entry[key].length };
      entry[key] = undefined;
    }
  }

  #dropOldest() {
    const entry = this.#entries[this.#offset];
    this.onLoss(entry);
    this.#entries[this.#offset] = undefined;
    this.#offset += 1;
    this.#first += 1;
    this.#bytes -= entry.bytes;
    if (this.#byId.get(entry.id) === entry) this.#byId.delete(entry.id);
    if (this.#offset > 4096 && this.#offset * 2 > this.#entries.length) {
      this.#entries = this.#entries.slice(this.#offset);
      this.#offset = 0;
    }
  }
}

module.exports = { Store, textBytes };
