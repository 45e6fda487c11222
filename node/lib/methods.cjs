'use strict';

// Generated from interface/ by ./dev generate; a change belongs there.

// isSync: runs on any thread, so that callSync may call it.
// isKept: the account library answers it and may do so twice.
// texts:  the key of "data" whose texts are JSON.
const methods = new Map(
  Object.entries({
    'accessbase.getDeviceInfo': { isSync: true, isKept: false, texts: 'data' },
    'accessbase.getDeviceNetworkStatus': { isSync: true, isKept: false, texts: 'data' },
    'accessbase.getDeviceHeader': { isSync: true, isKept: false, texts: 'data' },
    'account.loginCallback': { isSync: false, isKept: true },
    'account.queryWebviewCookies': { isSync: true, isKept: false, texts: 'cookieList' },
    'account.quickLogin': { isSync: false, isKept: true },
    'account.getJwkPublicKeyStr': { isSync: true, isKept: false, texts: 'data' },
    'account.signPopToken': { isSync: true, isKept: false },
    'account.signLoginData': { isSync: true, isKept: false },
    'account.generatePKCEParam': { isSync: true, isKept: false },
    'account.logout': { isSync: false, isKept: true },
    'account.getAccountListInfo': { isSync: true, isKept: false, texts: 'accountListInfo' },
    'account.getOfficeUserInfo': { isSync: false, isKept: true },
    'account.switchAccount': { isSync: false, isKept: true },
    'account.upgradeAccount': { isSync: false, isKept: true },
    'account.downgradeAccount': { isSync: false, isKept: true },
    'account.updateAccountInfo': { isSync: false, isKept: true },
    'account.getUrlWithAuthorizeCode': { isSync: false, isKept: true },
    'account.loginWithSsid': { isSync: false, isKept: true },
    'account.loginWithRandcode': { isSync: false, isKept: true },
    'meeting.changeMeetingStatus': { isSync: false, isKept: true },
    'network.updateProxyInfo': { isSync: false, isKept: false },
    'network.setCustomDomain': { isSync: false, isKept: false },
    'utils.getLogPath': { isSync: true, isKept: false },
  }),
);

const events = new Set([
  'account.initFinished',
  'account.currentAccountChanged',
  'account.authInfoChanged',
  'account.userInfoChanged',
  'account.companyInfoChanged',
  'account.accountListInfoChanged',
  'account.cookieUpdated',
]);

const taskTypes = new Set(['accountInfoCollectTask', 'meetingDataChangeTask']);

module.exports = { methods, events, taskTypes };
