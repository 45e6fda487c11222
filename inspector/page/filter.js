import { get } from './connection.js';

const words = /(?:(\w+):)?("[^"]*"|\S+)/g;

/**
 * Reads a search: method:logout module:account kind:event result:fail >50ms <1ms, and other words,
 * which are looked for in the texts of entries, in the process that has them.
 */
export function readSearch(text) {
  const tests = [];
  const wanted = [];
  for (const [, key, quoted] of text.matchAll(words)) {
    const word = quoted.replace(/^"|"$/g, '').toLowerCase();
    const limit = key === undefined && /^([<>])(\d+(?:\.\d+)?)(?:ms)?$/.exec(word);
    if (limit) {
      const [, sign, number] = limit;
      tests.push(({ ms }) => ms !== undefined && (sign === '>' ? ms > number : ms < number));
    } else if (key === 'method' || key === 'name') {
      tests.push(({ name }) => name.toLowerCase().includes(word));
    } else if (key === 'module') {
      tests.push(({ name }) => name.toLowerCase().startsWith(`${word}.`));
    } else if (key === 'kind') {
      tests.push(({ kind }) => kind === word);
    } else if (key === 'result') {
      tests.push(
        ({ kind, outcome }) =>
          kind === 'call' &&
          (word === 'fail'
            ? outcome !== 'ok' && outcome !== 'open'
            : outcome?.toLowerCase() === word),
      );
    } else {
      wanted.push(word);
    }
  }
  return { test: (head) => tests.every((each) => each(head)), text: wanted.join(' ') };
}

/** seqs of the entries that hold a text, or undefined without one. */
export async function search(text) {
  if (text === '') return undefined;
  const { found, isAll } = await get('search', { q: text });
  return { seqs: new Set(found), isAll };
}
