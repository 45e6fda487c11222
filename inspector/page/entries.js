import { useEffect, useState } from 'preact/hooks';
import { follow, get } from './connection.js';

const most = 200_000; // heads that the page keeps

/**
 * The heads of all entries, and what the stream says of the session. Listeners are called at most
 * once for each picture that the browser draws.
 */
class Entries {
  heads = []; // by seq - first
  first = 0;
  next = 0;
  lost = 0;
  session = null;
  status = 'connecting';
  isPaused = false;
  version = 0; // counts up with each change of the list
  touched = []; // seqs of the heads that came or changed, until the list has taken them
  #listeners = new Set();
  #isPlanned = false;
  #held = [];

  subscribe(listener) {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  head(seq) {
    return this.heads[seq - this.first];
  }

  changed() {
    if (this.#isPlanned) return;
    this.#isPlanned = true;
    requestAnimationFrame(() => {
      this.#isPlanned = false;
      for (const listener of this.#listeners) listener();
    });
  }

  setSession(changes) {
    this.session = { ...this.session, ...changes };
    this.changed();
  }

  pause(isPaused) {
    this.isPaused = isPaused;
    if (!isPaused) this.#take(this.#held.splice(0));
    this.changed();
  }

  get held() {
    return this.#held.length;
  }

  async start() {
    try {
      await follow((messages) => this.#receive(messages));
      this.status = 'ended: the process is gone';
    } catch (error) {
      this.status = error.message;
    }
    this.changed();
  }

  #receive(messages) {
    const heads = [];
    for (const message of messages) {
      if (message.seq !== undefined) heads.push(message);
      else if (message.hello) this.#begin(message.hello);
      else if (message.gap)
        this.lost += message.gap; // all others arrive, however late
      else if ('recording' in message) this.setSession({ isRecording: message.recording });
    }
    if (this.isPaused) this.#held.push(...heads);
    else this.#take(heads);
  }

  #begin(hello) {
    this.session = hello;
    this.status = 'live';
    this.first = hello.first;
    this.next = hello.first;
    this.heads = [];
    this.#load(hello.first, hello.next);
    this.changed();
  }

  #take(heads) {
    if (heads.length === 0) return;
    for (const head of heads) this.#put(head);
    const excess = this.heads.length - most;
    if (excess > 0) {
      this.heads.splice(0, excess);
      this.first += excess;
    }
    this.version += 1;
    this.changed();
  }

  #put(head) {
    if (head.seq < this.first) return;
    while (this.next < head.seq) this.heads[this.next++ - this.first] = undefined;
    this.heads[head.seq - this.first] = head;
    this.next = Math.max(this.next, head.seq + 1);
    this.touched.push(head.seq);
  }

  async #load(from, to) {
    for (let at = from; at < to; ) {
      const { heads, first } = await get('heads', { from: at, to });
      this.#take(heads);
      at = Math.max(at, first) + heads.length;
      if (heads.length === 0) return;
    }
  }
}

export const entries = new Entries();

/** Draws the component again when the entries or the session have changed. */
export function useEntries() {
  const [, draw] = useState(0);
  useEffect(() => entries.subscribe(() => draw((count) => count + 1)), []);
  return entries;
}
