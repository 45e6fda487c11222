'use strict';

/** Something that was subscribed to; ends once, with its signal, and with `using` at the end of the block. */
class Subscription {
  #end;
  #signal;

  /** \param begin is called, and afterwards `end`, unless the signal is aborted already. */
  constructor(end, signal, begin) {
    if (signal?.aborted) return;
    begin();
    this.#end = end;
    this.#signal = signal;
    signal?.addEventListener('abort', this.dispose, { once: true });
  }

  dispose = () => {
    const end = this.#end;
    this.#end = undefined;
    this.#signal?.removeEventListener('abort', this.dispose);
    end?.();
  };
}

if (Symbol.dispose) {
  Object.defineProperty(Subscription.prototype, Symbol.dispose, {
    value() {
      this.dispose();
    },
  });
}

module.exports = { Subscription };
