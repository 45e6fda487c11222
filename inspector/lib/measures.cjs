'use strict';

const { createHistogram, monitorEventLoopDelay } = require('node:perf_hooks');

const sampleMilliseconds = 1000;
const mostSamples = 3600;
const binsPerDoubling = 2;
const mostMethods = 200; // names of which there is no end
const bins = 56; // the last one from 2^27 us, two minutes, on

const inMilliseconds = (nanoseconds) => nanoseconds / 1e6;

/** Latencies by method; once a second the numbers of deliveries and the state of the process. */
class Measures {
  #methods = new Map();
  #samples = [];
  #calls = 0;
  #deliveries = 0;
  #delay = monitorEventLoopDelay({ resolution: 10 });
  #timer;
  #end;
  #store;

  constructor(store) {
    this.#store = store;
    this.#end = store.onChange((entry) => this.#note(entry));
    this.#delay.enable();
    this.#timer = setInterval(() => this.#sample(), sampleMilliseconds).unref();
  }

  stop() {
    this.#end();
    clearInterval(this.#timer);
    this.#delay.disable();
  }

  /** @param since leaves out older samples */
  read(since = -1) {
    return {
      methods: [...this.#methods].map(([name, { histogram, fails, counts }]) => ({
        name,
        fails,
        counts,
        count: histogram.count ?? counts.reduce((sum, each) => sum + each, 0),
        p50: inMilliseconds(histogram.percentile(50)),
        p90: inMilliseconds(histogram.percentile(90)),
        p99: inMilliseconds(histogram.percentile(99)),
        max: inMilliseconds(histogram.max),
      })),
      binsPerDoubling,
      samples: this.#samples.filter(({ t }) => t > since),
    };
  }

  #note(entry) {
    if (entry.kind === 'event' || entry.kind === 'task') this.#deliveries += 1;
    if (entry.kind !== 'call' || entry.ms === undefined || entry.isMeasured) return;
    entry.isMeasured = true;
    this.#calls += 1;
    const isNew = !this.#methods.has(entry.name);
    const name = isNew && this.#methods.size >= mostMethods ? '(others)' : entry.name;
    let method = this.#methods.get(name);
    if (!method) {
      const counts = new Array(bins).fill(0);
      method = { histogram: createHistogram(), recent: createHistogram(), fails: 0, counts };
      this.#methods.set(name, method);
    }
    const microseconds = Math.max(1, entry.ms * 1000);
    const nanoseconds = Math.max(1, Math.round(entry.ms * 1e6));
    method.histogram.record(nanoseconds);
    method.recent.record(nanoseconds);
    method.counts[Math.min(bins - 1, Math.floor(Math.log2(microseconds) * binsPerDoubling))] += 1;
    if (entry.outcome !== 'ok') method.fails += 1;
  }

  /** Of the methods that were called in the last second: how often, and percentiles. */
  #recent() {
    const methods = {};
    for (const [name, { recent }] of this.#methods) {
      if (recent.max === 0) continue;
      const [p50, p99] = [50, 99].map((part) => inMilliseconds(recent.percentile(part)));
      methods[name] = { p50, p99 };
      recent.reset();
    }
    return methods;
  }

  #sample() {
    const { rss, heapUsed } = process.memoryUsage();
    this.#samples.push({
      t: Math.round(this.#store.now()),
      calls: this.#calls,
      deliveries: this.#deliveries,
      delay: Math.max(0, inMilliseconds(this.#delay.percentile(99)) - 10),
      rss: rss / 2 ** 20,
      heap: heapUsed / 2 ** 20,
      kept: this.#store.bytes / 2 ** 20,
      methods: this.#recent(),
    });
    if (this.#samples.length > mostSamples) this.#samples.shift();
    this.#calls = 0;
    this.#deliveries = 0;
    this.#delay.reset();
  }
}

module.exports = { Measures };
