'use strict';

const { AsyncResource } = require('node:async_hooks');
const { EventEmitter } = require('node:events');
const { FrameworkError } = require('./errors.cjs');
const { whenAborted } = require('./limits.cjs');
const { events } = require('./methods.cjs');
const { didYouMean, shown } = require('./names.cjs');
const { checkedOptions, checkListener } = require('./options.cjs');
const { Subscription } = require('./subscription.cjs');

/** Events that every emitter has; they come from the emitter itself. */
const emitterEvents = new Set(['error', 'newListener', 'removeListener']);

/**
 * An emitter of the framework's events. A registration may end with a signal, and its listener runs in
 * the asynchronous context in which it was registered.
 */
class FrameworkEmitter extends EventEmitter {
  #changed;
  #releases = new WeakMap(); // registered function -> function that removes its abort listener

  /** @param changed is told the event whose listeners may have changed. */
  constructor(changed) {
    super();
    this.#changed = changed;
  }

  on(event, listener, options) {
    return this.#add('on', event, listener, options);
  }

  addListener(event, listener, options) {
    return this.#add('addListener', event, listener, options);
  }

  once(event, listener, options) {
    return this.#add('once', event, listener, options);
  }

  prependListener(event, listener, options) {
    return this.#add('prependListener', event, listener, options);
  }

  prependOnceListener(event, listener, options) {
    return this.#add('prependOnceListener', event, listener, options);
  }

  off(event, listener) {
    checkListener('off', listener);
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
    checkListener('subscribe', listener);
    const own = (...values) => listener(...values); // the same listener may subscribe again
    this.#add('subscribe', event, own, options);
    return new Subscription(() => this.off(event, own));
  }

  /** @returns the signal. */
  #checked(where, event, listener, options) {
    if (!events.has(event) && !emitterEvents.has(event)) {
      const message = `there is no event ${shown(event)}${didYouMean(event, events)}`;
      throw new FrameworkError('ZEF_UNKNOWN_EVENT', message);
    }
    checkListener(where, listener);
    return checkedOptions(where, 'listener', options).signal;
  }

  /** Each registration has its own function, which off(listener) finds by its property `listener`. */
  #add(where, event, listener, options) {
    const signal = this.#checked(where, event, listener, options);
    if (signal?.aborted) return this;
    const isOnce = /once/i.test(where);
    const end = () => this.off(event, own);
    const own = AsyncResource.bind((...values) => {
      if (isOnce) end();
      return Reflect.apply(listener, this, values);
    });
    own.listener = listener;
    if (signal) this.#releases.set(own, whenAborted(signal, end));
    if (where.startsWith('prepend')) super.prependListener(event, own);
    else super.on(event, own);
    this.#changed(event);
    return this;
  }
}

module.exports = { FrameworkEmitter };
