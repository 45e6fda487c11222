import { EventEmitter } from 'node:events';
import type {
  Events,
  Methods,
  MockCommand,
  MockState,
  Settings,
  SyncMethodName,
  TaskMessages,
} from './lib/interface.cjs';

export * from './lib/interface.cjs';

/** A JSON value, as it arrives. */
export type JsonValue = string | number | boolean | null | JsonValue[] | JsonObject;
export interface JsonObject {
  [key: string]: JsonValue | undefined;
}

/** An object that is sent as JSON: a literal, an instance of a class, of an interface's type. */
export interface JsonLike {
  // biome-ignore lint/suspicious/noExplicitAny: what lets interfaces and classes pass
  readonly [key: string]: any;
}

/** The parameters of a method without any. */
export type NoParams = Record<string, never> | undefined;

export type MethodName = keyof Methods;
export type EventName = keyof Events;
export type TaskType = keyof TaskMessages;

/** A request of the office suite to the meeting application. */
export type MeetingMessage = TaskMessages['meetingDataChangeTask'];

/** A reply of the framework; "data" only when there is some. */
export type Reply<Data = JsonObject> =
  | { result: 'ok'; msg: string; data?: Data }
  | { result: 'fail'; msg: string; data?: JsonObject };

export type ReplyOf<M extends MethodName> = Reply<
  Methods[M] extends { raw: infer Raw } ? Raw : Methods[M]['data']
>;

/** The cause of a failure; docs/errors.md explains each code. */
export type ErrorCode =
  // calls
  | 'ZEF_REPLY_FAIL'
  | 'ZEF_UNKNOWN_METHOD'
  | 'ZEF_NOT_THREAD_SAFE'
  | 'ZEF_NOT_RUNNING'
  | 'ZEF_CLOSED'
  | 'ZEF_TIMEOUT'
  | 'ZEF_ABORTED'
  | 'ZEF_BAD_ARGUMENT'
  | 'ZEF_BAD_REPLY'
  | 'ZEF_REPLY_TOO_LONG'
  | 'ZEF_INTERNAL'
  | 'ZEF_UNKNOWN_EVENT'
  | 'ZEF_UNKNOWN_TASK'
  | 'ZEF_TASK_REFUSED'
  // start
  | 'ZEF_SETTINGS'
  | 'ZEF_INIT_REFUSED'
  | 'ZEF_OTHER_SETTINGS'
  | 'ZEF_ACCOUNT_LIBRARY_MISSING'
  | 'ZEF_LOG_LIBRARY_MISSING'
  // loading
  | 'ZEF_PLATFORM'
  | 'ZEF_ADDON_MISSING'
  | 'ZEF_LIBRARY_MISSING'
  | 'ZEF_MOCK_MISSING'
  | 'ZEF_MOCK_REFUSED'
  | 'ZEF_ARCHITECTURE'
  | 'ZEF_GLIBC'
  | 'ZEF_LIBSTDCXX'
  | 'ZEF_QT_VERSION'
  | 'ZEF_QT_MISSING'
  | 'ZEF_DEPENDENCY_MISSING'
  | 'ZEF_NOT_THE_LIBRARY'
  | 'ZEF_OTHER_LIBRARY'
  | 'ZEF_LIBRARY_NAME'
  | 'ZEF_BAD_FILE'
  | 'ZEF_ADDONS_DISABLED'
  | 'ZEF_LOAD';

/** A FrameworkError as plain values. */
export interface SerializedError {
  /** "FrameworkError". */
  name: string;
  /** What happened. */
  code: ErrorCode;
  /** The same in words, for developers. */
  message: string;
  /** The method that was called. */
  method?: string;
  /** The "fail" reply, where there was one. */
  reply?: Reply;
  /** What to do, where that is known. */
  remedy?: string;
}

