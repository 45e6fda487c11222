// What the page may ask for. The values come from a page, so they are checked here.
'use strict';

const { shell } = require('electron');
const { Refusal } = require('./failures.js');

/** @import { ElectronFramework } from 'zelectronframework' */
/** @import { ActionContext } from 'zelectronframework/electron-main' */

/** Where meetings may be; add your own. */
const meetingHosts = new Set(['meet.example.com']);

/** @param {string} value */
function text(value) {
  if (typeof value !== 'string' || value === '' || value.length > 1000) throw new Refusal();
  return value;
}

/** @param {string} value */
function meetingAddress(value) {
  const address = URL.canParse(text(value)) ? new URL(value) : undefined;
  if (address?.protocol !== 'https:' || !meetingHosts.has(address.host)) {
    throw new Refusal('This is not the address of a meeting.');
  }
  return address.href;
}

/**
 * @param {object} application
 * @param {() => ElectronFramework} application.framework
 * @param {() => void} application.sendState
 * @param {() => void} application.tryAgain
 */
const actionsOf = ({ framework, sendState, tryAgain }) => ({
  sendState,
  tryAgain,

  async accounts() {
    const { accountListInfo } = await framework().call('account.getAccountListInfo');
    return accountListInfo.filter((entry) => entry.nickname !== undefined);
  },

  /** The office suite signs in its own user, or the one that is named. */
  async signIn(/** @type {string | undefined} */ userId, /** @type {ActionContext} */ { signal }) {
    const user = userId === undefined ? {} : { userId: text(userId) };
    await framework().call('account.quickLogin', { ...user, keepOnline: true }, { signal });
  },

  async signInWithCode(/** @type {string} */ code, /** @type {ActionContext} */ { signal }) {
    const params = { randcode: text(code), keepOnline: true };
    await framework().call('account.loginWithRandcode', params, { signal });
  },

  async switchAccount(/** @type {string} */ userId, /** @type {ActionContext} */ { signal }) {
    await framework().call('account.switchAccount', { userId: text(userId) }, { signal });
  },

  async signOut(/** @type {string} */ userId, /** @type {ActionContext} */ { signal }) {
    await framework().call('account.logout', { userId: text(userId) }, { signal });
  },

  async reportStatus(/** @type {boolean} */ isInMeeting, /** @type {ActionContext} */ { signal }) {
    const params = {
      event: 'statusReported',
      busyType: isInMeeting === true ? 'meeting' : 'free',
      data: { isInMeeting: isInMeeting === true },
    };
    await framework().call('meeting.changeMeetingStatus', params, { signal });
  },

  async joinMeeting(/** @type {string} */ address) {
    await shell.openExternal(meetingAddress(address));
  },
});

module.exports = { actionsOf };
