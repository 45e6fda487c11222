import zef = require('zelectronframework');

const framework: zef.ElectronFramework = new zef.ElectronFramework({ libraryPath: '/opt/a.so' });
const listener = () => framework.callSync('utils.getLogPath').path.length;
framework.addListener('account.userInfoChanged', listener).removeAllListeners();
