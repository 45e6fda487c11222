'use strict';

const keyLength = 4; // of the beginnings that are looked up; shorter texts are not found

/** Finds many texts in others, in a time that hardly depends on how many they are. */
class Occurrences {
  #byStart = new Map(); // beginning -> { lengths: the longest first, replacements: text -> its }

  add(text, replacement) {
    if (text.length < keyLength) return;
    const start = text.slice(0, keyLength);
    const { lengths = [], replacements = new Map() } = this.#byStart.get(start) ?? {};
    if (!lengths.includes(text.length)) lengths.push(text.length);
    lengths.sort((a, b) => b - a);
    replacements.set(text, replacement);
    this.#byStart.set(start, { lengths, replacements });
  }

  delete(text) {
    this.#byStart.get(text.slice(0, keyLength))?.replacements.delete(text);
  }

  /** \returns the text with all of them replaced. */
  replacedIn(text) {
    if (this.#byStart.size === 0) return text;
    let result = '';
    let done = 0;
    for (let at = 0; at + keyLength <= text.length; ++at) {
      const length = this.#lengthAt(text, at);
      if (length === 0) continue;
      const found = text.slice(at, at + length);
      const { replacements } = this.#byStart.get(found.slice(0, keyLength));
      result += text.slice(done, at) + replacements.get(found);
      done = at + length;
      at = done - 1;
    }
    return done === 0 ? text : result + text.slice(done);
  }

  /** Length of the longest of them that begins there; 0 for none. */
  #lengthAt(text, at) {
    const { lengths = [], replacements } = this.#byStart.get(text.slice(at, at + keyLength)) ?? {};
    return lengths.find((length) => replacements.has(text.slice(at, at + length))) ?? 0;
  }
}

module.exports = { Occurrences };
