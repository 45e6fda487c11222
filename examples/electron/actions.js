// What pages may ask for, and what they are told when it fails. Values of a page are checked here.
'use strict';

const { FrameworkError } = require('zelectronframework');

/** @import { ElectronFramework } from 'zelectronframework' */
/** @import { Failure } from './bridge.js' */

/** Sentences for users, by what the account library or the package says. */
const sentences = new Map([
  ['sign-in refused', 'This code is not valid.'],
  ['no authorization', 'The office suite did not allow the sign-in.'],
  ['account not found', 'This account is no longer known.'],
  ['not signed in', 'This account is not signed in.'],
  ['no office app', 'The office suite is not running.'],
  ['changeMeetingStatus fail', 'The office suite did not take the status.'],
  ['ZEF_TIMEOUT', 'There was no answer in time.'],
  ['ZEF_NOT_RUNNING', 'The application is still starting.'],
  ['ZEF_CLOSED', 'The application is closing.'],
]);
const otherwise = 'This did not work. Try again, or ask for help with the code.';

class NotAllowed extends Error {
  code = 'NOT_ALLOWED';
}

/** @param {unknown} value */
function text(value) {
  if (typeof value !== 'string' || value === '' || value.length > 1000) throw new NotAllowed();
  return value;
}

/** @typedef {(framework: ElectronFramework, value: unknown) => unknown} Action */
const actions = new Map(
  Object.entries(
    /** @satisfies {Record<keyof import('./bridge.js').Actions, Action>} */ ({
      accounts: async (framework) =>
        (await framework.call('account.getAccountListInfo')).accountListInfo,
      signIn: (framework) => framework.call('account.quickLogin', { keepOnline: true }),
      signInWithCode: (framework, code) =>
        framework.call('account.loginWithRandcode', { randcode: text(code), keepOnline: true }),
      switchAccount: (framework, userId) =>
        framework.call('account.switchAccount', { userId: text(userId) }),
      signOut: (framework, userId) => framework.call('account.logout', { userId: text(userId) }),
      reportStatus: (framework, isInMeeting) =>
        framework.call('meeting.changeMeetingStatus', {
          event: 'statusReported',
          busyType: isInMeeting === true ? 'meeting' : 'free',
          data: { isInMeeting: isInMeeting === true },
        }),
    }),
  ),
);

/** @param {() => ElectronFramework | undefined} running */
function actionsOf(running) {
  /** @param {unknown} name @param {unknown[]} values */
  return async (name, [value]) => {
    const action = actions.get(String(name));
    if (!action) throw new NotAllowed();
    const framework = running();
    if (!framework) throw new FrameworkError('ZEF_NOT_RUNNING', 'not started yet');
    return action(framework, value);
  };
}

/** No internal text reaches a page. @param {unknown} error @returns {Failure} */
function failureOf(error) {
  if (error instanceof NotAllowed) return { code: error.code, message: otherwise };
  if (!(error instanceof FrameworkError)) {
    console.error(error);
    return { code: 'INTERNAL', message: otherwise };
  }
  const { code, reply } = error;
  return { code, message: sentences.get(reply?.msg ?? code) ?? otherwise };
}

module.exports = { actionsOf, failureOf };