/** Every failure of this package. */
export class FrameworkError extends Error {
  constructor(
    code: ErrorCode,
    message: string,
    more?: Partial<SerializedError> & { cause?: unknown },
  );
  /** What happened. */
  readonly code: ErrorCode;
  /** The method that was called. */
  readonly method?: string;
  /** The "fail" reply, where there was one. */
  readonly reply?: Reply;
  /** What to do, where that is known. */
  readonly remedy?: string;
  /** Plain values, which survive IPC. */
  toJSON(): SerializedError;
  /** Restores the error from these values, on the other side. */
  static fromJSON(serialized: SerializedError): FrameworkError;
}

/** What `new ElectronFramework()` takes. */
export interface FrameworkOptions {
  /** Uses the mock of the two closed libraries, which is part of the package. */
  mock?: boolean;
  /** Path of the framework library, if not that of the package: a newer one, for example. */
  libraryPath?: string;
  /** Path of the account library, if not in the same folder as the framework library. */
  accountLibrary?: string;
  /** Path of the log library, if not in the same folder as the framework library. */
  logLibrary?: string;
  /** Milliseconds for every call() without a timeout of its own. By default there is no limit. */
  timeout?: number;
}

/** What `on()`, `subscribe()`, `onTask()` and `tasks()` take. */
export interface SignalOptions {
  /** Ends the subscription when it aborts. */
  signal?: AbortSignal;
}

/** What `init()` takes besides the settings. */
export interface InitOptions {
  /** Joins a running framework whatever its settings; starts one if none is running. */
  join?: boolean;
  /** When it aborts, init() rejects with ZEF_ABORTED, and the start is undone. */
  signal?: AbortSignal;
  /** Milliseconds until init() rejects with ZEF_TIMEOUT, and the start is undone. */
  timeout?: number;
}

/** What `call()` takes besides method and parameters. */
export interface CallOptions {
  /** When it aborts, the call rejects with ZEF_ABORTED. */
  signal?: AbortSignal;
  /** Milliseconds until the call rejects with ZEF_TIMEOUT; Infinity: never. */
  timeout?: number;
  /** Resolves to the whole reply, "fail" ones included, with JSON texts in it left as texts. */
  raw?: boolean;
}

type Parameters<M extends MethodName, Options> = undefined extends Methods[M]['params']
  ? [params?: Methods[M]['params'], options?: Options]
  : [params: Methods[M]['params'], options?: Options];

type Raw<Options> = Options & { raw: true };
type NotRaw<Options> = Options & { raw?: false };
/** What `callSync()` takes besides method and parameters. */
export interface SyncOptions {
  /** Returns the whole reply, "fail" ones included, with JSON texts in it left as texts. */
  raw?: boolean;
}

/** What subscribe() and onTask() return; `using` disposes of it at the end of the block. */
export class Subscription {
  private constructor();
  /** Ends the subscription; has no effect when repeated. */
  dispose(): void;
  [Symbol.dispose](): void;
}

/**
 * The framework. A process has it once; objects of this class, in workers too, share it, and the
 * last one to close stops it. Nothing has to be closed for the process to end. Listeners run in the
 * asynchronous context (AsyncLocalStorage) in which they were added.
 */
export class ElectronFramework extends EventEmitter {
  /** Loads nothing; init() does. */
  constructor(options?: FrameworkOptions);

  /** Whether the framework runs: after init() has resolved, until close() is called. */
  readonly running: boolean;

  /**
   * Starts the framework, or joins the one that runs with the same libraries and settings. Starts and
   * stops run one after the other, in the order of the calls of init() and close().
   * @returns this object, once it runs. Rejects with a FrameworkError that says what is missing.
   */
  init(settings: Settings, options?: InitOptions): Promise<this>;

  /**
   * Rejects pending calls with ZEF_CLOSED, ends loops over tasks(), undoes ref(), and stops the
   * framework unless another object uses it. Nothing is delivered any more. Never rejects; may be
   * repeated. A later init() starts again.
   */
  close(): Promise<void>;
  [Symbol.asyncDispose](): Promise<void>;

