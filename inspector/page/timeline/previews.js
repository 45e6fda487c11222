import { useEffect } from 'preact/hooks';
import { get } from '../connection.js';
import { entries } from '../entries.js';

const waitMilliseconds = 40;
const atOnce = 200;
const most = 5000;

/** The first words of entries that are in view, masked. */
class Previews {
  #known = new Map(); // seq -> { outcome, asked, told }
  #wanted = new Set(); // seqs
  #timer;

  of({ seq, kind, name }) {
    if (kind !== 'event') return this.#known.get(seq) ?? {};
    const event = entries.session.description['x-events'].find((each) => each.name === name);
    return { summary: event?.summary.replaceAll('`', '') };
  }

  want(heads) {
    this.#wanted = new Set();
    for (const { seq, kind, outcome } of heads) {
      const isThere = this.#known.get(seq)?.outcome === outcome && this.#known.has(seq);
      if (kind !== 'event' && !isThere) this.#wanted.add(seq);
    }
    if (this.#wanted.size > 0) this.#timer ??= setTimeout(() => this.#fetch(), waitMilliseconds);
  }

  async #fetch() {
    const seqs = [...this.#wanted].slice(-atOnce);
    const outcomes = new Map(seqs.map((seq) => [seq, entries.head(seq)?.outcome]));
    try {
      const { previews } = await get('previews', { seqs: seqs.join() });
      for (const preview of previews) {
        this.#known.set(preview.seq, { ...preview, outcome: outcomes.get(preview.seq) });
      }
    } catch {
      // The page says that the process has gone.
    }
    for (const seq of this.#known.keys()) {
      if (this.#known.size <= most) break;
      this.#known.delete(seq);
    }
    this.#timer = undefined;
    entries.changed();
  }
}

const previews = new Previews();

/** @returns a function that gives what is known of a head: { asked, told } or { summary } */
export function usePreviews(heads) {
  useEffect(() => previews.want(heads));
  return (head) => previews.of(head);
}
