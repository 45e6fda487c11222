'use strict';

// The diagnostics channels of the package. They are referenced here, because an unreferenced
// channel is garbage-collected together with its subscribers.

const { channel } = require('node:diagnostics_channel');

/**
 * A traced operation: five channels, one context object for each run of it. Writing to that object must
 * not throw, even if a subscriber has frozen it.
 */
class Trace {
  #start;
  #end;
  #asyncStart;
  #asyncEnd;
  #error;

  constructor(name) {
    const part = (which) => channel(`tracing:zelectronframework.${name}:${which}`);
    this.#start = part('start');
    this.#end = part('end');
    this.#asyncStart = part('asyncStart');
    this.#asyncEnd = part('asyncEnd');
    this.#error = part('error');
  }

  /** Checks each channel: hasSubscribers of a TracingChannel differs between Node.js versions. */
  get isWatched() {
    return (
      this.#start.hasSubscribers ||
      this.#end.hasSubscribers ||
      this.#asyncStart.hasSubscribers ||
      this.#asyncEnd.hasSubscribers ||
      this.#error.hasSubscribers
    );
  }

  /** Traces a function that returns a promise, and returns that same promise. */
  async(context, run) {
    this.#start.publish(context);
    const promise = run(context);
    this.#end.publish(context);
    const settled = () => {
      this.#asyncStart.publish(context);
      this.#asyncEnd.publish(context);
    };
    promise.then(
      (result) => {
        Reflect.set(context, 'result', result);
        settled();
      },
      (error) => {
        Reflect.set(context, 'error', error);
        this.#error.publish(context);
        settled();
      },
    );
    return promise;
  }

  sync(context, run) {
    this.#start.publish(context);
    try {
      const result = run(context);
      Reflect.set(context, 'result', result);
      return result;
    } catch (error) {
      Reflect.set(context, 'error', error);
      this.#error.publish(context);
      throw error;
    } finally {
      this.#end.publish(context);
    }
  }
}

module.exports = {
  calls: new Trace('call'),
  starts: new Trace('init'),
  heardEvents: channel('zelectronframework:event'),
  heardTasks: channel('zelectronframework:task'),
  lateReplies: channel('zelectronframework:late'),
};
