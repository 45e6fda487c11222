'use strict';

const turnMilliseconds = 16;
const mostInATurn = 500; // half a millisecond's work
const mostWaiting = 20000;

/** What the list shows of an entry: no text of it. */
function headOf({
  seq,
  t,
  kind,
  name,
  id,
  mode,
  instance,
  thread,
  outcome,
  ms,
  answers,
  bytes,
  of,
}) {
  return { seq, t, kind, name, id, mode, instance, thread, outcome, ms, answers, bytes, of };
}

/**
 * Sends the heads of entries to one page as JSON Lines, as they come and when they change. A page
 * that reads too slowly loses some, and is told how many.
 */
class HeadStream {
  #response;
  #waiting = new Map(); // seq -> entry, in the order in which they came or changed
  #timer;
  #isFull = false;
  #gap = 0;
  #end;

  constructor(store, response, hello) {
    this.#response = response;
    this.#end = store.onChange((entry) => this.#note(entry));
    response.on('close', () => this.close());
    response.on('drain', () => {
      this.#isFull = false;
      this.#plan();
    });
    this.#write({ hello: { ...hello, next: store.next, first: store.first } });
  }

  /** Something else than an entry, for example that recording began. */
  send(message) {
    this.#write(message);
  }

  close() {
    this.#end();
    clearTimeout(this.#timer);
    this.#response.end();
  }

  #note(entry) {
    if (this.#waiting.has(entry.seq)) return; // goes as it is then
    if (this.#waiting.size >= mostWaiting) {
      this.#gap += 1;
      return;
    }
    this.#waiting.set(entry.seq, entry);
    this.#plan();
  }

  #plan() {
    if (this.#timer || this.#isFull || this.#waiting.size === 0) return;
    this.#timer = setTimeout(() => this.#flush(), turnMilliseconds).unref();
  }

  #flush() {
    this.#timer = undefined;
    const lines = [];
    if (this.#gap > 0) lines.push(JSON.stringify({ gap: this.#gap }));
    this.#gap = 0;
    for (const [seq, entry] of this.#waiting) {
      if (lines.length >= mostInATurn) break;
      this.#waiting.delete(seq);
      lines.push(JSON.stringify(headOf(entry)));
    }
    this.#isFull = !this.#response.write(`${lines.join('\n')}\n`);
    this.#plan();
  }

  #write(message) {
    this.#isFull = !this.#response.write(`${JSON.stringify(message)}\n`);
  }
}

module.exports = { HeadStream, headOf };
