'use strict';

/** Something that was subscribed to; ends once, and with `using` at the end of the block. */
class Subscription {
  #end;
  #signal;

  constructor(end) {
    this.#end = end;
  }

  dispose = () => {
    const end = this.#end;
    this.#end = undefined;
    this.#signal?.removeEventListener('abort', this.dispose);
    end?.();
  };

  /** Ends with the signal as well. */
  endWith(signal) {
    if (signal?.aborted) {
      this.dispose();
      return;
    }
    this.#signal = signal;
    onAbort(signal, this.dispose);
  }
}

if (Symbol.dispose) {
  Object.defineProperty(Subscription.prototype, Symbol.dispose, {
    value() {
      this.dispose();
    },
  });
}

function onAbort(signal, end) {
  signal?.addEventListener('abort', end, { once: true });
}

module.exports = { Subscription, onAbort };
