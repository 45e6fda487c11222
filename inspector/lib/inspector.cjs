'use strict';

const { isMainThread } = require('node:worker_threads');
const { Calls } = require('./calls.cjs');
const { parsed } = require('./compare.cjs');
const { description } = require('./description.cjs');
const { HeadStream, headOf } = require('./heads.cjs');
const { Learning } = require('./learning.cjs');
const { LogTies } = require('./logties.cjs');
const { Measures } = require('./measures.cjs');
const { MockLog } = require('./mocklog.cjs');
const { MockPanel, isMock, mockState } = require('./mockpanel.cjs');
const { answerOf } = require('./mockscript.cjs');
const { previewOf } = require('./previews.cjs');
const { Recorder } = require('./recorder.cjs');
const { ReplayApart } = require('./replayapart.cjs');
const { Search } = require('./search.cjs');
const { Secrets } = require('./secrets.cjs');
const { Refusal, Server } = require('./server.cjs');
const { slices } = require('./slices.cjs');
const { Store } = require('./store.cjs');
const { Watch } = require('./watch.cjs');

const version = require('zelectronframework/package.json').version;
const mostHeads = 5000;
const mostPreviews = 200;

const number = (text, otherwise) => (/^\d{1,15}$/.test(text ?? '') ? Number(text) : otherwise);

/** @returns the texts of a JSON list */
function listOf(text) {
  try {
    return JSON.parse(text).map(String);
  } catch {
    throw new Refusal(400, 'a JSON list of texts is needed');
  }
}

/** The application's stack frames of a call, without those of the package above them. */
function framesOf({ stack }) {
  const frames = stack.split('\n').slice(1);
  const first = frames.findIndex(
    (frame) => !/diagnostics_channel|ElectronFramework\.|Trace\./.test(frame),
  );
  return frames.slice(Math.max(0, first)).map((frame) => frame.trim());
}

/** The inspector of this thread's frameworks: its entries and the requests of its page. */
class Inspector {
  #framework;
  #options;
  #secrets = new Secrets();
  #learning;
  #calls;
  #store;
  #watch;
  #measures;
  #server;
  #streams = new Set();
  #log;
  #ties = new LogTies();
  #search;
  #unfollow;
  #mock;
  #recorder;
  #replay = new ReplayApart();

