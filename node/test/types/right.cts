// What works with TypeScript 5.0, the library of ES2020 and CommonJS as well.
import zef = require('zelectronframework');

const framework: zef.ElectronFramework = new zef.ElectronFramework({ libraryPath: '/opt/a.so' });
const listener = () => framework.callSync('utils.getLogPath').path.length;
framework.addListener('account.userInfoChanged', listener).removeAllListeners();
framework.prependOnceListener('account.userInfoChanged', listener);
if (framework.emit('account.cookieUpdated')) framework.subscribe('account.cookieUpdated', listener);

// Interfaces, classes and constants may be parameters and settings.
interface Codes {
  a: string;
}
interface Status {
  event: string;
  busyType: string;
  data: { meetingId: string; codes: Codes };
}
class Leaving {
  constructor(readonly reason: string) {}
}
const domains = { account: 'account.example.com', list: [1, 2] } as const;
export async function parameters(status: Status, codes: Codes, settings: zef.Settings) {
  await framework.call('meeting.changeMeetingStatus', status);
  await framework.call('account.logout', new Leaving('shift ends'));
  await framework.call('network.setCustomDomain', domains);
  const { data } = framework.callSync('accessbase.getDeviceHeader', { deviceCode: codes });
  if (typeof data !== 'string') return data.deviceId;
  return framework.init({ ...settings, standin: { accounts: [{ userid: '7' }] } as const });
}

// A method of a newer library is declared by who calls it.
declare module 'zelectronframework' {
  interface Methods {
    'utils.getUptime': { params: zef.NoParams; data: { seconds: number } };
  }
}
export const uptime = async () => (await framework.call('utils.getUptime')).seconds.toFixed();
// biome-ignore lint/suspicious/noExplicitAny: the other way
export const anything = (name: string) => framework.call(name as any, { any: 'thing' });

// `raw` may be known at run time only.
export async function either(raw: boolean) {
  const answer = await framework.call('utils.getLogPath', undefined, { raw });
  const now = framework.callSync('utils.getLogPath', undefined, { raw });
  return 'path' in answer ? answer.path : answer.result + ('path' in now ? now.path : now.msg);
}
