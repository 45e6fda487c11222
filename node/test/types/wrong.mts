// Each line below a directive must not compile; one that does is an error of its own.
import { diagnose, ElectronFramework, FrameworkError, mock } from 'zelectronframework';
import { servePages } from 'zelectronframework/electron-main';
import type { PageBridge } from 'zelectronframework/electron-preload';

const framework = new ElectronFramework();
const app = { appName: 'a', productName: 'a', version: '1', localStoragePath: '/tmp' };
const url = 'https://a.example.com';

// names
// @ts-expect-error no such method
framework.call('utils.getLogpath');
// @ts-expect-error no module
framework.call('getLogPath');
// @ts-expect-error no such event
framework.on('account.userInfo', () => {});
// @ts-expect-error event without its module
framework.once('userInfoChanged', () => {});
// @ts-expect-error no such event
framework.off('account.nothing', () => {});
// @ts-expect-error no such event
framework.subscribe('cookieUpdated', () => {});
// @ts-expect-error no such task
framework.onTask('meetingTask', () => {});

// threads
// @ts-expect-error runs on the host thread only
framework.callSync('account.logout');
// @ts-expect-error runs on the host thread only
framework.callSync('network.updateProxyInfo', { proxyType: 0 });
// @ts-expect-error runs on the host thread only
framework.callSync('meeting.changeMeetingStatus', { event: 'e', busyType: 'b', data: {} });

// parameters
// @ts-expect-error the parameters are missing
framework.call('account.queryWebviewCookies');
// @ts-expect-error the URL is missing
framework.call('account.queryWebviewCookies', {});
// @ts-expect-error misspelt
framework.call('account.queryWebviewCookies', { URL: url });
// @ts-expect-error not a text
framework.call('account.signLoginData', { signData: 1 });
// @ts-expect-error one of three is missing
framework.call('account.signPopToken', { method: 'GET', uri: url });
// @ts-expect-error takes nothing
framework.call('utils.getLogPath', { path: '/tmp' });
// @ts-expect-error no text instead of an object
framework.call('account.logout', 'everybody');
// @ts-expect-error no function in JSON
framework.call('account.logout', { userId: () => {} });
// @ts-expect-error a number is meant
framework.call('network.updateProxyInfo', { proxyType: 'http' });
// @ts-expect-error the spelling is the interface's
framework.call('network.updateProxyInfo', { proxyPassword: 'x' });
// @ts-expect-error an object is meant
framework.callSync('accessbase.getDeviceHeader', { deviceCode: 'x' });
// @ts-expect-error no such option
framework.call('utils.getLogPath', undefined, { timeOut: 5 });
// @ts-expect-error not a number
framework.call('utils.getLogPath', undefined, { timeout: '5s' });

// data
// @ts-expect-error no such key
(await framework.call('utils.getLogPath')).logPath;
// @ts-expect-error entries are objects
framework.callSync('account.getAccountListInfo').accountListInfo[0]?.length;
// @ts-expect-error raw entries are texts
framework.callSync('account.getAccountListInfo', {}, { raw: true }).data?.accountListInfo[0].userid;
// @ts-expect-error a promise
framework.call('utils.getLogPath').path;
// @ts-expect-error there is no data
(await framework.call('meeting.changeMeetingStatus', { event: 'e', busyType: 'b', data: {} })).ok;

// events and tasks
// @ts-expect-error an event brings nothing
framework.on('account.userInfoChanged', (user: object) => user);
framework.onTask('meetingDataChangeTask', (message) => {
  // @ts-expect-error which message it is comes first
  message.data.meetingUrl;
  // @ts-expect-error no such message
  if (message.dataType === 'leaveMeeting') return;
});

// start, errors, objects
// @ts-expect-error settings are needed
framework.init();
// @ts-expect-error a required text is missing
framework.init({ app: { appName: 'a', productName: 'a', version: '1' } });
// @ts-expect-error a flag is meant
framework.init({ app: { ...app, international: 'yes' } });
// @ts-expect-error no such option
new ElectronFramework({ mocked: true });
// @ts-expect-error no such code
if (new FrameworkError('ZEF_CLOSED', '').code === 'ZEF_ClOSED') diagnose();
// @ts-expect-error read-only
framework.running = true;
// @ts-expect-error a name that Electron's own emitter might know
diagnose({ asar: true });
// @ts-expect-error not once either
framework.prependOnceListener('account.userInfo', () => {});
// @ts-expect-error no such event
framework.emit('userInfoChanged');
// @ts-expect-error may be no object when the account library wrote none
framework.callSync('accessbase.getDeviceInfo').data.deviceId;
// @ts-expect-error may be the reply
(await framework.call('utils.getLogPath', {}, { raw: Boolean(url) })).path;

// the mock
// @ts-expect-error no such key
framework.init({ app, standin: { account: [] } });
// @ts-expect-error a person needs an id
framework.init({ app, standin: { accounts: [{ nickname: 'Ada' }] } });
// @ts-expect-error no such operation
mock({ script: { signOut: { refuse: true } } });
// @ts-expect-error no such key of a script
mock({ script: { logout: { fail: true } } });
// @ts-expect-error its name has no module here
mock({ signal: 'account.cookieUpdated' });
// @ts-expect-error no such message
mock({ message: { msgType: 'leaveMeeting' } });

// limits of init
// @ts-expect-error not a number
framework.init({ app }, { timeout: '5s' });
// @ts-expect-error the controller instead of its signal
framework.init({ app }, { signal: new AbortController() });
// Electron's pages
declare const bridge: PageBridge<{ signOut(userId: string): void }, { state: string }>;
// @ts-expect-error no such action
bridge.ask('signIn');
// @ts-expect-error the value is missing
bridge.ask('signOut');
// @ts-expect-error a text is meant
bridge.ask('signOut', 7);
// @ts-expect-error no such channel
bridge.on('event', () => {});
// @ts-expect-error the actions are missing
servePages({ ipcMain: { handle() {}, on() {} }, pages: [] });
// @ts-expect-error not Electron's ipcMain
servePages({ ipcMain: {}, pages: [], actions: {} });
