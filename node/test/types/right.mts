import { createPublicKey } from 'node:crypto';
import { on, once } from 'node:events';
import zelectronframework, {
  type AccountEntry,
  type CookieEntry,
  diagnose,
  doctor,
  ElectronFramework,
  type EventName,
  FrameworkError,
  type MethodName,
  type Methods,
  type SyncMethodName,
} from 'zelectronframework';
import { preloadFile, servePages } from 'zelectronframework/electron-main';
import type { ActionContext, Failure, PageBridge } from 'zelectronframework/electron-preload';

type Equal<A, B> =
  (<T>() => T extends A ? 1 : 2) extends <T>() => T extends B ? 1 : 2 ? true : false;
const same = <T extends true>(): T => true as T;

const demo = { appName: 'a', productName: 'a', version: '1', localStoragePath: '/tmp' };
const framework = await new ElectronFramework({ mock: true }).init({
  app: { appName: 'a', productName: 'a', version: '1', localStoragePath: '/tmp' },
  network: { proxy: { proxyType: 1 } },
  standin: { accounts: [] },
  ofTheAccountLibrary: 1,
});

const { path } = await framework.call('utils.getLogPath');
same<Equal<typeof path, string>>();
const cookies = framework.callSync('account.queryWebviewCookies', { url: 'https://a.example.com' });
same<Equal<typeof cookies.cookieList, CookieEntry[]>>();
const raw = await framework.call('account.getAccountListInfo', undefined, { raw: true });
if (raw.result === 'ok' && raw.data) same<Equal<typeof raw.data.accountListInfo, string[]>>();
const { data: key } = framework.callSync('account.getJwkPublicKeyStr');
if (key !== null && typeof key !== 'string') createPublicKey({ key, format: 'jwk' });
const pkce = await framework.call('account.generatePKCEParam', {}, { timeout: 5 });
same<Equal<typeof pkce.data.code_verifier, string>>();
await framework.call('account.logout', { userId: '1', deep: { list: [1, null] } });
await framework.call('meeting.changeMeetingStatus', { event: 'e', busyType: 'b', data: { n: 1 } });
const status: undefined = await framework.call('meeting.changeMeetingStatus', {
  event: 'e',
  busyType: 'b',
  data: {},
});
void status;

const { accountListInfo } = framework.callSync('account.getAccountListInfo');
const signedIn = accountListInfo.filter((entry): entry is AccountEntry => entry.is_login === true);
signedIn.map((account) => account.nickname.length + account.login_account_limit);

// Every method can be called by a name that is known only at run time.
const generic = <M extends MethodName>(method: M, params: Methods[M]['params']) =>
  framework.call(method, params, { raw: true });
void generic('account.logout', {});
const names: SyncMethodName[] = ['utils.getLogPath', 'accessbase.getDeviceInfo'];
const isMethod: MethodName = names[0] as SyncMethodName;
void isMethod;

const events: EventName[] = ['account.initFinished', 'account.cookieUpdated'];
for (const event of events) framework.on(event, () => {}, { signal: AbortSignal.timeout(1) });
framework.once('account.userInfoChanged', () => {}).off('account.userInfoChanged', () => {});
await once(framework, 'account.initFinished');
for await (const args of on(framework, 'account.cookieUpdated')) {
  void args;
  break;
}

{
  using subscription = framework.subscribe('account.userInfoChanged', () => {});
  using task = framework.onTask('meetingDataChangeTask', (message) => {
    switch (message.dataType) {
      case 'enterMeeting':
        return message.data.meetingUrl.length;
      case 'closeMeetingApp':
        return message.data.logoutAccount === true;
      case 'getMeetingStatus':
        return same<Equal<typeof message.data, undefined>>();
    }
  });
  void subscription;
  void task;
}

try {
  await framework.call('account.logout');
} catch (error) {
  if (error instanceof FrameworkError && error.code === 'ZEF_REPLY_FAIL') {
    FrameworkError.fromJSON(error.toJSON()).reply?.msg.length;
  }
}
same<Equal<typeof zelectronframework.ElectronFramework, typeof ElectronFramework>>();
const byDefault: zelectronframework.ElectronFramework = framework;
await byDefault.init({ app: demo }, { timeout: 5, signal: AbortSignal.timeout(5) });
framework.prependListener('account.cookieUpdated', () => {}, { signal: AbortSignal.timeout(1) });
(await doctor({ mock: true })).text.split('\n');

// Electron's pages
const actions = {
  logPath: async () => (await framework.call('utils.getLogPath')).path,
  signOut: (userId: string, { signal }: ActionContext) =>
    framework.call('account.logout', { userId }, { signal }),
  signIn: async (userId?: string) => userId?.length,
};
const ipcMain = { handle() {}, on() {} };
const pages = servePages<{ state: 'ready' | 'failed' }>({
  ipcMain,
  pages: [preloadFile],
  actions,
  failureOf: (error): Failure => ({ code: 'OURS', message: String(error) }),
});
pages.send('state', 'ready');
declare const bridge: PageBridge<typeof actions, { state: 'ready' | 'failed' }>;
const end: () => void = bridge.on('state', (state) => state === 'ready');
end();
const answer = await bridge.ask('logPath');
if (answer.ok) same<Equal<typeof answer.data, string>>();
else same<Equal<typeof answer.error, Failure>>();
bridge.ask('signOut', '7', 'a key');
bridge.ask('signIn');
bridge.cancel('a key');

diagnose({ mock: true }).findings.map(({ code, remedy }) => `${code} ${remedy}`);
await using disposed = framework;
void disposed;