  /**
   * Runs a method and resolves to its data. A call that is aborted, timed out or closed still runs
   * in the library; only its reply is dropped.
   * @param method "module.method"; the comments of `Methods` say what each one does
   * @param params for a method without parameters nothing or `{}`
   * @returns the data; rejects with a FrameworkError when the reply is "fail", unless `raw` is set
   */
  call<M extends MethodName>(
    method: M,
    params: Methods[M]['params'],
    options: Raw<CallOptions>,
  ): Promise<ReplyOf<M>>;
  call<M extends MethodName>(
    method: M,
    ...rest: Parameters<M, NotRaw<CallOptions>>
  ): Promise<Methods[M]['data']>;
  call<M extends MethodName>(
    method: M,
    params: Methods[M]['params'],
    options: CallOptions,
  ): Promise<Methods[M]['data'] | ReplyOf<M>>;

  /**
   * Runs a thread-safe method on this thread, which blocks until the method returns.
   * @throws FrameworkError when call() would reject with it
   */
  callSync<M extends SyncMethodName>(
    method: M,
    params: Methods[M]['params'],
    options: Raw<SyncOptions>,
  ): ReplyOf<M>;
  callSync<M extends SyncMethodName>(
    method: M,
    ...rest: Parameters<M, NotRaw<SyncOptions>>
  ): Methods[M]['data'];
  callSync<M extends SyncMethodName>(
    method: M,
    params: Methods[M]['params'],
    options: SyncOptions,
  ): Methods[M]['data'] | ReplyOf<M>;

  /**
   * Listeners may be added before init() and stay. Undelivered events of the same name are merged
   * into one. All other functions of an EventEmitter are there as well.
   */
  on(event: EventName, listener: () => void, options?: SignalOptions): this;
  once(event: EventName, listener: () => void, options?: SignalOptions): this;
  off(event: EventName, listener: () => void): this;
  addListener(event: EventName, listener: () => void, options?: SignalOptions): this;
  prependListener(event: EventName, listener: () => void, options?: SignalOptions): this;
  prependOnceListener(event: EventName, listener: () => void, options?: SignalOptions): this;
  removeListener(event: EventName, listener: () => void): this;
  removeAllListeners(event?: EventName): this;
  listenerCount(event: EventName): number;
  emit(event: EventName): boolean;

  /** Like on(), but returns a Subscription, for `using`. */
  subscribe(event: EventName, listener: () => void, options?: SignalOptions): Subscription;

  /**
   * Listens to task messages until disposed of. May be called before init(), so that none is missed.
   * While more than 64 MB of messages are queued, further ones are dropped with a process warning of
   * the code ZEF_DROPPED.
   */
  onTask<T extends TaskType>(
    type: T,
    listener: (message: TaskMessages[T]) => void,
    options?: SignalOptions,
  ): Subscription;

  /**
   * Task messages for `for await`, from now on. The loop ends with `break`, its signal or close().
   * It queues up to 64 MB of messages; further ones are dropped with a process warning of the code
   * ZEF_DROPPED. Like a listener it does not keep the process running: see ref().
   */
  tasks<T extends TaskType>(
    type: T,
    options?: SignalOptions,
  ): AsyncIterableIterator<TaskMessages[T]>;

  /**
   * Keeps the process running for events and task messages, until unref() or close(). Without it only
   * pending calls do.
   */
  ref(): this;
  /** Undoes ref(). */
  unref(): this;
}

/** Something that diagnose() found missing or unusable. */
export interface Finding {
  /** With warnings only, the framework can still start. */
  severity: 'error' | 'warning';
  /** What it is. */
  code: ErrorCode;
  /** The same in words. */
  message: string;
  /** What to do, where that is known. */
  remedy?: string;
}

