// The main process owns the framework. Pages reach it through the channels below, which carry plain
// result objects: an error of its own class would lose everything but its message on the way.
'use strict';

const path = require('node:path');
const { app, BrowserWindow, ipcMain } = require('electron');
const { ElectronFramework, FrameworkError } = require('zelectronframework');

/** What pages may ask for; everything else is refused here, whatever a page sends. */
const allowedMethods = new Set([
  'account.quickLogin',
  'account.loginWithRandcode',
  'account.logout',
  'account.switchAccount',
  'account.getAccountListInfo',
  'meeting.changeMeetingStatus',
]);

const eventNames = /** @type {const} */ ([
  'account.initFinished',
  'account.currentAccountChanged',
  'account.authInfoChanged',
  'account.userInfoChanged',
  'account.companyInfoChanged',
  'account.accountListInfoChanged',
  'account.cookieUpdated',
]);

// Set in development; the account library itself is needed otherwise.
const framework = new ElectronFramework({ mock: process.env.ZEF_MOCK === '1' });

/** @param {unknown} error */
function failed(error) {
  if (error instanceof FrameworkError) return { ok: false, error: error.toJSON() };
  return { ok: false, error: { code: 'INTERNAL', message: String(error) } };
}

/** @param {string} method @param {import('zelectronframework').JsonObject} [params] */
async function call(method, params) {
  if (!allowedMethods.has(method)) {
    return { ok: false, error: { code: 'NOT_ALLOWED', message: `${method} is not for pages` } };
  }
  try {
    const known = /** @type {'account.logout'} */ (method); // one of the set above
    return { ok: true, data: await framework.call(known, params) };
  } catch (error) {
    return failed(error);
  }
}

function createWindow() {
  const window = new BrowserWindow({
    width: 900,
    height: 640,
    webPreferences: { preload: path.join(__dirname, 'preload.js') },
  });
  /** @param {string} channel @param {unknown} value */
  const send = (channel, value) => {
    if (!window.isDestroyed()) window.webContents.send(channel, value);
  };
  const subscriptions = eventNames.map((name) =>
    framework.subscribe(name, () => send('framework:event', name)),
  );
  subscriptions.push(
    framework.onTask('meetingDataChangeTask', (message) => send('framework:meeting', message)),
  );
  window.on('closed', () => {
    for (const subscription of subscriptions) subscription.dispose();
  });
  return window.loadFile(path.join(__dirname, 'page.html'));
}

async function start() {
  await app.whenReady();
  ipcMain.handle('framework:call', (_event, method, params) => call(method, params));
  await framework.init({
    app: {
      appName: app.getName(),
      productName: app.getName(),
      version: app.getVersion(),
      localStoragePath: app.getPath('userData'),
    },
  });
  await createWindow();
}

// Nothing has to be closed for a clean quit; this one lets the account library finish its work.
let isClosed = false;
app.on('will-quit', (event) => {
  if (isClosed) return;
  event.preventDefault();
  framework.close().then(() => {
    isClosed = true;
    app.quit();
  });
});
app.on('window-all-closed', () => app.quit());

start().catch((error) => {
  console.error(error instanceof FrameworkError ? error.message : error);
  app.exit(1);
});
