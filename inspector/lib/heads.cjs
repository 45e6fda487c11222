'use strict';

const turnMilliseconds = 16;
const mostInATurn = 500; // half a millisecond's work

/** What the list shows of an entry: none of its texts. */
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
  times,
}) {
  return { seq, t, kind, name, id, mode, instance, thread, outcome, ms, answers, bytes, of, times };
}

/**
 * Sends the heads of entries to one page as JSON Lines: each of them in order, as fast as the page
 * reads, and then those that changed after they were sent. Entries that the store dropped before
 * the page could read them are reported as a gap.
 */
class HeadStream {
  #store;
  #response;
  #next; // seq of the next entry to send
  #changed = new Map(); // seq -> head; only of calls that were sent while they were open
  #timer;
  #isFull = false;
  #end;

  constructor(store, response, { from = store.next, hello }) {
    this.#store = store;
    this.#response = response;
    this.#next = Math.min(from, store.next);
    this.#end = store.onChange((entry) => this.#note(entry));
    response.on('close', () => this.close());
    response.on('drain', () => {
      this.#isFull = false;
      this.#plan();
    });
    this.send({ hello: { ...hello, next: store.next, first: store.first } });
    this.#plan();
  }

  /** Sends a message that is not an entry, for example that recording began. */
  send(message) {
    this.#write([message]);
  }

  close() {
    this.#end();
    clearTimeout(this.#timer);
    this.#response.end();
  }

  #note(entry) {
    if (entry.seq < this.#next) this.#changed.set(entry.seq, headOf(entry));
    this.#plan();
  }

  #plan() {
    const isDone = this.#next >= this.#store.next && this.#changed.size === 0;
    if (this.#timer || this.#isFull || isDone) return;
    this.#timer = setTimeout(() => this.#flush(), turnMilliseconds).unref();
  }

  #flush() {
    this.#timer = undefined;
    const { first, next } = this.#store;
    const lines = [];
    if (this.#next < first) {
      lines.push({ gap: first - this.#next, from: this.#next, to: first - 1 });
      this.#next = first;
    }
    const end = Math.min(next, this.#next + mostInATurn);
    while (this.#next < end) lines.push(headOf(this.#store.get(this.#next++)));
    for (const [seq, head] of this.#changed) {
      if (lines.length > mostInATurn) break;
      this.#changed.delete(seq);
      lines.push(head);
    }
    this.#write(lines);
    this.#plan();
  }

  #write(messages) {
    const text = messages.map((message) => `${JSON.stringify(message)}\n`).join('');
    this.#isFull = !this.#response.write(text);
  }
}

module.exports = { HeadStream, headOf };
