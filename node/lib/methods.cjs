'use strict';

// Generated from interface/ by ./dev generate; a change belongs there.

// isSync: runs on any thread, so that callSync may call it.
// texts: the key of "data" whose texts are JSON.
const methods = new Map(
  Object.entries({
    'accessbase.getDeviceInfo': { isSync: true, texts: 'data' },
    'accessbase.getDeviceNetworkStatus': { isSync: true, texts: 'data' },
    'accessbase.getDeviceHeader': { isSync: true, texts: 'data' },
    'account.loginCallback': { isSync: false },
    'account.queryWebviewCookies': { isSync: true, texts: 'cookieList' },
    'account.quickLogin': { isSync: false },
    'account.getJwkPublicKeyStr': { isSync: true, texts: 'data' },
    'account.signPopToken': { isSync: true },
    'account.signLoginData': { isSync: true },
    'account.generatePKCEParam': { isSync: true },
    'account.logout': { isSync: false },
    'account.getAccountListInfo': { isSync: true, texts: 'accountListInfo' },
    'account.getOfficeUserInfo': { isSync: false },
    'account.switchAccount': { isSync: false },
    'account.upgradeAccount': { isSync: false },
    'account.downgradeAccount': { isSync: false },
    'account.updateAccountInfo': { isSync: false },
    'account.getUrlWithAuthorizeCode': { isSync: false },
    'account.loginWithSsid': { isSync: false },
    'account.loginWithRandcode': { isSync: false },
    'meeting.changeMeetingStatus': { isSync: false },
    'network.updateProxyInfo': { isSync: false },
    'network.setCustomDomain': { isSync: false },
    'utils.getLogPath': { isSync: true },
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
