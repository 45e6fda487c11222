'use strict';

// isSync:   runs on any thread, so that callSync may call it.
// entries:  the key of "data" whose texts are JSON objects.
// isKept:   the account library answers it and may do so twice.
const sync = { isSync: true, isKept: false };
const queued = { isSync: false, isKept: false };
const passedOn = { isSync: false, isKept: true };

const methods = new Map(
  Object.entries({
    'utils.getLogPath': sync,
    'account.loginCallback': passedOn,
    'account.queryWebviewCookies': { ...sync, entries: 'cookieList' },
    'account.quickLogin': passedOn,
    'account.getJwkPublicKeyStr': sync,
    'account.signPopToken': sync,
    'account.signLoginData': sync,
    'account.generatePKCEParam': sync,
    'account.logout': passedOn,
    'account.getAccountListInfo': { ...sync, entries: 'accountListInfo' },
    'account.getOfficeUserInfo': passedOn,
    'account.switchAccount': passedOn,
    'account.upgradeAccount': passedOn,
    'account.downgradeAccount': passedOn,
    'account.updateAccountInfo': passedOn,
    'account.getUrlWithAuthorizeCode': passedOn,
    'account.loginWithSsid': passedOn,
    'account.loginWithRandcode': passedOn,
    'meeting.changeMeetingStatus': passedOn,
    'network.updateProxyInfo': queued,
    'network.setCustomDomain': queued,
    'accessbase.getDeviceInfo': sync,
    'accessbase.getDeviceNetworkStatus': sync,
    'accessbase.getDeviceHeader': sync,
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

const taskTypes = new Set(['meetingDataChangeTask', 'accountInfoCollectTask']);

module.exports = { methods, events, taskTypes };
