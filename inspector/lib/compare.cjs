'use strict';

const placeholder = /\{\{[\w-]+:\d+\}\}/g;

const isContainer = (value) => typeof value === 'object' && value !== null;

/** The object or array that a text stands for: entries of some replies are JSON texts. */
function parsed(value) {
  if (typeof value !== 'string' || !/^\s*[[{]/.test(value) || /^\{\{/.test(value)) return value;
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
    keys.every((key) => key in actual && hasShape(expected[key], actual[key]))
  );
}

const allowed = {
  any: () => true,
  text: (_, actual) => typeof actual === 'string',
  number: (_, actual) => typeof actual === 'number',
  shape: (expected, actual) => hasShape(parsed(expected), parsed(actual)),
};

/**
 * Compares what was recorded with what came. A placeholder stands for one text, the same wherever it
 * occurs in a recording; it may be a part of a text.
 */
class Comparison {
  #bound = new Map(); // placeholder -> text

  /** \param given what the replay hands in: a placeholder in it stands for itself */
  constructor(given = []) {
    for (const name of JSON.stringify(given).match(placeholder) ?? []) this.#bound.set(name, name);
  }

  /**
   * \param rules [{ path, as }], the paths like "data.cookieList[*].value"
   * \returns the differences, [{ path, expected, actual }]; undefined is what is not there
   */
  differences(expected, actual, rules = [], path = '') {
    const general = path.replace(/\[\d+\]/g, '[*]');
    const rule = rules.find((each) => each.path === path || each.path === general);
    if (rule && actual !== undefined && allowed[rule.as ?? 'any']?.(expected, actual)) return [];
    const [wanted, found] = [parsed(expected), parsed(actual)];
    if (isContainer(wanted) && isContainer(found) && kindOf(wanted) === kindOf(found)) {
      const step = (key) => (Array.isArray(wanted) ? `[${key}]` : path === '' ? key : `.${key}`);
      return [...new Set([...Object.keys(wanted), ...Object.keys(found)])].flatMap((key) =>
        this.differences(wanted[key], found[key], rules, path + step(key)),
      );
    }
    const isEqual =
      wanted === found || (typeof wanted === 'string' && this.#stands(wanted, String(found)));
    return isEqual ? [] : [{ path, expected, actual }];
  }

  /** The value with what placeholders stand for replaced by them again. */
  withPlaceholders(value) {
    let text = JSON.stringify(value);
    for (const [name, bound] of this.#bound) {
      text = text.replaceAll(JSON.stringify(bound).slice(1, -1), name);
    }
    return JSON.parse(text);
  }

  #stands(wanted, found) {
    const names = wanted.match(placeholder);
    if (!names) return false;
    const parts = wanted
      .split(placeholder)
      .map((part) => part.replace(/[\\^$.*+?()[\]{}|]/g, '\\$&'));
    const values = new RegExp(`^${parts.join('([^]*)')}$`).exec(found)?.slice(1);
    if (!values) return false;
    const isAsBefore = names.every(
      (name, index) => (this.#bound.get(name) ?? values[index]) === values[index],
    );
    if (!isAsBefore) return false;
    for (const [index, name] of names.entries()) this.#bound.set(name, values[index]);
    return true;
  }
}

module.exports = { Comparison, parsed };
