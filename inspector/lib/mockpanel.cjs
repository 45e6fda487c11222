'use strict';

const { mock } = require('zelectronframework');
const { Refusal } = require('./server.cjs');

const mostMilliseconds = 2 ** 31 - 1; // of a timer; what is longer would be due at once
const mostPlans = 1000;

/** @returns what the mock knows; undefined when the account library is not the mock. */
function mockState() {
  try {
    return mock();
  } catch {
    return undefined;
  }
}

/** Whether the account library that runs, or that ran last, is the mock. */
function isMock(isRunning) {
  const state = mockState();
  return state !== undefined && (state.running || !isRunning);
}

/** What the page tells the mock, at once or later. */
class MockPanel {
  #store;
  #secrets;
  #plans = new Map(); // what the mock is to do later: id -> { at, command, timer }
  #lastPlan = 0;
  #scripted = new Map(); // operation -> the steps that it was told here last

  constructor(store, secrets) {
    this.#store = store;
    this.#secrets = secrets;
  }

  close() {
    for (const { timer } of this.#plans.values()) clearTimeout(timer);
    this.#plans.clear();
  }

  read() {
    const state = mockState();
    if (!state) throw new Refusal(409, 'the account library is not the mock');
    const plans = [...this.#plans].map(([id, { at, command }]) => ({
      id,
      in: at - Date.now(),
      command: this.#secrets.state(command),
    }));
    return { state: this.#secrets.state(state), plans, steps: this.#stepsLeft(state.scripts) };
  }

  tell({ command, afterMs = 0 }) {
    if (typeof command !== 'object' || command === null) {
      throw new Refusal(400, 'a command is needed: a JSON object');
    }
    if (!(afterMs >= 0 && afterMs <= mostMilliseconds)) {
      throw new Refusal(400, `afterMs is a number from 0 to ${mostMilliseconds}`);
    }
    if (afterMs > 0) this.#plan(command, afterMs);
    else this.#carryOut(command);
    return this.read();
  }

  cancel({ id }) {
    clearTimeout(this.#plans.get(id)?.timer);
    this.#plans.delete(id);
    return this.read();
  }

  /** The remaining steps by operation, without those that the application scripted itself. */
  #stepsLeft(scripts) {
    const steps = {};
    for (const [operation, told] of this.#scripted) {
      const all = told.reduce((sum, { count }) => sum + count, 0);
      let done = all - (scripts[operation] ?? 0);
      if (done >= 0) steps[operation] = [];
      else this.#scripted.delete(operation);
      for (const step of done >= 0 ? told : []) {
        const count = step.count - Math.max(0, done);
        if (count > 0) steps[operation].push({ ...step, count });
        done -= step.count;
      }
    }
    return this.#secrets.state(steps);
  }

  #plan(command, afterMs) {
    if (this.#plans.size >= mostPlans)
      throw new Refusal(409, 'too many things are planned already');
    const id = ++this.#lastPlan;
    const due = () => {
      this.#plans.delete(id);
      try {
        this.#carryOut(command);
      } catch (error) {
        this.#store.add({ kind: 'note', name: 'mock', text: error.message });
      }
    };
    const timer = setTimeout(due, afterMs).unref();
    this.#plans.set(id, { at: Date.now() + afterMs, command, timer });
  }

  #carryOut(command) {
    const known = this.#secrets.withSecrets(command);
    mock(known);
    for (const [operation, steps] of Object.entries(command.script ?? {})) {
      if (!Array.isArray(steps)) this.#scripted.delete(operation);
      else
        this.#scripted.set(
          operation,
          steps.map((step) => ({ count: 1, ...step })),
        );
    }
    const name = Object.keys(command).join(', ');
    this.#store.add({ kind: 'mock', name, text: JSON.stringify(known) });
  }
}

module.exports = { MockPanel, isMock, mockState };
