'use strict';

const keyLength = 4; // of the beginnings that are looked up; shorter texts are not found
const wholeWordBelow = 8; // shorter texts occur by chance within other words

const isWordCharacter = (text, at) => /[\p{L}\p{N}]/u.test(text.charAt(at));

/** The beginning of a text as a number. Different ones may have the same. */
function keyAt(text, at) {
  let key = 0;
  for (let i = at; i < at + keyLength; ++i) key = (key * 31 + text.charCodeAt(i)) | 0;
  return key;
}

/** Finds many texts in others, in a time that hardly depends on how many they are. */
class Occurrences {
  #replacements = new Map(); // text -> its replacement
  #lengths = new Map(); // beginning -> how many texts of each length begin so

  has(text) {
    return this.#replacements.has(text);
  }

  add(text, replacement) {
    if (text.length < keyLength || this.#replacements.has(text)) return;
    this.#replacements.set(text, replacement);
    const key = keyAt(text, 0);
    const lengths = this.#lengths.get(key) ?? new Map();
    this.#lengths.set(key, lengths.set(text.length, (lengths.get(text.length) ?? 0) + 1));
  }

  delete(text) {
    if (!this.#replacements.delete(text)) return;
    const key = keyAt(text, 0);
    const lengths = this.#lengths.get(key);
    const left = lengths.get(text.length) - 1;
    if (left > 0) lengths.set(text.length, left);
    else lengths.delete(text.length);
    if (lengths.size === 0) this.#lengths.delete(key);
  }

  /** @returns the text with all of them replaced. */
  replacedIn(text) {
    if (this.#replacements.size === 0) return text;
    let result = '';
    let done = 0;
    for (let at = 0; at + keyLength <= text.length; ++at) {
      const found = this.#longestAt(text, at);
      if (found === '') continue;
      result += text.slice(done, at) + this.#replacements.get(found);
      done = at + found.length;
      at = done - 1;
    }
    return done === 0 ? text : result + text.slice(done);
  }

  #longestAt(text, at) {
    let longest = '';
    for (const length of this.#lengths.get(keyAt(text, at))?.keys() ?? []) {
      if (length <= longest.length || at + length > text.length) continue;
      const found = text.slice(at, at + length);
      if (this.#replacements.has(found) && this.#mayStand(text, at, length)) longest = found;
    }
    return longest;
  }

  #mayStand(text, at, length) {
    if (length >= wholeWordBelow) return true;
    const isWithin = (inside, outside) =>
      isWordCharacter(text, inside) && isWordCharacter(text, outside);
    return !isWithin(at, at - 1) && !isWithin(at + length - 1, at + length);
  }
}

module.exports = { Occurrences };