/** The result of diagnose(). A path or a version that is absent was not found. */
export interface Diagnosis {
  /** Whether the framework can start: there are no findings except warnings. */
  ok: boolean;
  /** For example "linux-x64". */
  platform: string;
  /** Name and version of the system. */
  system: string;
  /** Version of Node.js. */
  node: string;
  /** Version of Electron, in Electron. */
  electron?: string;
  /** Highest version of Node-API that the runtime offers. */
  napi?: string;
  /** Path of the addon. */
  addon?: string;
  /** Path of the framework library. */
  framework?: string;
  /** Path of the log library, or of its mock. */
  logLibrary?: string;
  /** Path of the account library, or of its mock. */
  accountLibrary?: string;
  /** Versions of the C library. */
  glibc?: { found: string; needed?: string };
  /** Versions of GLIBCXX: 3.4.25 is the libstdc++ of GCC 8. */
  libstdcxx?: { found?: string; needed?: string };
  /** Versions of Qt. */
  qt?: { found?: string; needed?: string };
  /** The GLib that was in the process before Qt, as in Electron. */
  glib?: { loadedBefore: boolean; path?: string };
  /** What is missing, in the order of the checks. */
  findings: Finding[];
}

/** The version of the package and of the framework library in it. */
export const frameworkVersion: string;

/** Reports which parts of the library and its dependencies were found. Starts and throws nothing. */
export function diagnose(options?: FrameworkOptions): Diagnosis;

/** The result of doctor(). */
export interface Examination extends Diagnosis {
  /** The result of a start with the mock, when the options request the mock. */
  roundTrip?: string;
  /** All findings as readable text, as `npx zelectronframework doctor` prints it. */
  text: string;
}

/**
 * A readable diagnosis from inside a process, for example Electron's main process. With the option
 * `mock` it starts the framework with the mock, makes a call and stops it; from then on the process
 * has the mock as its account library. Never rejects.
 */
export function doctor(options?: FrameworkOptions): Promise<Examination>;

/**
 * What the channels `tracing:zelectronframework.call:*` of `node:diagnostics_channel` publish: one
 * object for each call. It contains secrets; see mask().
 */
export interface CallContext {
  /** Unique; a second answer is published on `zelectronframework:late` with this id. */
  id: number;
  /** Id of the run, unique in the process. */
  instance?: number;
  method: string;
  mode: 'sync' | 'async';
  /** JSON as sent; undefined when nothing was sent. */
  params?: string;
  signal?: AbortSignal;
  timeout?: number;
  /** JSON as it came. */
  reply?: string;
  result?: unknown;
  error?: Error;
}

/** `tracing:zelectronframework.init:*` */
export interface InitContext {
  id: number;
  instance?: number;
  settings?: string;
  reply?: string;
  result?: unknown;
  error?: Error;
}

/** `zelectronframework:event` */
export interface EventContext {
  instance: number;
  name: EventName;
  /** Number of events that were merged into this one, itself included. */
  count: number;
}

/** `zelectronframework:task` */
export interface TaskContext {
  instance: number;
  type: TaskType;
  /** JSON as it came. */
  text: string;
}

/** `zelectronframework:late`: a second reply, or one after the call had ended. */
export interface LateContext {
  id: number;
  reply: string;
}

/**
 * A copy of a context without its secrets, for programs that show or keep it. Secrets are the values
 * that the interface marks as secret and all undescribed ones in parameters, replies and messages of
 * the account library. They are also replaced in the rest of the reply and in error messages.
 * @param replace returns the replacement of a value, `***` by default
 */
export function mask<Context extends object>(
  context: Context,
  replace?: (name: string, value: string) => string,
): Context;

/**
 * Controls the mock of the closed libraries, of which a process has one.
 * @throws FrameworkError ZEF_MOCK_MISSING when it was not loaded, ZEF_MOCK_REFUSED when it does not
 * know the command, or when nothing is registered for it
 */
export function mock(command?: MockCommand): MockState;
