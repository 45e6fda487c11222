/** What can be scripted: what the account library does, and which service it gives. */
export const operations = [
  'logout',
  'loginCallback',
  'switchAccount',
  'upgradeAccount',
  'downgradeAccount',
  'updateAccountInfo',
  'getUrlWithAuthorizeCode',
  'signPopToken',
  'signLoginData',
  'getJwkPublicKeyStr',
  'generatePKCEParam',
  'cookiesForUrl',
  'getDeviceInfo',
  'getDeviceNetworkStatus',
  'getDeviceHeader',
  'grantAuthorizeCodeOffice',
  'getAuthorizedUserInfoOffice',
  'notifyOfficeMsg/getMeetingStatus',
];

export const getters = [
  'getLoginService',
  'getSignService',
  'getScheduler',
  'getCookieFactory',
  'getAccount',
  'getAccessbaseService',
];

/** The operation that answers a method: the one of its name for most. */
export function operationOf(name) {
  const last = name.split('.')[1];
  return /^(loginWith|quickLogin)/.test(last) ? 'loginCallback' : last;
}

const words = [
  ['refuse', () => 'refuses'],
  ['throw', (text) => `throws “${text}”`],
  ['reply', (reply) => `answers ${JSON.stringify(reply)}`],
  ['hold', () => 'holds its answer until it is released'],
  ['delayMs', (ms) => `answers after ${ms} ms`],
  ['times', (times) => (times === 0 ? 'never answers' : `answers ${times} times`)],
];

/** \returns what the mock does in one step, in words */
export function wordsOf({ count: _, ...step }) {
  const keys = Object.keys(step);
  const known = words.filter(([key]) => key in step && step[key] !== false);
  if (known.length !== keys.length) return JSON.stringify(step);
  return known.map(([key, say]) => say(step[key])).join(', ') || 'answers as usual';
}
