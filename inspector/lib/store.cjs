'use strict';

const { performance } = require('node:perf_hooks');

const entryBytes = 300; // an entry without its texts, as measured in V8
const texts = ['params', 'reply', 'text', 'error'];

/**
 * What happened, in order, bounded by the bytes that it takes. The oldest entries fall out first.
 *
 * An entry is { seq, t, kind, name, ... } with t in milliseconds since the store was made. Its texts
 * are kept as they are: whoever hands them on masks them.
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

  /** \param onLoss is called with an entry before a text of it is cut off, or it falls out. */
  constructor({ bytes = 128 * 2 ** 20, textBytes = 64 * 1024, onLoss = () => {} } = {}) {
    this.onLoss = onLoss;
    this.#limit = bytes;
    this.#textLimit = textBytes;
    this.started = performance.now();
    this.startedAt = Date.now();
  }

  /** seq of the oldest entry that is kept; so many have fallen out. */
  get first() {
    return this.#first;
  }

  /** seq of the next entry; so many there have been. */
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
    if (entry.seq >= this.#first) this.#measure(entry);
    this.#tell(entry);
  }

  get(seq) {
    return seq < this.#first ? undefined : this.#entries[seq - this.#first + this.#offset];
  }

  call(id) {
    return this.#byId.get(id);
  }

  /** Calls listener(entry) at each new or changed entry. \returns a function that ends that. */
  onChange(listener) {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  #tell(entry) {
    for (const listener of this.#listeners) listener(entry);
  }

  #measure(entry) {
    this.#bytes -= entry.bytes;
    entry.bytes = entryBytes;
    const long = texts.filter((key) => entry[key]?.length > this.#textLimit);
    if (long.length > 0) this.#cut(entry, long);
    for (const key of texts) entry.bytes += entry[key]?.length ?? 0;
    this.#bytes += entry.bytes;
    while (this.#bytes > this.#limit && this.next - this.#first > 1) this.#dropOldest();
  }

  #cut(entry, keys) {
    this.onLoss(entry);
    for (const key of keys) {
      entry.cut = { ...entry.cut, [key]: entry[key].length };
      // Not a slice of the long text, which would keep all of that in memory.
      entry[key] = Buffer.from(entry[key].slice(0, this.#textLimit)).toString();
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

module.exports = { Store };
