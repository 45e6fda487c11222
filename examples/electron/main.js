// The main process owns the framework and the window. The window comes first, so that a start that
// fails is seen; pages reach the framework through the actions in actions.js and nothing else.
'use strict';

const path = require('node:path');
const { fileURLToPath } = require('node:url');
const { app, BrowserWindow, ipcMain, session } = require('electron');
const { ElectronFramework, FrameworkError, diagnose } = require('zelectronframework');
const { actionsOf, failureOf } = require('./actions.js');

/** @import { MeetingMessage, EventName } from 'zelectronframework' */
/** @import { State } from './bridge.js' */

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

/** @type {ElectronFramework | undefined} */
let framework;
/** @type {BrowserWindow | undefined} */
let window;
/** @type {State} */
let state = { phase: 'starting' };

/** @param {string} channel @param {unknown} value */
function send(channel, value) {
  if (window && !window.isDestroyed()) window.webContents.send(channel, value);
}

/** @param {State} next */
function enter(next) {
  state = next;
  send('state', state);
}

async function startFramework() {
  enter({ phase: 'starting' });
  // In development the mock takes the place of the account library.
  const options = { mock: process.env.ZEF_MOCK === '1', timeout: 60000 };
  const started = new ElectronFramework(options);
  for (const name of eventNames) started.on(name, () => send('event', name));
  try {
    await started.init({
      app: {
        appName: app.getName(),
        productName: app.getName(),
        version: app.getVersion(),
        localStoragePath: app.getPath('userData'),
      },
    });
    started.onTask('meetingDataChangeTask', (message) => followOfficeSuite(started, message));
  } catch (error) {
    console.error(error);
    await started.close();
    const { code, remedy } = error instanceof FrameworkError ? error : { code: 'INTERNAL' };
    const message = error instanceof FrameworkError ? error.message.split('\n')[0] : '';
    enter({
      phase: 'failed',
      error: { code, message, remedy, findings: diagnose(options).findings },
    });
    return;
  }
  framework = started;
  enter({ phase: 'ready' });
}

/** @param {ElectronFramework} running @param {MeetingMessage} message */
async function followOfficeSuite(running, message) {
  send('meeting', message);
  if (message.dataType !== 'closeMeetingApp') return;
  const limit = { timeout: quitLimit };
  if (message.data.logoutAccount) {
    await running.call('account.logout', undefined, limit).catch(console.error);
  }
  app.quit();
}

function createWindow() {
  window = new BrowserWindow({
    width: 980,
    height: 720,
    minWidth: 420,
    title: 'Meeting application',
    webPreferences: { preload: path.join(__dirname, 'preload.js') },
  });
  window.webContents.on('will-navigate', (event) => event.preventDefault());
  window.webContents.setWindowOpenHandler(() => ({ action: 'deny' }));
  return window.loadFile(pageFile);
}

/** Only our own page may ask, not a frame or a page that somebody brought it to show. */
function listenToPage() {
  const actions = actionsOf(() => framework);
  /** @param {Electron.IpcMainInvokeEvent | Electron.IpcMainEvent} event */
  const isOurs = ({ senderFrame }) =>
    senderFrame?.url.startsWith('file:') && fileURLToPath(senderFrame.url) === pageFile;
  ipcMain.handle('ask', async (event, name, ...values) => {
    if (!isOurs(event)) return { ok: false, error: { code: 'NOT_ALLOWED', message: '' } };
    try {
      return { ok: true, data: await actions(name, values) };
    } catch (error) {
      return { ok: false, error: failureOf(error) };
    }
  });
  ipcMain.on('ready-for-state', (event) => {
    if (isOurs(event)) send('state', state);
  });
  ipcMain.on('try-again', (event) => {
    if (isOurs(event) && state.phase === 'failed') startFramework();
  });
}

async function start() {
  await app.whenReady();
  session.defaultSession.setPermissionRequestHandler((_contents, _permission, answer) =>
    answer(false),
  );
  listenToPage();
  await createWindow();
  await startFramework();
}

function showWindow() {
  if (!window) return;
  if (window.isMinimized()) window.restore();
  window.focus();
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
