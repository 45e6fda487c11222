'use strict';

const { Occurrences } = require('./occurrences.cjs');

// docs/decisions/0013 has the rules; host/compare.cpp follows them too, and both are tested with
// tests/host/replays.txt.

const placeholder = /\{\{[A-Za-z0-9_-]+:[0-9]+\}\}/g;

const isContainer = (value) => typeof value === 'object' && value !== null;
const member = (container, key) => (Object.hasOwn(container, key) ? container[key] : undefined);

/** The object or array that a text stands for: entries of some replies are JSON texts. */
function parsed(value) {
  if (typeof value !== 'string' || !/^[ \t\r\n]*[[{]/.test(value)) return value;
  try {
    return JSON.parse(value);
  } catch {
    return value;
  }
}

function kindOf(value) {
  if (Array.isArray(value)) return 'array';
  return value === null ? 'null' : typeof value;
}

function hasShape(expected, actual) {
  if (kindOf(expected) !== kindOf(actual)) return false;
  if (!isContainer(expected)) return true;
  const keys = Object.keys(expected);
  return (
    keys.length === Object.keys(actual).length &&
    keys.every((key) => Object.hasOwn(actual, key) && hasShape(expected[key], actual[key]))
  );
}

const allowed = new Map([
  ['any', () => true],
  ['text', (_, actual) => typeof actual === 'string'],
  ['number', (_, actual) => typeof actual === 'number'],
  ['shape', (expected, actual) => hasShape(parsed(expected), parsed(actual))],
]);

/** What of `mayDiffer` is a rule: [{ subject, path, as }]; the subject is undefined for all. */
function rulesFrom(mayDiffer) {
  const text = (value) => (typeof value === 'string' ? value : undefined);
  return (Array.isArray(mayDiffer) ? mayDiffer : [])
    .filter((entry) => isContainer(entry) && text(entry.path) !== undefined)
    .map(({ method, task, path, as }) => ({
      subject: text(method) ?? text(task),
      path,
      as: text(as) ?? 'any',
    }));
}

/**
 * Compares a recorded value with the actual one. A placeholder stands for one text or number, the same
 * wherever it occurs in a recording; it may be a part of a text.
 */
class Comparison {
  #rules;
  #bound = new Map(); // placeholder -> text

  /** @param given what the replay passes to the library: a placeholder in it stands for itself */
  constructor(mayDiffer, given = []) {
    this.#rules = rulesFrom(mayDiffer);
    for (const name of JSON.stringify(given).match(placeholder) ?? []) this.#bound.set(name, name);
  }

  /**
   * @param subject method, event or task type
   * @returns the differences, [{ path, expected, actual }], the paths like
   *          "data.cookieList[0].value"; undefined is what is not there
   */
  differences(subject, expected, actual) {
    const rules = this.#rules.filter((rule) => !rule.subject || rule.subject === subject);
    return this.#differences(rules, expected, actual, '');
  }

  #differences(rules, expected, actual, path) {
    const general = path.replace(/\[\d+\]/g, '[*]');
    const rule = rules.find((each) => each.path === path || each.path === general);
    if (rule && actual !== undefined && allowed.get(rule.as)?.(expected, actual)) return [];
    const [wanted, found] = [parsed(expected), parsed(actual)];
    if (isContainer(wanted) && isContainer(found) && kindOf(wanted) === kindOf(found)) {
      const step = (key) => (Array.isArray(wanted) ? `[${key}]` : path === '' ? key : `.${key}`);
      return [...new Set([...Object.keys(wanted), ...Object.keys(found)])].flatMap((key) =>
        this.#differences(rules, member(wanted, key), member(found, key), path + step(key)),
      );
    }
    return wanted === found || this.#stands(expected, actual) ? [] : [{ path, expected, actual }];
  }

  /** A copy of the value, with the texts of known placeholders replaced by the placeholders. */
  withPlaceholders(value) {
    const occurrences = new Occurrences();
    for (const [name, text] of this.#bound) occurrences.add(text, name);
    const replaced = (each) => {
      const inner = parsed(each);
      return inner === each ? occurrences.replacedIn(each) : JSON.stringify(all(inner));
    };
    const all = (part) =>
      JSON.parse(JSON.stringify(part), (_, each) =>
        typeof each === 'string' ? replaced(each) : each,
      );
    return all(value);
  }

  /**
   * Whether a text with placeholders stands for what came. From left to right, each takes what it
   * stands for already, or else as little as possible; the last takes what is left.
   */
  #stands(wanted, actual) {
    const names = typeof wanted === 'string' ? wanted.match(placeholder) : null;
    if (!names || (typeof actual !== 'string' && typeof actual !== 'number')) return false;
    const found = String(actual);
    const literals = wanted.split(placeholder);
    if (!found.startsWith(literals[0])) return false;
    const bound = new Map(this.#bound);
    let at = literals[0].length;
    for (const [index, name] of names.entries()) {
      const literal = literals[index + 1];
      const known = bound.get(name);
      const isLast = index === names.length - 1;
      const free = isLast ? found.length - literal.length : found.indexOf(literal, at);
      const end = known === undefined ? free : at + known.length;
      if (end < at || !found.startsWith(literal, end)) return false;
      const value = found.slice(at, end);
      if (known !== undefined && known !== value) return false;
      bound.set(name, value);
      at = end + literal.length;
    }
    if (at !== found.length) return false;
    this.#bound = bound;
    return true;
  }
}

module.exports = { Comparison, parsed };
