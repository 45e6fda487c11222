// Generated from interface/ by ./dev generate; a change belongs there.
import type { JsonLike, JsonObject, NoParams } from '../index.cjs';

/** A proxy, and who signs in to it. */
export interface ProxySettings {
  /** 1: system configuration, 2: HTTP, 3: SOCKS5, any other value: no proxy. Default: `0`. */
  proxyType?: number;
  /** Host name or address. Default: `""`. */
  proxyHost?: string;
  /** Port; only the low 16 bits are used. Default: `0`. */
  proxyPort?: number;
  /** User name. Default: `""`. */
  proxyUser?: string;
  /** Password. The log shows it in clear text. Default: `""`. Secret. */
  proxyPassWord?: string;
}

/**
 * One known account. Only the entry of the current user has `keep_online`, `reg_time` and `coa_Id`.
 */
export interface AccountEntry {
  /** A company account. */
  is_company_account: boolean;
  /**
   * As the account library marks it. The current user is the one whose id is the current user id.
   */
  is_current: boolean;
  /** Signed in. */
  is_login: boolean;
  /** Two-factor authentication is required. */
  need_tfa: boolean;
  /** How many accounts may be signed in. */
  login_account_limit: number;
  /** User id. */
  userid: string;
  /** Name to show. */
  nickname: string;
  /** URL of the picture. */
  avatar_url: string;
  /** Id of the company. */
  company_id: string;
  /** Name of the company. */
  company_name: string;
  /** URL of the company's logo. */
  company_logo: string;
  /** The company's own domain. */
  company_custom_domain: string;
  /** Status, in the account library's words. */
  status: string;
  /** Status of the session, in the account library's words. */
  session_status: string;
  /** Reason of the status. */
  reason: string;
  /** How the account signed in. */
  loginmode: string;
  /** Why it was signed out. */
  logout_reason: string;
  /** Text of a link to show. */
  link_text: string;
  /** URL of that link. */
  link_url: string;
  /** Stays signed in. Current user only. */
  keep_online?: boolean;
  /** Time of registration. Current user only. */
  reg_time?: string;
  /** COA id. Current user only. */
  coa_Id?: string;
}

/** The one entry of the list while no account is known. */
export type NoAccountEntry = {
  /** User id; may be empty. */
  userid: string;
  /** COA id; may be empty. */
  coa_Id: string;
  /** Id of the company; may be empty. */
  company_id: string;
} & {
  [Key in Exclude<keyof AccountEntry, 'userid' | 'coa_Id' | 'company_id'>]?: undefined;
};

/** A cookie, shaped for a web view. */
export interface CookieEntry {
  /** Name; null when empty. */
  name: string | null;
  /** Value; null when empty. Secret. */
  value: string | null;
  /** Hidden from scripts. */
  httpOnly: boolean;
  /** For HTTPS only. */
  secure: boolean;
  /** Path. */
  path: string;
  /** Domain with a dot in front, even if it already has one. */
  domain: string;
  /** The URL of the request, as it was given. */
  url: string;
  /** Always this. */
  sameSite: 'no_restriction';
}

/** A JSON Web Key (RFC 7517). The account library decides which members there are. */
export interface PublicKey extends JsonObject {
  /** Key type, for example "EC". */
  kty?: string;
  /** Curve. */
  crv?: string;
  /** X coordinate, base64url. */
  x?: string;
  /** Y coordinate, base64url. */
  y?: string;
  /** Algorithm. */
  alg?: string;
  /** Use, for example "sig". */
  use?: string;
  /** Id of the key. */
  kid?: string;
}

/** A PKCE pair (RFC 7636). */
export interface PkcePair {
  /** Keep it for the token request. Secret. */
  code_verifier: string;
  /** Goes into the authorisation request. */
  code_challenge: string;
}

