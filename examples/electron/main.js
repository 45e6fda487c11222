// The main process owns the framework and the window. The window comes first, so that a start that
// fails is seen; the page reaches the framework through the actions in actions.js and nothing else.
'use strict';

const path = require('node:path');
const { app, BrowserWindow, ipcMain, nativeTheme, session } = require('electron');
const { ElectronFramework, diagnose } = require('zelectronframework');
const { preloadFile, servePages } = require('zelectronframework/electron-main');
const { actionsOf } = require('./actions.js');
const { failureOf, startFailureOf } = require('./failures.js');

/** @import { EventName, MeetingMessage } from 'zelectronframework' */
/** @import { Pages } from 'zelectronframework/electron-main' */
/** @import { Messages, State } from './bridge.js' */

const pageFile = path.join(__dirname, 'page.html');
const quitLimit = 3000; // milliseconds that the account library has to finish its work

/** @type {readonly EventName[]} */
const eventNames = [
  'account.initFinished',
  'account.currentAccountChanged',
  'account.authInfoChanged',
  'account.userInfoChanged',
  'account.companyInfoChanged',
  'account.accountListInfoChanged',
  'account.cookieUpdated',
];

/** @type {ElectronFramework} */
let framework;
/** @type {BrowserWindow | undefined} */
let window;
/** @type {State} */
let state = { phase: 'starting' };

/** @type {Pages<Messages>} */
const pages = servePages({
  ipcMain,
  pages: [pageFile],
  actions: actionsOf({
    framework: () => framework,
    sendState: () => pages.send('state', state),
    tryAgain() {
      if (state.phase === 'failed') startFramework();
    },
  }),
  failureOf,
});

/** @param {State} next */
function enter(next) {
  state = next;
  pages.send('state', state);
}

async function startFramework() {
  enter({ phase: 'starting' });
  // In development the mock takes the place of the account library.
  const options = { mock: process.env.ZEF_MOCK === '1', timeout: 60000 };
  framework = new ElectronFramework(options);
  // Before init, so that nothing is missed.
  for (const name of eventNames) framework.on(name, () => pages.send('event', name));
  framework.onTask('meetingDataChangeTask', followOfficeSuite);
  try {
    await framework.init({
      app: {
        appName: app.getName(),
        productName: app.getName(),
        version: app.getVersion(),
        localStoragePath: app.getPath('userData'),
      },
    });
    enter({ phase: 'ready' });
  } catch (error) {
    console.error(error);
    await framework.close();
    enter({ phase: 'failed', error: startFailureOf(error, diagnose(options), app.isPackaged) });
  }
}

/** @param {MeetingMessage} message */
async function followOfficeSuite(message) {
  pages.send('meeting', message);
  if (message.dataType === 'enterMeeting') showWindow();
  if (message.dataType !== 'closeMeetingApp') return;
  if (message.data.logoutAccount) {
    const limit = { timeout: quitLimit };
    await framework.call('account.logout', undefined, limit).catch(console.error);
  }
  app.quit();
}

function createWindow() {
  window = new BrowserWindow({
    width: 980,
    height: 720,
    minWidth: 420,
    autoHideMenuBar: true,
    title: 'Meeting application',
    backgroundColor: nativeTheme.shouldUseDarkColors ? '#12161b' : '#f4f6f9', // as in page.css
    webPreferences: { preload: preloadFile },
  });
  window.on('closed', () => {
    window = undefined;
  });
  window.webContents.on('will-navigate', (event) => event.preventDefault());
  window.webContents.setWindowOpenHandler(() => ({ action: 'deny' }));
  return window.loadFile(pageFile);
}

function showWindow() {
  if (!window) return;
  if (window.isMinimized()) window.restore();
  window.focus();
}

async function start() {
  await app.whenReady();
  session.defaultSession.setPermissionCheckHandler(() => false);
  session.defaultSession.setPermissionRequestHandler((_contents, _permission, answer) =>
    answer(false),
  );
  await createWindow();
  await startFramework();
}

// Nothing has to be closed for a clean quit; this lets the account library finish, for a while.
let isClosed = false;
app.on('will-quit', (event) => {
  if (isClosed || !framework) return;
  event.preventDefault();
  const limit = new Promise((resolve) => setTimeout(resolve, quitLimit));
  Promise.race([framework.close(), limit]).then(() => {
    isClosed = true;
    app.quit();
  });
});
app.on('window-all-closed', () => app.quit());

if (app.requestSingleInstanceLock()) {
  app.on('second-instance', showWindow);
  start().catch((error) => {
    console.error(error);
    app.exit(1);
  });
} else {
  app.quit();
}
