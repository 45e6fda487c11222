const words = /(?:(method|name|module|kind|result):)?("[^"]*"|\S+)/g;

const isBad = (outcome) => outcome !== 'ok' && outcome !== 'open';

/** What each key of a search asks of a head. */
const tests = {
  method: (wanted) => (head) => head.name.toLowerCase().includes(wanted),
  module: (wanted) => (head) => head.name.toLowerCase().startsWith(`${wanted}.`),
  kind: (wanted) => (head) => head.kind === wanted,
  result:
    (wanted) =>
    ({ kind, outcome }) =>
      kind === 'call' && (wanted === 'fail' ? isBad(outcome) : outcome.toLowerCase() === wanted),
};
tests.name = tests.method;

function limit(word) {
  const [, sign, text] = /^([<>])(\d+(?:\.\d+)?)(?:ms)?$/.exec(word) ?? [];
  if (sign === undefined) return undefined;
  const bound = Number(text);
  return sign === '>' ? ({ ms }) => ms > bound : ({ ms }) => ms < bound;
}

/**
 * Reads a search: method:logout module:account kind:event result:fail >50ms <1ms, and other words,
 * which are looked for in the texts of entries, in the process that has them.
 * @returns { test(head), words, hasKind }
 */
export function readSearch(text) {
  const found = { tests: [], words: [], hasKind: false };
  for (const [, key, quoted] of text.matchAll(words)) {
    const word = quoted.replace(/^"|"$/g, '').toLowerCase();
    const test = key ? tests[key](word) : limit(word);
    if (test) found.tests.push(test);
    else found.words.push(word);
    found.hasKind ||= key === 'kind';
  }
  return {
    test: (head) => found.tests.every((each) => each(head)),
    words: found.words,
    hasKind: found.hasKind,
  };
}