/** Every method: what it takes, what it gives, and its data in a raw reply where that differs. */
export interface Methods {
  /**
   * Describes the device.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "accessbaseService is nullptr": There is no device service.
   */
  'accessbase.getDeviceInfo': {
    params: NoParams;
    data: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. Arrives parsed; in a raw reply as text. */
      data: JsonObject | string;
    };
    raw: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. */
      data: string;
    };
  };

  /**
   * Describes the state of the device's network.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "accessbaseService is nullptr": There is no device service.
   */
  'accessbase.getDeviceNetworkStatus': {
    params: NoParams;
    data: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. Arrives parsed; in a raw reply as text. */
      data: JsonObject | string;
    };
    raw: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. */
      data: string;
    };
  };

  /**
   * Builds the device header of a request from device codes.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "accessbaseService is nullptr": There is no device service; checked first.
   * - "deviceCode is empty": It is absent, empty or not an object.
   */
  'accessbase.getDeviceHeader': {
    params: {
      /**
       * The codes. The account library receives their values as texts: numbers in decimal, true and
       * false as words, objects and arrays as empty texts.
       */
      deviceCode: JsonLike;
    };
    data: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. Arrives parsed; in a raw reply as text. */
      data: JsonObject | string;
    };
    raw: {
      /** Always this. */
      result: 'ok';
      /** As the account library writes it; may be empty. */
      data: string;
    };
  };

  /**
   * Completes a sign-in with the grant of the office suite or of a login page.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.loginCallback': {
    params: JsonLike & {
      /** "ssid", "randcode", or absent for a grant. */
      loginType?: string;
      /** Session id. Secret. */
      ssid?: string;
      /** Random code. Secret. */
      randcode?: string;
      /** Code of a grant. Secret. */
      authorizeCode?: string;
      /** Whether the office suite granted the request. */
      bResult?: boolean;
      /** Stay signed in. */
      keepOnline?: boolean;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Lists the account library's cookies for one URL, each shaped for a web view.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "factory is nullptr": There is no cookie service.
   */
  'account.queryWebviewCookies': {
    params: {
      /** The URL; parsed leniently and not checked. */
      url: string;
    };
    data: {
      /** One JSON text per cookie, possibly none. Arrives parsed; in a raw reply as text. */
      cookieList: CookieEntry[];
    };
    raw: {
      /** One JSON text per cookie, possibly none. */
      cookieList: string[];
    };
  };

  /**
   * Signs in with a grant of the running office suite. The task "grantAuthorizeCodeOffice" asks the
   * office suite for the grant. The login service gets its result with "extParam" added; after a
   * refusal it gets "extParam" alone.
   *
   * Fails with
   * - "scheduler is nullptr": There is no scheduler.
   * - "sumbit failed": The scheduler did not accept the task.
   * - "sercice is nullptr": Later: there is no login service.
   */
  'account.quickLogin': {
    params: {
      /**
       * User whom the office suite should sign in; empty: the user of the office suite. Default:
       * `""`.
       */
      userId?: string;
      /** Stay signed in. Default: `false`. */
      keepOnline?: boolean;
      /** Passed to the login service. Default: `{}`. Secret. */
      extParam?: JsonLike;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Returns the public signing key of this machine.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "service is nullptr": There is no signing service.
   */
  'account.getJwkPublicKeyStr': {
    params: NoParams;
    data: {
      /** Always this. */
      result: 'ok';
      /**
       * The key as a JSON Web Key, as the account library writes it; null when empty. Arrives
       * parsed; in a raw reply as text.
       */
      data: PublicKey | string | null;
    };
    raw: {
      /** Always this. */
      result: 'ok';
      /** The key as a JSON Web Key, as the account library writes it; null when empty. */
      data: string | null;
    };
  };

  /**
   * Signs a proof-of-possession token for one request.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "service is nullptr": There is no signing service.
   * - "sign failed": The account library refused.
   */
  'account.signPopToken': {
    params: {
      /** Method of the request, for example "GET". */
      method: string;
      /** URI of the request. */
      uri: string;
      /** Third value, for the account library. */
      cv: string;
    };
    data: {
      /** Always this. */
      result: 'ok';
      /** The token; null when empty. Secret. */
      data: string | null;
    };
  };

  /**
   * Signs login data.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "service is nullptr": There is no signing service.
   * - "sign failed": The account library refused.
   */
  'account.signLoginData': {
    params: {
      /** What to sign; signed as UTF-8. Secret. */
      signData: string;
    };
    data: {
      /** Always this. */
      result: 'ok';
      /** The signature; null when empty. Secret. */
      data: string | null;
    };
  };

  /**
   * Creates a new PKCE verifier and its challenge (RFC 7636).
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "service is nullptr": There is no signing service.
   * - "generatePKCEParam failed": The account library refused.
   */
  'account.generatePKCEParam': {
    params: NoParams;
    data: {
      /** Always this. */
      result: 'ok';
      /** The pair. */
      data: PkcePair;
    };
  };

  /**
   * Signs an account out.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.logout': {
    params: JsonLike & {
      /** User to sign out; the current user by default. */
      userId?: string;
      /** Reason, kept with the account. */
      reason?: string;
      /** Also forget the account. */
      removeAccount?: boolean;
    } | undefined;
    data: JsonObject & {
      /** Who was signed out. */
      userId?: string;
      /** Who is the current user now. */
      currentUserId?: string;
    } | undefined;
  };

  /**
   * Lists the accounts known on this machine.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "account is nullptr": There is no account service.
   */
  'account.getAccountListInfo': {
    params: NoParams;
    data: {
      /**
       * One JSON text per account; a single short one while no account is known. Arrives parsed; in
       * a raw reply as text.
       */
      accountListInfo: (AccountEntry | NoAccountEntry)[];
    };
    raw: {
      /** One JSON text per account; a single short one while no account is known. */
      accountListInfo: string[];
    };
  };

  /**
   * Asks the office suite for its user, who must not be in the account list yet. The task
   * "getAuthorizedUserInfoOffice" asks the office suite.
   *
   * Fails with
   * - "scheduler is nullptr": There is no scheduler.
   * - "sumbit failed": The scheduler did not accept the task.
   * - "getUserInfo failed": Later: the office suite refused without a reason. With one, its
   *   "reason" is the text; an empty one becomes "fail".
   * - "account is nullptr": Later: there is no account service.
   * - "already logined user": Later: the user is in the account list already.
   */
  'account.getOfficeUserInfo': {
    params: NoParams;
    /** What the office suite answered, with "result" "ok" added. */
    data: JsonObject & {
      /** Always this. */
      result: 'ok';
      /** True. */
      bResult?: boolean;
      /** User id. */
      userId?: string;
    };
  };

  /**
   * Makes another account the current one.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.switchAccount': {
    params: JsonLike & {
      /** Whose account. */
      userId?: string;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Turns an account into a company account.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.upgradeAccount': {
    params: JsonLike & {
      /** Whose account; by default the current user's. */
      userId?: string;
      /** Id of the company. */
      companyId?: string;
      /** Name of the company. */
      companyName?: string;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Turns a company account into a personal one.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.downgradeAccount': {
    params: JsonLike & {
      /** Whose account; by default the current user's. */
      userId?: string;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Changes the profile of an account.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "sercice is nullptr": There is no login service.
   */
  'account.updateAccountInfo': {
    params: JsonLike & {
      /** Whose profile; by default the current user's. */
      userId?: string;
      /** Name to show. */
      nickname?: string;
      /** URL of the picture. */
      avatarUrl?: string;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Adds a new authorize code to a URL, so that the page opens signed in.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "service is nullptr": There is no login service.
   */
  'account.getUrlWithAuthorizeCode': {
    params: JsonLike & {
      /** URL of the page. */
      url?: string;
    } | undefined;
    data: {
      /** The URL with the code. Secret. */
      url?: string;
    } | undefined;
  };

  /**
   * Signs in with a session id. "loginType" is set to "ssid", whatever was passed.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "service is nullptr": There is no login service.
   */
  'account.loginWithSsid': {
    params: JsonLike & {
      /** Session id. Secret. */
      ssid?: string;
      /** Stay signed in. */
      keepOnline?: boolean;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Signs in with a random code. "loginType" is set to "randcode", whatever was passed.
   *
   * The parameters reach the account library as they are; those named here are what the mock knows.
   *
   * Fails with
   * - "service is nullptr": There is no login service.
   */
  'account.loginWithRandcode': {
    params: JsonLike & {
      /** Random code. Secret. */
      randcode?: string;
      /** Stay signed in. */
      keepOnline?: boolean;
    } | undefined;
    data: JsonObject | undefined;
  };

  /**
   * Reports the meeting status to the office suite. It is sent with the task "notifyOfficeMsg".
   * Also answers a "getMeetingStatus" task message.
   *
   * Fails with
   * - "scheduler is null": There is no scheduler; checked first.
   * - "event, data or busyType is empty": One of them is absent or empty.
   * - "submit to office fail": The scheduler did not accept the task.
   * - "no office app": Later: no application of the office suite is running.
   * - "changeMeetingStatus fail": Later: the office suite refused.
   */
  'meeting.changeMeetingStatus': {
    params: {
      /** What happened; passed on unchanged. */
      event: string;
      /** Kind of busy state; passed on unchanged. */
      busyType: string;
      /** Further status data; passed on unchanged. Secret. */
      data: JsonLike;
    };
    data: undefined;
  };

  /**
   * Sets the proxy of every Qt network connection that the process opens from now on. Without
   * parameters there is no proxy.
   */
  'network.updateProxyInfo': {
    params: {
      /** 1: system configuration, 2: HTTP, 3: SOCKS5, any other value: no proxy. Default: `0`. */
      proxyType?: number;
      /** Host name or address. Default: `""`. */
      proxyHost?: string;
      /** Port; only the low 16 bits are used. Default: `0`. */
      proxyPort?: number;
      /** User name. Default: `""`. */
      proxyUser?: string;
      /** Password. The log shows it in clear text. Default: `""`. Secret. */
      proxyPassWord?: string;
    } | undefined;
    data: {
      /** Always this. */
      result: 'ok';
    };
  };

  /**
   * Passes custom domains to the account library, one by one in ascending order of the keys.
   *
   * Fails with
   * - "param is empty": There are no parameters; checked first.
   * - "domainMgr is null": There is no domain service.
   */
  'network.setCustomDomain': {
    params: JsonLike;
    data: {
      /** Always this. */
      result: 'ok';
    };
  };

  /**
   * Returns the folder of the log files.
   *
   * `callSync` may call it.
   *
   * Fails with
   * - "log proxy is nullptr": The log does not exist yet, or no longer.
   * - "log path is null": There is no log library or no such folder.
   */
  'utils.getLogPath': {
    params: NoParams;
    data: {
      /** Absolute path of an existing folder, named after the executable. */
      path: string;
    };
  };
}

/** The methods that run on the caller's thread as well. */
export type SyncMethodName =
  | 'accessbase.getDeviceInfo'
  | 'accessbase.getDeviceNetworkStatus'
  | 'accessbase.getDeviceHeader'
  | 'account.queryWebviewCookies'
  | 'account.getJwkPublicKeyStr'
  | 'account.signPopToken'
  | 'account.signLoginData'
  | 'account.generatePKCEParam'
  | 'account.getAccountListInfo'
  | 'utils.getLogPath';

/** Every event. It brings no values: ask for what changed. */
export interface Events {
  /** The account library is ready. */
  'account.initFinished': [];
  /** Another account, or none, is the current one. */
  'account.currentAccountChanged': [];
  /** The authorisation of the current account changed. */
  'account.authInfoChanged': [];
  /** The profile of the current account changed. */
  'account.userInfoChanged': [];
  /** The company of the current account changed. */
  'account.companyInfoChanged': [];
  /** `account.getAccountListInfo` has a new reply. */
  'account.accountListInfoChanged': [];
  /** `account.queryWebviewCookies` has a new reply. */
  'account.cookieUpdated': [];
}

/** Every task type with the messages that come. */
export interface TaskMessages {
  /**
   * The object that the account library collects, unchanged.
   *
   * Each registration is passed on to the account library, which may refuse it.
   */
  accountInfoCollectTask: JsonObject;
  /**
   * What the office suite asks of the meeting application.
   *
   * Only the first registration takes effect; a later one is accepted and ignored. Registering also
   * asks the office suite for the current meeting: when it has one, an "enterMeeting" follows, in
   * which both texts may be empty. An "enterMeeting" message with neither URL nor access code, and
   * a message of another type, are logged and not delivered.
   */
  meetingDataChangeTask: {
    /** Which message this is. */
    dataType: 'enterMeeting';
    data: {
      /** URL of the meeting. Secret. */
      meetingUrl: string;
      /** Access code. Secret. */
      accessCode: string;
    };
  } | {
    /** Which message this is. */
    dataType: 'getMeetingStatus';
    data?: undefined;
  } | {
    /** Which message this is. */
    dataType: 'closeMeetingApp';
    data: {
      /** Also sign the account out. */
      logoutAccount: boolean;
    };
  };
}

/** The object that init takes. The account library receives the whole object as well. */
export interface Settings extends JsonLike {
  /** The application. */
  app: {
    /** Names the application and its log. */
    appName: string;
    /** For the account library. */
    productName: string;
    /** For the account library. */
    version: string;
    /** For the account library. */
    localStoragePath: string;
    /** Passed to the office suite by `account.getOfficeUserInfo`. Default: `false`. */
    international?: boolean;
  };
  /** The network of the process. */
  network?: {
    /** The proxy to use from the start; none when absent. */
    proxy?: ProxySettings;
  };
  /** What the mock knows at its start. */
  standin?: MockSettings;
}

/** A person whom the mock knows. */
export interface MockPerson extends Partial<AccountEntry> {
  /** User id. */
  userid: string;
  /** Proves the person in `loginWithSsid`. Default: `ssid-` and the id. */
  ssid?: string;
  /** Proves the person in `loginWithRandcode`. Default: `randcode-` and the id. */
  randcode?: string;
  /** Proves the person in a grant. Default: `code-` and the id. */
  authorizeCode?: string;
}

/** The office suite that the mock simulates. */
export interface MockOffice {
  /** Whether an office suite is running. Default: `true`. */
  present?: boolean;
  /** Whether it grants requests. Default: `true`. */
  grants?: boolean;
  /** Why it refuses. */
  reason?: string;
  /** Who is signed in there. Default: `"10001"`. */
  userId?: string;
  /** Its current meeting, which is delivered to a new listener of `meetingDataChangeTask`. */
  meeting?: {
    /** URL of the meeting. */
    meetingUrl: string;
    /** Access code. */
    accessCode: string;
  };
}

/** A message of the office suite to the meeting application. */
export interface MockMessage {
  /** What it asks for. */
  msgType: 'enterMeeting' | 'getMeetingStatus' | 'closeMeetingApp';
  /** URL of the meeting to enter. */
  meetingUrl?: string;
  /** Its access code. */
  accessCode?: string;
  /** Whether to sign out when closing. */
  logoutAccount?: boolean;
}

/** An event, without its module. */
export type MockEvent =
  | 'initFinished'
  | 'currentAccountChanged'
  | 'authInfoChanged'
  | 'userInfoChanged'
  | 'companyInfoChanged'
  | 'accountListInfoChanged'
  | 'cookieUpdated';

/** What the mock does at one call of one operation. */
export interface MockScript {
  /** The operation's failure: null, false, an empty result or a "fail" reply. */
  refuse?: boolean;
  /** `GetInterface` only: true with a null pointer. */
  null?: boolean;
  /** Thrown inside the call, as a C++ exception with this text. */
  throw?: string;
  /** The same, at the end of the call, after any answer given inside it. */
  throwAfter?: string;
  /** Reply instead of the normal one, of any shape; the state of the mock does not change. */
  reply?: JsonLike;
  /** Result of an operation that returns a text or a signature. */
  text?: string;
  /** All statuses of a task; the last one comes with the reply. */
  statuses?: readonly number[];
  /** Milliseconds before each answer; an operation that returns its result sleeps. */
  delayMs?: number;
  /** How often the answer is given: 0 never, 2 twice. Default: `1`. */
  times?: number;
  /** Where the answer comes from; `caller`: inside the call. Default: `"library"`. */
  thread?: 'library' | 'caller';
  /** The final answer waits for `mock({ release: true })`; statuses before it are not given. */
  hold?: boolean;
  /** A held answer is given after this time, even after the framework was closed. */
  releaseAfterMs?: number;
  /** Not answered when the framework closes before the answer. */
  dropAtUninit?: boolean;
  /** First waits that long in a nested event loop. */
  loopMs?: number;
  /** Ends the library's core application. */
  quit?: boolean;
  /** Tasks and `registerMessageTask` only: deletes the object that came with it. */
  destroyContext?: boolean;
  /** `notifier` only: returns an object without signals. */
  plainNotifier?: boolean;
  /** `uninit` only: what Qt still has of the mock's code or data when the mock is unloaded. */
  leave?: 'notifier' | 'notifierToDelete' | 'timer' | 'child' | 'functor' | 'names';
  /** Number of calls before the script applies. Default: `0`. */
  skip?: number;
  /** Number of calls that it applies to; -1: all. Default: `-1`. */
  count?: number;
}

/**
 * What can be scripted: steps of the start, services, operations of a service, tasks of the office
 * suite.
 */
export type MockOperation =
  | 'InitInterface'
  | 'GetInterface'
  | 'UninitInterface'
  | 'init'
  | 'uninit'
  | 'notifier'
  | 'registerMessageTask'
  | 'getAccount'
  | 'getScheduler'
  | 'getMessageTaskRegistry'
  | 'getLoginService'
  | 'getSignService'
  | 'getCookieFactory'
  | 'getInfoCollectHandler'
  | 'getAccessbaseService'
  | 'getDomainMgr'
  | 'loginCallback'
  | 'logout'
  | 'switchAccount'
  | 'upgradeAccount'
  | 'downgradeAccount'
  | 'updateAccountInfo'
  | 'getUrlWithAuthorizeCode'
  | 'getJwkPublicKeyStr'
  | 'generatePKCEParam'
  | 'signPopToken'
  | 'signLoginData'
  | 'cookiesForUrl'
  | 'registerCollectCallback'
  | 'getDeviceInfo'
  | 'getDeviceNetworkStatus'
  | 'getDeviceHeader'
  | 'setDomain'
  | 'grantAuthorizeCodeOffice'
  | 'getAuthorizedUserInfoOffice'
  | 'notifyOfficeMsg/enterMeeting'
  | 'notifyOfficeMsg/getMeetingStatus';

/**
 * By operation: a script for all calls to come, or a list of scripts, each for one call unless its
 * `count` says otherwise.
 */
export type MockScripts = { [Name in MockOperation]?: MockScript | readonly MockScript[] };

/** What the mock can be told at its start and while it runs. */
export interface MockKnowledge {
  /** The accounts on this machine. */
  accounts?: readonly MockPerson[];
  /** Further accounts "user-1", "user-2", ... Default: `0`. */
  generateAccounts?: number;
  /** Further persons that the account service knows. Default: one, "10001". */
  users?: readonly MockPerson[];
  /** Whose account is the current one. Default: `""`. */
  currentUserId?: string;
  /** Cookies besides the session's. */
  cookies?: readonly {
    /** Where it came from. */
    url: string;
    /** Text of the header "Set-Cookie". */
    setCookie: string;
  }[];
  /** Where the session cookie "sid" belongs. Default: `"https://account.example.com/"`. */
  accountUrl?: string;
  /** The office suite; what is left out keeps its value. */
  office?: MockOffice;
  /** "host:port" that `accessbase.getDeviceNetworkStatus` connects to; none by default. */
  networkCheck?: string;
  /**
   * On which thread login operations answer: a worker, or the caller's inside the call. Default:
   * `"worker"`.
   */
  answers?: 'worker' | 'inline';
  /** What operations do instead of their normal work. */
  script?: MockScripts;
}

/** What the mock knows and does from its start: the object `standin` of the settings. */
export interface MockSettings extends Partial<MockKnowledge> {
  /** What happens by itself, by the time since the start. */
  timeline?: readonly {
    /** Milliseconds since the start. */
    afterMs: number;
    /** A message of the office suite. */
    message?: MockMessage;
    /** An event. */
    signal?: MockEvent;
  }[];
  /**
   * From the first listener of `account.initFinished` to that event; below 0: never. Default: `50`.
   */
  initFinishedAfterMs?: number;
  /** Writes a line to the log at the start, at the end and for every event. Default: `false`. */
  log?: boolean;
  /** If not 0: random misbehaviour, the same for the same number. Default: `0`. */
  hostileSeed?: number;
  /** For measurements: operations cost next to nothing and answer at once. Default: `false`. */
  noCost?: boolean;
}

/** What the mock is told while it runs. */
export interface MockCommand extends Partial<MockKnowledge> {
  /** Raises an event. */
  signal?: MockEvent;
  /** Sends a message of the office suite. */
  message?: MockMessage;
  /** Hands an object to the listeners of `accountInfoCollectTask`. */
  collect?: JsonLike;
  /** Gives all answers that are held. */
  release?: boolean;
  /** Gives the one at that place in `held`, from 0. */
  releaseNth?: number;
  /**
   * Before anything else, while nothing runs: forgets scripts, held answers and what it was told to
   * know.
   */
  reset?: boolean;
}

/** What the mock knows now. Without a run: what it knew at the end of the last one. */
export interface MockState {
  /** Whether the account library runs. */
  running: boolean;
  /** Whose account is the current one. */
  currentUserId?: string;
  /** The accounts on this machine. */
  accounts?: MockPerson[];
  /** Whom the account service knows besides. */
  users?: MockPerson[];
  /** The office suite, as far as it was set. */
  office?: MockOffice;
  /** What `meeting.changeMeetingStatus` reported last. */
  meetingStatus?: JsonObject;
  /** What `network.setCustomDomain` set. */
  domains?: JsonObject;
  /** By operation, the number of calls that its scripts still apply to; -1: all. */
  scripts: {
    [name: string]: number;
  };
  /** The operations whose answers are held. */
  held: string[];
  /** A delivery from the mock to the framework is queued or running. */
  busy: boolean;
}
