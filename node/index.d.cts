import { EventEmitter } from 'node:events';

export type JsonValue = string | number | boolean | null | JsonValue[] | JsonObject;
export interface JsonObject {
  [key: string]: JsonValue | undefined;
}

/** What a method without parameters takes. */
export type NoParams = Record<string, never> | undefined;

/** One known account. The three optional keys belong to the current one. */
export interface AccountEntry {
  is_company_account: boolean;
  is_current: boolean;
  is_login: boolean;
  need_tfa: boolean;
  userid: string;
  nickname: string;
  avatar_url: string;
  company_id: string;
  company_name: string;
  company_logo: string;
  company_custom_domain: string;
  status: string;
  session_status: string;
  reason: string;
  loginmode: string;
  logout_reason: string;
  link_text: string;
  link_url: string;
  login_account_limit: number;
  keep_online?: boolean;
  reg_time?: string;
  coa_Id?: string;
}

/** The one entry of the list while no account is known; its texts may be empty. */
export interface NoAccountEntry {
  userid: string;
  coa_Id: string;
  company_id: string;
  is_current?: undefined;
  is_login?: undefined;
  nickname?: undefined;
}

/** A cookie, ready to be set in a web view. */
export interface CookieEntry {
  name: string;
  value: string;
  httpOnly: boolean;
  secure: boolean;
  path: string;
  domain: string;
  url: string;
  sameSite: 'no_restriction';
}

/** 1 is the system's configuration, 2 HTTP, 3 SOCKS5, any other number none. */
export interface ProxySettings {
  proxyType?: number;
  proxyHost?: string;
  proxyPort?: number;
  proxyUser?: string;
  proxyPassWord?: string;
}

/** What a service handed out. */
export interface Answer<Value = string> {
  result: 'ok';
  data: Value;
}

/** Answered by the account library, in its own words. */
interface PassedOn {
  params: JsonObject | undefined;
  data: JsonObject | undefined;
}

/** Every method: what it takes, what it gives, and its data in a raw reply where that differs. */
export interface Methods {
  'utils.getLogPath': { params: NoParams; data: { path: string } };

  'account.loginCallback': PassedOn;
  'account.quickLogin': {
    params: { extParam?: JsonObject; keepOnline?: boolean; userId?: string } | undefined;
    data: JsonObject | undefined;
  };
  'account.loginWithSsid': PassedOn;
  'account.loginWithRandcode': PassedOn;
  'account.logout': PassedOn;
  'account.switchAccount': PassedOn;
  'account.upgradeAccount': PassedOn;
  'account.downgradeAccount': PassedOn;
  'account.updateAccountInfo': PassedOn;
  'account.getUrlWithAuthorizeCode': PassedOn;
  'account.getOfficeUserInfo': { params: NoParams; data: JsonObject };
  'account.getAccountListInfo': {
    params: NoParams;
    data: { accountListInfo: (AccountEntry | NoAccountEntry)[] };
    raw: { accountListInfo: string[] };
  };
  'account.queryWebviewCookies': {
    params: { url: string };
    data: { cookieList: CookieEntry[] };
    raw: { cookieList: string[] };
  };
  'account.getJwkPublicKeyStr': { params: NoParams; data: Answer };
  'account.signPopToken': {
    params: { method: string; uri: string; cv: string };
    data: Answer;
  };
  'account.signLoginData': { params: { signData: string }; data: Answer };
  'account.generatePKCEParam': {
    params: NoParams;
    data: Answer<{ code_verifier: string; code_challenge: string }>;
  };

  'meeting.changeMeetingStatus': {
    params: { event: string; busyType: string; data: JsonObject };
    data: undefined;
  };

  'network.updateProxyInfo': { params: ProxySettings; data: { result: 'ok' } };
  'network.setCustomDomain': { params: Record<string, string>; data: { result: 'ok' } };

  'accessbase.getDeviceInfo': { params: NoParams; data: Answer };
  'accessbase.getDeviceNetworkStatus': { params: NoParams; data: Answer };
  'accessbase.getDeviceHeader': { params: { deviceCode: JsonObject }; data: Answer };
}

export type MethodName = keyof Methods;

/** The methods that run on the caller's thread as well. */
export type SyncMethodName =
  | 'utils.getLogPath'
  | 'account.queryWebviewCookies'
  | 'account.getJwkPublicKeyStr'
  | 'account.signPopToken'
  | 'account.signLoginData'
  | 'account.generatePKCEParam'
  | 'account.getAccountListInfo'
  | 'accessbase.getDeviceInfo'
  | 'accessbase.getDeviceNetworkStatus'
  | 'accessbase.getDeviceHeader';

export type EventName =
  | 'account.initFinished'
  | 'account.currentAccountChanged'
  | 'account.authInfoChanged'
  | 'account.userInfoChanged'
  | 'account.companyInfoChanged'
  | 'account.accountListInfoChanged'
  | 'account.cookieUpdated';