  constructor(framework, options = {}) {
    this.#framework = framework;
    this.#options = options;
    this.#store = new Store({
      bytes: options.memoryBytes,
      onLoss: (entry) => this.#learning.beforeLossOf(entry),
    });
    this.#learning = new Learning(this.#store, this.#secrets);
    this.#calls = new Calls(framework, this.#store);
    this.#secrets.state(options.settings ?? {}); // an init that was not seen was given these
    this.#mock = new MockPanel(this.#store, this.#secrets);
    this.#recorder = new Recorder(this.#store, this.#secrets, options);
    this.#search = new Search(this.#store, this.#secrets);
    this.#server = new Server({
      reads: this.#reads(),
      actions: this.#actions(),
      stream: (response, query) => this.#stream(response, query),
    });
    this.#watch = new Watch(this.#store, { where: options.where });
    this.#measures = new Measures(this.#store);
    if (!isMainThread) this.#note('attached in a worker: calls of other threads are not seen here');
    this.#followLog();
  }

  async listen(port) {
    try {
      this.url = await this.#server.listen(port);
      return this;
    } catch (error) {
      this.close(); // nobody could see what it watches
      throw error;
    }
  }

  close() {
    this.#unfollow();
    this.#watch.stop();
    this.#measures.stop();
    this.#log?.stop();
    this.#mock.close();
    this.#replay.close();
    for (const stream of this.#streams) stream.close();
    this.#calls.close();
    this.#server.close();
  }

  #note(text) {
    this.#store.add({ kind: 'note', name: 'inspector', text });
  }

  // Log lines can be read when the log library is the mock and the framework runs.
  #followLog() {
    const look = () => {
      if (this.#log || !this.#framework.running || !mockState()) return;
      const { path: folder } = this.#watch.muted(() =>
        this.#framework.callSync('utils.getLogPath'),
      );
      this.#log = new MockLog(folder, this.#store.startedAt, (line) => this.#takeLine(line));
    };
    this.#unfollow = this.#store.onChange((entry) => {
      this.#ties.note(entry);
      if (entry.name !== 'init' || entry.outcome === 'open') return;
      this.#tell({ session: this.#changing() });
      setImmediate(look);
    });
    look();
  }

  #takeLine({ time, level, thread, module, message }) {
    const t = time - this.#store.startedAt;
    const isOfMain = thread === process.pid;
    const call = isOfMain === isMainThread ? this.#ties.callOf(t, message) : undefined;
    // Lines of the framework begin with the name of one of its functions, never with a value.
    const [word] = module === 'zelectronframework' ? (/^[A-Za-z]+/.exec(message) ?? []) : [];
    this.#store.add({
      t: Math.max(t, call?.at ?? t), // the two clocks are not quite the same
      kind: 'log',
      name: word ?? module,
      of: call?.seq,
      outcome: level.toLowerCase(),
      thread: isOfMain ? 0 : thread,
      text: message,
    });
  }

  // ---- what leaves the process

  #shown(entry) {
    const { where, isMeasured: _, ...masked } = this.#secrets.masked(entry);
    const frames = where && framesOf(where);
    const reply = entry.kind === 'call' && parsed(masked.reply);
    const mockAnswer = reply?.result && answerOf(entry.name, reply);
    return { ...masked, where: frames, mockAnswer };
  }

  async #entry({ seq }) {
    await this.#learning.all();
    const entry = this.#store.get(number(seq, -1));
    if (!entry) throw new Refusal(404, 'this entry has fallen out');
    return this.#shown(entry);
  }

  #heads({ from, to }) {
    const first = Math.max(this.#store.first, number(from, 0));
    const end = Math.min(this.#store.next, number(to, this.#store.next), first + mostHeads);
    const heads = [];
    for (let seq = first; seq < end; ++seq) heads.push(headOf(this.#store.get(seq)));
    return { first: this.#store.first, next: this.#store.next, heads };
  }

  async #find({ words = '[]', from, open = '' }) {
    await this.#learning.all();
    const seqs = open.split(',').map((seq) => number(seq, -1));
    return this.#search.find(listOf(words), number(from, 0), seqs);
  }

  async #previews({ seqs = '' }) {
    await this.#learning.all();
    const otherThings = slices();
    const previews = [];
    for (const seq of seqs.split(',', mostPreviews)) {
      await otherThings();
      const entry = this.#store.get(number(seq, -1));
      if (entry) previews.push({ seq: entry.seq, ...previewOf(this.#secrets.masked(entry)) });
    }
    return { previews };
  }

  #reveal({ value }) {
    const secret = this.#secrets.reveal(value);
    if (secret === undefined) throw new Refusal(404, 'not known any more');
    return { value: secret };
  }

  #state() {
    return {
      description,
      version,
      ...this.#changing(),
      startedAt: this.#store.startedAt,
      isReadOnly: Boolean(this.#options.readOnly),
      hasFolder: this.#options.recordings !== undefined,
      subscribed: this.#calls.subscribed,
      process: `${process.title.replace(/^.*\//, '')} ${process.pid}`,
    };
  }

  /** The part of the state that changes while a page is open. */
  #changing() {
    return {
      running: this.#framework.running,
      isMock: isMock(this.#framework.running),
      isRecording: this.#recorder.isRecording,
    };
  }

  #stream(response, { from }) {
    const hello = this.#state();
    const stream = new HeadStream(this.#store, response, { from: number(from), hello });
    this.#streams.add(stream);
    response.on('close', () => this.#streams.delete(stream));
  }

  #tell(message) {
    for (const stream of this.#streams) stream.send(message);
  }

  /** Subscribes to all events and task types, for a program without listeners of its own. */
  subscribeAll() {
    this.#calls.subscribeAll();
  }

  // ---- recordings

  #startRecording() {
    this.#recorder.start(this.#framework.running);
    this.#tell({ session: this.#changing() });
  }

  #stopRecording(body) {
    return this.#recorder.stop(body, {
      isRunning: this.#framework.running,
      learn: () => this.#learning.all(),
      ended: () => this.#tell({ session: this.#changing() }),
    });
  }

  // ---- what the page may ask

  #reads() {
    return new Map([
      ['/api/entry', (query) => this.#entry(query)],
      ['/api/heads', (query) => this.#heads(query)],
      ['/api/previews', (query) => this.#previews(query)],
      ['/api/search', (query) => this.#find(query)],
      ['/api/measures', ({ since }) => this.#measures.read(number(since, -1))],
      ['/api/mock', () => this.#mock.read()],
    ]);
  }

  #actions() {
    const actions = new Map([['/api/reveal', (body) => this.#reveal(body)]]);
    const changing = {
      run: (body) =>
        this.#calls.run({
          ...body,
          params: this.#secrets.withSecrets(body.params ?? null) ?? undefined,
        }),
      abort: (body) => this.#calls.abort(body),
      subscribe: (body) => this.#calls.subscribe(body),
      mock: (body) => this.#mock.tell(body),
      cancelPlan: (body) => this.#mock.cancel(body),
      startRecording: () => this.#startRecording(),
      stopRecording: (body) => this.#stopRecording(body),
      replay: (body, gone) => this.#replay.run(body, gone),
    };
    const refused = () => {
      throw new Refusal(403, 'the inspector is read-only');
    };
    for (const [name, run] of Object.entries(changing)) {
      const told = async (body, gone) => {
        try {
          return await run(body, gone);
        } catch (error) {
          // What the framework or the mock says is for the user, not a fault of ours.
          throw error.code?.startsWith('ZEF_') ? new Refusal(409, error.message) : error;
        }
      };
      actions.set(`/api/${name}`, this.#options.readOnly ? refused : told);
    }
    return actions;
  }
}

module.exports = { Inspector };
