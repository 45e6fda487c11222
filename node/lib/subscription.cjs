'use strict';

/** A subscription. It ends once; declared with `using`, at the end of the block. */
class Subscription {
  #end;

  constructor(end) {
    this.#end = end;
  }

  dispose = () => {
    const end = this.#end;
    this.#end = undefined;
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