/** What the office suite asks of the meeting application. */
export type MeetingMessage =
  | { dataType: 'enterMeeting'; data: { meetingUrl: string; accessCode: string } }
  | { dataType: 'getMeetingStatus'; data?: undefined }
  | { dataType: 'closeMeetingApp'; data: { logoutAccount: boolean } };

export interface TaskMessages {
  meetingDataChangeTask: MeetingMessage;
  accountInfoCollectTask: JsonObject;
}

export type TaskType = keyof TaskMessages;

/** A reply as the framework gives it; "data" only where there is some. */
export type Reply<Data = JsonObject> =
  | { result: 'ok'; msg: string; data?: Data }
  | { result: 'fail'; msg: string; data?: JsonObject };

export type ReplyOf<M extends MethodName> = Reply<
  Methods[M] extends { raw: infer Raw } ? Raw : Methods[M]['data']
>;

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
  | 'ZEF_UNKNOWN_EVENT'
  | 'ZEF_UNKNOWN_TASK'
  | 'ZEF_TASK_REFUSED'
  // start
  | 'ZEF_SETTINGS'
  | 'ZEF_INIT_REFUSED'
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
  | 'ZEF_QT_VERSION'
  | 'ZEF_QT_MISSING'
  | 'ZEF_DEPENDENCY_MISSING'
  | 'ZEF_NOT_THE_LIBRARY'
  | 'ZEF_OTHER_LIBRARY'
  | 'ZEF_LOAD';

export interface SerializedError {
  name: string;
  code: ErrorCode;
  message: string;
  method?: string;
  reply?: Reply;
  remedy?: string;
}

/** Every failure of this package. */
export class FrameworkError extends Error {
  constructor(code: ErrorCode, message: string, more?: Partial<SerializedError> & ErrorOptions);
  readonly code: ErrorCode;
  readonly method?: string;
  /** The "fail" reply, where there was one. */
  readonly reply?: Reply;
  /** What to do, where that is known. */
  readonly remedy?: string;
  /** Plain values, which survive IPC. */
  toJSON(): SerializedError;
  static fromJSON(serialized: SerializedError): FrameworkError;
}

export interface FrameworkOptions {
  /** Uses the mock of the two closed libraries that the package brings along. */
  mock?: boolean;
  /** The framework library, where it is not the one of the package. */
  libraryPath?: string;
  /** The closed libraries, where they do not lie beside the framework library. */
  accountLibrary?: string;
  logLibrary?: string;
}

export interface Settings {
  app: {
    appName: string;
    productName: string;
    version: string;
    localStoragePath: string;
    international?: boolean;
  };
  network?: { proxy?: ProxySettings };
  /** What the mock knows at its start. */
  standin?: JsonObject;
  /** The account library reads the whole object. */
  [key: string]: unknown;
}

export interface SignalOptions {
  signal?: AbortSignal;
}

export interface CallOptions extends SignalOptions {
  /** Milliseconds until the call rejects with ZEF_TIMEOUT. Without it there is no limit. */
  timeout?: number;
  /** Resolves to the whole reply, "fail" ones included, with entries left as texts. */
  raw?: boolean;
}

type Parameters<M extends MethodName, Options> = undefined extends Methods[M]['params']
  ? [params?: Methods[M]['params'], options?: Options]
  : [params: Methods[M]['params'], options?: Options];

type Raw<Options> = Options & { raw: true };
type NotRaw<Options> = Options & { raw?: false };

export class Subscription {
  private constructor();
  /** Ends the subscription; again it does nothing. */
  dispose(): void;
  [Symbol.dispose](): void;
}

/**
 * The framework. A process has it once; objects of this class, in workers too, share it, and the
 * last one to close stops it. Nothing has to be closed for the process to end.
 */
export class ElectronFramework extends EventEmitter {
  constructor(options?: FrameworkOptions);

  readonly running: boolean;

  /**
   * Starts the framework, or joins the running one, whose settings then stay.
   * Rejects with a FrameworkError that says what is missing.
   */
  init(settings: Settings): Promise<this>;

  /** Ends calls that are open with ZEF_CLOSED, then stops. Never rejects; may be repeated. */
  close(): Promise<void>;
  [Symbol.asyncDispose](): Promise<void>;

  /**
   * Runs a method and resolves to its data. A call that is aborted, timed out or closed still runs
   * in the library; only its answer is dropped.
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

  /** Runs a method on this thread, which waits meanwhile. */
  callSync<M extends SyncMethodName>(
    method: M,
    params: Methods[M]['params'],
    options: { raw: true },
  ): ReplyOf<M>;
  callSync<M extends SyncMethodName>(
    method: M,
    ...rest: Parameters<M, { raw?: false }>
  ): Methods[M]['data'];

