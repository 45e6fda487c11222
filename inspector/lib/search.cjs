'use strict';

const { slices } = require('./slices.cjs');

const mostFound = 5000;
const mostOpen = 1000;

const textsOf = ({ name, params, reply, error, text }) =>
  [name, params, reply, error, text].map((each) => each?.toLowerCase());

/**
 * Looks for words in a store, in masked texts only: a search must not tell whether a secret has a
 * certain value.
 */
class Search {
  #store;
  #secrets;

  constructor(store, secrets) {
    this.#store = store;
    this.#secrets = secrets;
  }

  /**
   * @param words an entry holds all of them, each in any of its texts
   * @param from the seq to begin with: `next` of an earlier result
   * @param open seqs of an earlier result, whose replies were to come
   * @returns { found, open, next, isAll }; the newest are found first
   */
  async find(words, from, open) {
    const wanted = words.map((word) => word.toLowerCase());
    const [first, next] = [Math.max(from, this.#store.first), this.#store.next];
    const result = { found: [], open: [], next, isAll: true };
    const otherThings = slices();
    const look = (seq) => {
      const entry = this.#store.get(seq);
      if (!entry) return;
      if (this.#holds(entry, wanted)) result.found.push(seq);
      else if (entry.outcome === 'open' && result.open.length < mostOpen) result.open.push(seq);
    };
    for (let seq = next - 1; seq >= first && result.isAll; --seq) {
      await otherThings();
      look(seq);
      result.isAll = result.found.length < mostFound;
    }
    for (const seq of open) look(seq);
    return result;
  }

  #holds(entry, wanted) {
    // Placeholders stand in masked texts only, which cost more to make.
    const texts = textsOf(entry);
    const isIn = (list) => (word) => list.some((text) => text?.includes(word));
    if (!wanted.every((word) => /[{}:]/.test(word) || isIn(texts)(word))) return false;
    return wanted.every(isIn(textsOf(this.#secrets.masked(entry))));
  }
}

module.exports = { Search };
