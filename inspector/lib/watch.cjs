'use strict';

const { channel } = require('node:diagnostics_channel');
const { threadId } = require('node:worker_threads');

// Referenced here: an unreferenced channel is garbage-collected together with its subscribers.
const trace = (name) =>
  Object.fromEntries(
    ['start', 'end', 'asyncStart'].map((part) => [
      part,
      channel(`tracing:zelectronframework.${name}:${part}`),
    ]),
  );
const channels = {
  call: trace('call'),
  init: trace('init'),
  event: channel('zelectronframework:event'),
  task: channel('zelectronframework:task'),
  late: channel('zelectronframework:late'),
};

const framesKept = 12; // the first few are those of the package

/** Where in the application a call comes from. The text is made when somebody looks at it. */
function callSite(below) {
  const limit = Error.stackTraceLimit;
  Error.stackTraceLimit = framesKept;
  const site = {};
  Error.captureStackTrace(site, below);
  Error.stackTraceLimit = limit;
  return site;
}

function outcomeOf({ error, result, reply }) {
  if (error) return error.code === 'ZEF_REPLY_FAIL' ? 'fail' : (error.code ?? 'error');
  if (result?.result !== 'fail') return 'ok';
  // Either a raw reply that failed, or data that has such a member.
  return /"result":"fail"[,}]/.test(reply ?? '') ? 'fail' : 'ok';
}

/** Writes what this thread's frameworks publish into a store, from now until stop(). */
class Watch {
  #store;
  #isMuted = false;
  #subscriptions = [];
  #contexts = new WeakMap(); // context -> entry, until the call has ended

  constructor(store, { where = true } = {}) {
    this.#store = store;
    const begin = (context) => {
      if (this.#isMuted) return;
      const { id, method = 'init', mode = 'async', instance, params, settings } = context;
      const entry = { kind: 'call', name: method, id, mode, instance, thread: threadId };
      entry.params = params ?? settings;
      entry.outcome = 'open';
      entry.answers = 0;
      if (where) entry.where = callSite(begin);
      this.#contexts.set(context, this.#store.add(entry));
    };
    const finish = (context) => this.#finish(context);
    const finishSync = (context) => {
      if (context.mode === 'sync') this.#finish(context);
    };
    for (const { start, end, asyncStart } of [channels.call, channels.init]) {
      this.#subscribe(start, begin);
      this.#subscribe(end, finishSync);
      this.#subscribe(asyncStart, finish);
    }
    const note = (entry) => this.#store.add({ thread: threadId, ...entry });
    this.#subscribe(channels.event, ({ instance, name, count }) =>
      note({ kind: 'event', name, instance, times: count > 1 ? count : undefined }),
    );
    this.#subscribe(channels.task, ({ instance, type, text }) =>
      note({ kind: 'task', name: type, instance, text }),
    );
    this.#subscribe(channels.late, ({ id, reply }) => this.#late(id, reply));
  }

  /** Runs a function without adding entries for it. */
  muted(run) {
    this.#isMuted = true;
    try {
      return run();
    } finally {
      this.#isMuted = false;
    }
  }

  stop() {
    for (const [watched, listener] of this.#subscriptions) watched.unsubscribe(listener);
    this.#subscriptions = [];
  }

  #subscribe(watched, listener) {
    watched.subscribe(listener);
    this.#subscriptions.push([watched, listener]);
  }

  #finish(context) {
    const entry = this.#contexts.get(context);
    if (!entry) return;
    this.#contexts.delete(context);
    const { reply, error } = context;
    this.#store.update(entry, {
      ms: this.#store.now() - entry.t,
      outcome: outcomeOf(context),
      answers: entry.answers + (reply === undefined ? 0 : 1), // a second one may have been faster
      reply: entry.name === 'init' ? undefined : reply,
      error: error && String(error.message ?? error),
      instance: context.instance ?? entry.instance,
    });
  }

  #late(id, reply) {
    const call = this.#store.call(id);
    if (call) this.#store.update(call, { answers: call.answers + 1 });
    const name = call?.name ?? 'unknown call';
    this.#store.add({ kind: 'late', name, of: call?.seq, thread: threadId, reply });
  }
}

module.exports = { Watch };
