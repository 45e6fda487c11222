/** seqs of entries in the order of their times. */
export class Order {
  seqs = [];
  #timeOf;

  /** @param timeOf gives the time of an entry by its seq */
  constructor(timeOf) {
    this.#timeOf = timeOf;
  }

  #isBefore(a, b) {
    const difference = this.#timeOf(a) - this.#timeOf(b);
    return difference === 0 ? a < b : difference < 0;
  }

  /** @returns where a seq stands, or would stand. */
  placeOf(seq) {
    let [low, high] = [0, this.seqs.length];
    while (low < high) {
      const middle = (low + high) >> 1;
      if (this.#isBefore(this.seqs[middle], seq)) low = middle + 1;
      else high = middle;
    }
    return low;
  }

  has(seq) {
    return this.seqs[this.placeOf(seq)] === seq;
  }

  /** Adds seqs that it does not have. Most belong at the end. */
  add(added) {
    const late = [];
    for (const seq of added) {
      const last = this.seqs.at(-1);
      if (last === undefined || this.#isBefore(last, seq)) this.seqs.push(seq);
      else late.push(seq);
    }
    if (late.length === 0) return;
    late.sort((a, b) => (this.#isBefore(a, b) ? -1 : 1));
    let next = 0;
    for (const seq of this.seqs.splice(this.placeOf(late[0]))) {
      while (next < late.length && this.#isBefore(late[next], seq)) this.seqs.push(late[next++]);
      this.seqs.push(seq);
    }
    for (; next < late.length; ++next) this.seqs.push(late[next]);
  }

  remove(seq) {
    const place = this.placeOf(seq);
    if (this.seqs[place] === seq) this.seqs.splice(place, 1);
  }

  /** Forgets what has fallen out. */
  keepFrom(first) {
    this.seqs = this.seqs.filter((seq) => seq >= first);
  }
}
