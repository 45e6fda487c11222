import { useEffect, useState } from 'preact/hooks';
import { follow, get } from './connection.js';
import { Order } from './order.js';

const most = 200_000; // heads that the page keeps
const block = 10_000; // so many fall out at once
const atOnce = 5000; // as many as one request answers

/**
 * The heads of the latest entries, and what the stream says of the session. Listeners are called at
 * most once for each picture that the browser draws.
 */
class Entries {
  first = 0; // seq of the oldest head; those before have fallen out
  order = new Order((seq) => this.head(seq).t);
  missing = 0; // heads that did not come
  session = null;
  status = 'connecting';
  isPaused = false;
  isLoading = false;
  version = 0; // counts up with each change
  #heads = []; // by seq - first
  #listeners = new Set();
  #watchers = new Set();
  #isPlanned = false;
  #held; // { from, to } of what came or changed during a pause

  /** seq of the next entry. */
  get next() {
    return this.first + this.#heads.length;
  }

  /** How many came during a pause. */
  get held() {
    return Math.max(0, (this.#held?.to ?? 0) - this.next);
  }

  head(seq) {
    return this.#heads[seq - this.first];
  }

  subscribe(listener) {
    this.#listeners.add(listener);
    return () => this.#listeners.delete(listener);
  }

  /** Calls watcher({ added, changed }) with seqs, at once. */
  watch(watcher) {
    this.#watchers.add(watcher);
  }

  changed() {
    if (this.#isPlanned) return;
    this.#isPlanned = true;
    requestAnimationFrame(() => {
      this.#isPlanned = false;
      this.version += 1;
      for (const listener of this.#listeners) listener();
    });
  }

  setSession(changes) {
    this.session = { ...this.session, ...changes };
    this.changed();
  }

  /** A pause keeps the list as it is; what comes meanwhile is fetched at its end. */
  pause(isPaused) {
    this.isPaused = isPaused;
    if (!isPaused) this.#fetchHeld();
    this.changed();
  }

  async start() {
    try {
      await follow((messages) => this.#receive(messages));
      this.status = 'ended';
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
      else if (message.gap) this.#skip(message);
      else if (message.session) this.setSession(message.session);
    }
    if (this.isPaused) for (const { seq } of heads) this.#hold(seq, seq + 1);
    else this.#take(heads);
  }

  /** Takes note of entries that the process dropped before the stream could send them. */
  #skip({ from, to }) {
    if (this.isPaused) this.#hold(from, to + 1);
    else this.#fill(to + 1);
  }

  #begin(hello) {
    this.session = hello;
    this.status = 'live';
    this.first = Math.max(hello.first, hello.next - most);
    this.#fill(hello.next);
    this.#load(this.first, hello.next);
  }

  #take(heads) {
    this.#dropOldest();
    const [added, changed] = [[], []];
    for (const head of heads) {
      if (head.seq < this.first) continue;
      this.#fill(head.seq);
      const at = head.seq - this.first;
      const isNew = this.#heads[at] === undefined;
      if (isNew && at < this.#heads.length) this.missing -= 1;
      this.#heads[at] = head;
      (isNew ? added : changed).push(head.seq);
    }
    this.order.add(added);
    for (const watcher of this.#watchers) watcher({ added, changed });
    this.changed();
  }

  /** Makes room for heads up to a seq, which may come later. */
  #fill(next) {
    if (next - this.next > most) this.#restart(next - most);
    while (this.next < next) {
      this.#heads.push(undefined);
      this.missing += 1;
    }
  }

  #restart(first) {
    Object.assign(this, { first, missing: 0 });
    this.#heads = [];
    this.#forget();
  }

  #dropOldest() {
    if (this.#heads.length < most + block) return;
    for (const head of this.#heads.splice(0, block)) this.missing -= head === undefined ? 1 : 0;
    this.first += block;
    this.#forget();
  }

  #forget() {
    this.order.keepFrom(this.first);
    for (const watcher of this.#watchers) watcher({ added: [], changed: [] });
  }

  /** The newest first: they are looked at. */
  async #load(from, to) {
    this.isLoading = true;
    try {
      for (let end = to; end > Math.max(from, this.first); end -= atOnce) {
        const { heads } = await get('heads', { from: Math.max(from, end - atOnce), to: end });
        this.#take(heads);
      }
    } catch {
      // What did not come is counted as missing.
    }
    this.isLoading = false;
    this.changed();
  }

  #hold(from, to) {
    const held = this.#held ?? { from, to };
    this.#held = { from: Math.min(from, held.from), to: Math.max(to, held.to) };
    this.changed();
  }

  #fetchHeld() {
    if (!this.#held) return;
    const { from, to } = this.#held;
    this.#held = undefined;
    this.#fill(to);
    this.#load(from, to);
  }
}

export const entries = new Entries();

/** Draws the component again when what it picks of the entries has changed; by default, anything. */
export function useEntries(pick = ({ version }) => version) {
  const [, draw] = useState();
  useEffect(() => entries.subscribe(() => draw(pick(entries))), []);
  return entries;
}

export function useSession() {
  return useEntries(({ session }) => session).session;
}