  on(event: EventName, listener: () => void, options?: SignalOptions): this;
  once(event: EventName, listener: () => void, options?: SignalOptions): this;
  off(event: EventName, listener: () => void): this;
  addListener(event: EventName, listener: () => void, options?: SignalOptions): this;
  prependListener(event: EventName, listener: () => void): this;
  removeListener(event: EventName, listener: () => void): this;
  removeAllListeners(event?: EventName): this;
  listenerCount(event: EventName): number;

  /** As on(), for `using` and for listeners that nobody else has to know. */
  subscribe(event: EventName, listener: () => void, options?: SignalOptions): Subscription;

  /** Listens to task messages until disposed of, or until close(). Only while running. */
  onTask<T extends TaskType>(
    type: T,
    listener: (message: TaskMessages[T]) => void,
    options?: SignalOptions,
  ): Subscription;

  /** Lets the process run on for events and task messages; without it they keep nothing alive. */
  ref(): this;
  unref(): this;
}

export interface Finding {
  code: ErrorCode;
  message: string;
  remedy?: string;
}

export interface Diagnosis {
  ok: boolean;
  platform: string;
  system: string;
  node: string;
  electron?: string;
  napi?: string;
  addon?: string;
  framework?: string;
  logLibrary?: string;
  accountLibrary?: string;
  glibc?: { found: string; needed?: string };
  qt?: { found?: string; needed?: string };
  glib?: { loadedBefore: boolean; path?: string };
  findings: Finding[];
}

/** Says what of the library and its needs was found; starts nothing and throws nothing. */
export function diagnose(options?: FrameworkOptions): Diagnosis;

/**
 * What the channels `tracing:zelectronframework.call:*` of `node:diagnostics_channel` publish: one
 * object for each call. It carries secrets; see mask().
 */
export interface CallContext {
  /** Unlike any other call's; a second answer comes as `zelectronframework:late` with this id. */
  id: number;
  /** Unlike any other run's of any object. */
  instance?: number;
  method: string;
  mode: 'sync' | 'async';
  /** JSON as sent; undefined where nothing was. */
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
}

/** `zelectronframework:task` */
export interface TaskContext {
  instance: number;
  type: TaskType;
  /** JSON as it came. */
  text: string;
}

/** `zelectronframework:late`: a second answer, or one after the call had ended. */
export interface LateContext {
  id: number;
  reply: string;
}

/**
 * A copy of a context without its secrets, for programs that show or keep what they watch: the
 * values that the interface calls secret, whatever else is passed on to the account library, and
 * both wherever they occur again in the reply or in the words of an error.
 * @param replace gives the replacement of a value, `***` by default
 */
export function mask<Context extends object>(
  context: Context,
  replace?: (name: string, value: string) => string,
): Context;

/** What the mock does at one call of one operation of the account library. */
export interface MockScript {
  /** The operation's failure: null, false, an empty result or a "fail" reply. */
  refuse?: boolean;
  /** The reply, of any shape, in place of the honest one; nothing is changed then. */
  reply?: Record<string, unknown>;
  /** Result of an operation that returns a text or a signature. */
  text?: string;
  /** Milliseconds before the answer. */
  delayMs?: number;
  /** How often the answer is given: 0 never, 2 twice. */
  times?: number;
  /** The answer waits for `release`. */
  hold?: boolean;
  /** How many calls are left alone first, and how many it is for. */
  skip?: number;
  count?: number;
  [key: string]: unknown;
}

/** What the mock is told while it runs. */
export interface MockCommand {
  accounts?: Record<string, unknown>[];
  users?: Record<string, unknown>[];
  currentUserId?: string;
  office?: Record<string, unknown>;
  /** By operation of the account library: a script for all calls to come, or a list of them. */
  script?: Record<string, MockScript | MockScript[]>;
  /** Raises an event, for example "cookieUpdated". */
  signal?: string;
  /** Sends a message of the office suite, for example `{ msgType: 'getMeetingStatus' }`. */
  message?: Record<string, unknown>;
  /** Hands an object to the subscribers of `accountInfoCollectTask`. */
  collect?: Record<string, unknown>;
  /** Gives all answers that are held. */
  release?: boolean;
  [key: string]: unknown;
}

export interface MockState {
  running: boolean;
  currentUserId?: string;
  accounts?: Record<string, unknown>[];
  users?: Record<string, unknown>[];
  office?: Record<string, unknown>;
  /** By operation, how many calls its scripts are still for; -1 for all. */
  scripts: Record<string, number>;
  /** The operations whose answers are held. */
  held: string[];
  [key: string]: unknown;
}

/**
 * Tells the mock of the closed libraries what to do from now on. It is one for the whole process.
 * @throws FrameworkError ZEF_MOCK_MISSING when it was not loaded, ZEF_MOCK_REFUSED when it knows no
 * such thing or nobody hears it
 */
export function mock(command?: MockCommand): MockState;
