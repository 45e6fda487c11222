'use strict';

const { slices } = require('./slices.cjs');

/** Searches the entries of a store for secrets, so that these are masked in all other entries. */
class Learning {
  #store;
  #secrets;
  #learned = 0; // entries before this one gave their secrets
  #open = new Set(); // calls that were open when they were read

  constructor(store, secrets) {
    this.#store = store;
    this.#secrets = secrets;
  }

  /** Searches all entries so far. */
  async all() {
    const otherThings = slices();
    while (this.#learned < this.#store.next) {
      const entry = this.#store.get(this.#learned++);
      if (entry?.outcome === 'open') this.#open.add(entry);
      if (entry) this.#secrets.learn(entry);
      await otherThings();
    }
    for (const entry of this.#open) {
      if (entry.outcome === 'open') continue;
      this.#secrets.learn(entry); // its reply has come meanwhile
      this.#open.delete(entry);
    }
  }

  beforeLossOf(entry) {
    const isNew = entry.seq >= this.#learned;
    if (this.#open.delete(entry) || isNew) this.#secrets.learn(entry);
  }
}

module.exports = { Learning };
