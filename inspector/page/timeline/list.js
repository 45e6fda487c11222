import { entries } from '../entries.js';
import { Order } from '../order.js';
import { readSearch } from './filter.js';
import { TextSearch } from './search.js';

const nothing = { text: '', module: '', result: '', hidden: new Set(['log']) };

/** The entries that pass the search and the filters, whether somebody looks at them or not. */
class List {
  filters = nothing;
  search = new TextSearch((found) => this.#follow({ added: [], changed: found }));
  #shown = new Order((seq) => entries.head(seq).t);
  #first = 0;
  #test = () => true;

  constructor() {
    entries.watch((change) => this.#follow(change));
    this.set({});
  }

  get seqs() {
    return this.#shown.seqs;
  }

  get isFiltered() {
    return this.filters !== nothing;
  }

  has(seq) {
    return entries.head(seq) !== undefined && this.#shown.has(seq);
  }

  indexOf(seq) {
    return this.has(seq) ? this.#shown.placeOf(seq) : -1;
  }

  clear() {
    this.filters = nothing;
    this.set({});
  }

  set(changes) {
    const isChanged = Object.keys(changes).length > 0;
    if (isChanged) this.filters = { ...this.filters, ...changes };
    const { text, module, result, hidden } = this.filters;
    const chosen = `${module && `module:${module}`} ${result && `result:${result}`}`;
    const [own, typed] = [readSearch(chosen), readSearch(text)];
    this.#test = (head) =>
      (typed.hasKind || !hidden.has(head.kind)) && own.test(head) && typed.test(head);
    if (!isChanged || 'text' in changes) this.search.set(typed.words);
    this.#shown.seqs = entries.order.seqs.filter((seq) => this.#passes(seq));
    entries.changed();
  }

  #passes(seq) {
    return this.search.has(seq) && this.#test(entries.head(seq));
  }

  #follow({ added, changed }) {
    if (this.#first < entries.first) {
      this.#first = entries.first;
      this.#shown.keepFrom(this.#first);
    }
    const isNew = (seq) => this.#passes(seq) && !this.#shown.has(seq);
    const known = changed.filter((seq) => entries.head(seq));
    for (const seq of known) if (!this.#passes(seq)) this.#shown.remove(seq);
    this.#shown.add(added.filter((seq) => this.#passes(seq)).concat(known.filter(isNew)));
  }
}

export const list = new List();
