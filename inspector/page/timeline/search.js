import { get } from '../connection.js';
import { entries } from '../entries.js';

const typingMilliseconds = 150;
const pollMilliseconds = 300;

/** Looks for words in the texts of entries, also of those that come later. The process decides. */
export class TextSearch {
  failure = '';
  isBusy = false;
  isAll = true; // not: there were too many, the newest are found
  #found; // seqs, while there are words
  #words;
  #next; // the first seq that was not looked at
  #open; // calls that were looked at before their replies came
  #isStale = false; // something came since the last look
  #isAsking = false;
  #timer;
  #take;

  /** @param take gets the seqs that are found, as they are */
  constructor(take) {
    this.#take = take;
    entries.watch(() => {
      this.#isStale = true;
      this.#plan(pollMilliseconds);
    });
  }

  has(seq) {
    return this.#found === undefined || this.#found.has(seq);
  }

  /** Begins another search; none without words. */
  set(words) {
    clearTimeout(this.#timer);
    this.#timer = undefined;
    this.#words = words;
    this.#next = 0;
    this.#open = [];
    this.#found = words.length > 0 ? new Set() : undefined;
    Object.assign(this, { failure: '', isAll: true, isBusy: words.length > 0 });
    this.#plan(typingMilliseconds);
  }

  #plan(milliseconds) {
    if (this.#found && !this.#isAsking) {
      this.#timer ??= setTimeout(() => this.#look(), milliseconds);
    }
  }

  /** One question at a time: the process has other things to do. */
  async #look() {
    const words = this.#words;
    const query = { words: JSON.stringify(words), from: this.#next, open: this.#open.join() };
    this.#timer = undefined;
    this.#isStale = false;
    this.#isAsking = true;
    let failure = '';
    const answer = await get('search', query).catch((error) => {
      failure = error.message;
    });
    this.#isAsking = false;
    if (words !== this.#words) return this.#plan(0); // another search has begun
    Object.assign(this, { failure, isBusy: false });
    if (answer) this.#note(answer);
    if (this.#isStale) this.#plan(pollMilliseconds);
    entries.changed();
  }

  #note({ found, open, next, isAll }) {
    this.isAll &&= isAll;
    this.#next = next;
    this.#open = open;
    const added = found.filter((seq) => !this.#found.has(seq));
    for (const seq of added) this.#found.add(seq);
    this.#forgetOldest();
    this.#take(added);
  }

  #forgetOldest() {
    for (const seq of this.#found) if (seq < entries.first) this.#found.delete(seq);
  }
}
