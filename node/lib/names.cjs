'use strict';

const longestShown = 80;

/** A text as error messages show it: a very long one is cut off. */
function cut(text) {
  return text.length > longestShown ? `${text.slice(0, longestShown)}…` : text;
}

/** A name as error messages show it: in quotes where it could be overlooked. */
function shown(name) {
  const text = cut(String(name));
  return /^\S+$/.test(text) ? text : `'${text}'`;
}

/** How many characters have to be added, removed or replaced to make one word of the other. */
function distance(one, other) {
  let row = Array.from({ length: other.length + 1 }, (_, index) => index);
  for (let i = 0; i < one.length; i += 1) {
    const next = [i + 1];
    for (let j = 0; j < other.length; j += 1) {
      next.push(Math.min(row[j + 1] + 1, next[j] + 1, row[j] + (one[i] === other[j] ? 0 : 1)));
    }
    row = next;
  }
  return row[other.length];
}

const lastPart = (name) => name.slice(name.lastIndexOf('.') + 1);

/** @returns the known name that is nearest, whether the module was given or not; or undefined. */
function nearest(name, known) {
  if (typeof name !== 'string' || name.length > longestShown) return undefined;
  const word = name.toLowerCase();
  let best;
  let most = word.length / 3; // characters that may be wrong
  for (const candidate of known) {
    const whole = candidate.toLowerCase();
    const found = Math.min(distance(word, whole), distance(lastPart(word), lastPart(whole)));
    if (found <= most) [best, most] = [candidate, found - 1];
  }
  return best;
}

/** @returns the end of a message about an unknown name: a suggestion, or nothing. */
function didYouMean(name, known) {
  const meant = nearest(name, known);
  return meant === undefined ? '' : `; did you mean ${meant}?`;
}

module.exports = { cut, shown, didYouMean };
