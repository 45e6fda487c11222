'use strict';

const { EventEmitter } = require('node:events');
const { FrameworkError } = require('./errors.cjs');
const { events } = require('./methods.cjs');
const { checkedOptions, checkListener } = require('./options.cjs');
const { Subscription } = require('./subscription.cjs');

/** Events that every emitter has; they come from the emitter itself. */
const emitterEvents = new Set(['error', 'newListener', 'removeListener']);

/** An emitter of the framework's events, whose registrations may end with a signal. */
class FrameworkEmitter extends EventEmitter {
  #changed;
  #releases = new WeakMap(); // listener with a signal -> function that lets the signal go

  /** \param changed is told the event whose listeners may have changed. */
  constructor(changed) {
    super();
    this.#changed = changed;
  }

  on(event, listener, options) {
    const signal = this.#checked('on', event, listener, options);
    if (!signal?.aborted) {
      super.on(event, signal ? this.#withSignal(event, listener, signal, false) : listener);
      this.#changed(event);
    }
    return this;
  }

  once(event, listener, options) {
    const signal = this.#checked('once', event, listener, options);
    if (!signal) return super.once(event, listener); // through on()
    return signal.aborted ? this : this.on(event, this.#withSignal(event, listener, signal, true));
  }

  addListener(event, listener, options) {
    return this.on(event, listener, options);
  }

  prependListener(event, listener) {
    this.#checked('prependListener', event, listener);
    super.prependListener(event, listener);
    this.#changed(event);
    return this;
  }

  off(event, listener) {
    const isRemoved = (each) => each === listener || each.listener === listener;
    const removed = this.rawListeners(event).findLast(isRemoved);
    super.removeListener(event, listener);
    this.#releases.get(removed)?.();
    this.#changed(event);
    return this;
  }

  removeListener(event, listener) {
    return this.off(event, listener);
  }

  removeAllListeners(...names) {
    for (const event of names.length > 0 ? names : this.eventNames()) {
      for (const listener of this.rawListeners(event)) this.#releases.get(listener)?.();
    }
    super.removeAllListeners(...names);
    for (const event of events) this.#changed(event);
    return this;
  }

  subscribe(event, listener, options) {
    const signal = this.#checked('subscribe', event, listener, options);
    const own = (...values) => listener(...values); // the same listener may subscribe again
    return new Subscription(
      () => this.off(event, own),
      signal,
      () => this.on(event, own),
    );
  }

  /** \returns the signal. */
  #checked(where, event, listener, options) {
    if (!events.has(event) && !emitterEvents.has(event)) {
      throw new FrameworkError('ZEF_UNKNOWN_EVENT', `there is no event ${String(event)}`);
    }
    checkListener(where, listener);
    return checkedOptions(where, 'listener', options).signal;
  }

  /** A listener of its own for each registration, which off(listener) finds as it finds one of once. */
  #withSignal(event, listener, signal, isOnce) {
    const own = (...values) => {
      if (isOnce) this.off(event, own);
      return Reflect.apply(listener, this, values);
    };
    own.listener = listener;
    const end = () => this.off(event, own);
    signal.addEventListener('abort', end, { once: true });
    this.#releases.set(own, () => signal.removeEventListener('abort', end));
    return own;
  }
}

module.exports = { FrameworkEmitter };
