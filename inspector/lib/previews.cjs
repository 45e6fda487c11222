'use strict';

const { parsed } = require('./compare.cjs');

const longest = 200;

/** JSON for one row of a list: one line, without the outer braces and the quotes of keys. */
function brief(text = '') {
  return text
    .slice(0, 2 * longest)
    .replace(/\s+/g, ' ')
    .replace(/,?"([\w.-]+)":/g, (found, key) => `${found[0] === ',' ? ', ' : ''}${key}: `)
    .replace(/\\"/g, '"')
    .replace(/^\{(.*?)\}?$/, '$1')
    .slice(0, longest);
}

/** @returns the members of an object that a text stands for; none of anything else */
function membersOf(text) {
  try {
    return JSON.parse(text) ?? {};
  } catch {
    return {};
  }
}

// Entries of some lists are JSON texts.
const inside = (_, value) => parsed(value);

/** @returns the text of a row for a masked entry: the request or notification, and the reply */
function previewOf({ kind, name, params, reply, error, text, outcome }) {
  if (kind === 'log') return { asked: brief(text?.replace(`${name} `, '')) };
  if (kind === 'mock') return { asked: brief(JSON.stringify(membersOf(text)[name]) ?? text) };
  if (kind !== 'call' && kind !== 'late') return { asked: brief(text) };
  const { msg, data } = membersOf(reply);
  const isGood = kind === 'late' || outcome === 'ok' || outcome === 'open';
  const reason = msg ?? error?.replace(`${name}: `, '');
  return { asked: brief(params), told: brief(isGood ? JSON.stringify(data, inside) : reason) };
}

module.exports = { previewOf };
