'use strict';

// electron-main.js and electron-preload.js, on a stand-in of Electron's modules.

const assert = require('node:assert/strict');
const { EventEmitter } = require('node:events');
const { beforeEach, test } = require('node:test');
const { FrameworkError } = require('../index.cjs');
const { preloadFile, servePages } = require('../electron-main.js');
const electron = require('./fixtures/electron.cjs');
const { failure } = require('./support.cjs');

const refused = { ok: false, error: { code: 'NOT_ALLOWED', message: '' } };
const { BrowserWindow, ipcMain, senderFrame } = electron;
let page;
let isCancelled;
let pages;

const actions = {
  twice: (value) => 2 * value,
  uncopied: () => () => {},
  wait: (_value, { signal }) =>
    new Promise((_resolve, reject) => {
      isCancelled = () => signal.aborted;
      signal.onabort = () => reject(new FrameworkError('ZEF_ABORTED', 'internal words'));
    }),
  fail(error) {
    throw typeof error === 'string'
      ? new FrameworkError('ZEF_REPLY_FAIL', 'internal', { reply: { result: 'fail', msg: error } })
      : new Error('internal words');
  },
};

beforeEach(() => {
  ipcMain.removeAllListeners();
  pages = servePages({
    ipcMain,
    pages: ['/opt/an app/page.html', 'https://app.example.com/pages/', 'app://ours/index.html'],
    actions,
  });
  new BrowserWindow({});
  senderFrame.url = 'file:///opt/an%20app/page.html';
  electron.runPreload(preloadFile);
  page = electron.bridge.framework;
});

test('its own pages ask, whatever their query and fragment; nobody else, and nothing throws', async () => {
  const rows = {
    'file:///opt/an%20app/page.html?a=1#b': true,
    'file:///opt/an%20app/../an%20app/page.html': true,
    'https://app.example.com/pages/one/two.html': true,
    'app://ours/index.html': true,
    'file:///opt/an%20app/other.html': false,
    'file:///opt/an%20app%2fpage.html': false,
    'file://host/opt/an%20app/page.html': false,
    'https://app.example.com/pages': false,
    'https://app.example.com/pages/../other.html': false,
    'https://app.example.com.example.net/pages/one.html': false,
    'http://app.example.com/pages/one.html': false,
    'app://others/index.html': false,
    'about:blank': false,
    'no URL': false,
  };
  for (const [url, isOurs] of Object.entries(rows)) {
    senderFrame.url = url;
    const answer = isOurs ? { ok: true, data: 42 } : refused;
    assert.deepEqual(await page.ask('twice', 21), answer, url);
  }
  senderFrame.url = 'file:///opt/an%20app/page.html';
  senderFrame.parent = {}; // a frame inside the page
  assert.deepEqual(await page.ask('twice', 21), refused);
  senderFrame.parent = null;
  const sender = new EventEmitter();
  const gone = {
    sender,
    get senderFrame() {
      throw new Error('Render frame was disposed');
    },
  };
  for (const event of [gone, { sender, senderFrame: null }]) {
    ipcMain.emit('zelectronframework:cancel', event, 'key');
    ipcMain.emit('zelectronframework:listen', event);
    pages.send('number', 1);
  }
  assert.throws(
    () => servePages({ ipcMain, pages: ['page.html'], actions }),
    failure('ZEF_BAD_ARGUMENT', { message: /page\.html is neither/ }),
  );
});

test('only what is offered is run, and what fails crosses as a code and the text of a reply', async (t) => {
  for (const name of ['toString', '__proto__', ['twice'], undefined]) {
    assert.deepEqual(await page.ask(name), refused);
  }
  const failed = (code, message = '') => ({ ok: false, error: { code, message } });
  t.mock.method(console, 'error', () => {});
  assert.deepEqual(
    await page.ask('fail', 'no office app'),
    failed('ZEF_REPLY_FAIL', 'no office app'),
  );
  assert.deepEqual(await page.ask('fail'), failed('INTERNAL'));
  assert.deepEqual(await page.ask('uncopied'), failed('INTERNAL'));
  assert.equal(console.error.mock.callCount(), 1);
  servePages({ ipcMain, pages: [senderFrame.url], actions, failureOf: () => ({ code: 'MINE' }) });
  assert.deepEqual(await page.ask('fail'), { ok: false, error: { code: 'MINE' } });
});

test('a page cancels by the key what it asked itself', async () => {
  const answer = page.ask('wait', undefined, 'first');
  page.cancel('second');
  new BrowserWindow({}); // another page
  page.cancel('first');
  assert.ok(!isCancelled());
  electron.windows.pop();
  page.cancel('first');
  assert.deepEqual(await answer, { ok: false, error: { code: 'ZEF_ABORTED', message: '' } });
  page.cancel('first'); // nothing by now
  const again = page.ask('wait', undefined, 'first');
  page.cancel('first');
  assert.equal((await again).error.code, 'ZEF_ABORTED');
});

test('what is sent reaches the pages that listen and are still its own', () => {
  const heard = [];
  pages.send('number', 1); // nobody listens yet
  const end = page.on('number', (value) => heard.push(value));
  for (let i = 0; i < 20; i += 1) page.on('text', (value) => heard.push(value))();
  page.on('text', (value) => heard.push(value));
  pages.send('number', 2);
  pages.send('text', { a: ['text'] });
  const { url } = senderFrame;
  senderFrame.url = 'https://example.com/';
  pages.send('number', 3);
  senderFrame.url = url;
  end();
  pages.send('number', 4);
  electron.windows.at(-1).webContents.emit('destroyed');
  pages.send('text', 'too late');
  assert.deepEqual(heard, [2, { a: ['text'] }]);
});
