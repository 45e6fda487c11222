'use strict';

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { pathToFileURL } = require('node:url');
const { after, before, test } = require('node:test');
const electron = require('./fixtures/electron.cjs');
const { standin, until } = require('./support.cjs');

const example = path.join(__dirname, '../../examples/electron');
const chromium = ['/usr/bin/chromium', process.env.CHROMIUM].find(
  (file) => file && fs.existsSync(file),
);
// What drives the browser needs this version; the rest of the example runs on older ones too.
const drivesBrowser = chromium && Number(process.versions.node.split('.')[0]) >= 20;
let framework; // as the page sees it

before(async () => {
  process.env.ZEF_MOCK = '1';
  electron.install();
  require(path.join(example, 'main.js'));
  await until(() => electron.bridge.framework, 'the preload script has run');
  framework = electron.bridge.framework;
});

after(async () => {
  const quit = once(electron.app, 'quit');
  electron.app.quit();
  await quit;
});

test("the example agrees with Electron's own typings", () => {
  const tsc = require.resolve('typescript/bin/tsc');
  execFileSync(process.execPath, [tsc, '-p', example], { stdio: 'inherit' });
});

test('results and failures cross as plain objects', async () => {
  const signedIn = await framework.call('account.quickLogin', { keepOnline: true });
  assert.equal(signedIn.ok, true);
  assert.equal(signedIn.data.nickname, 'Ada');
  const list = await framework.call('account.getAccountListInfo');
  assert.equal(list.data.accountListInfo[0].is_login, true);
  const wrong = await framework.call('account.loginWithRandcode', { randcode: 'wrong' });
  assert.equal(wrong.ok, false);
  assert.equal(wrong.error.code, 'ZEF_REPLY_FAIL');
  assert.deepEqual(wrong.error.reply, { result: 'fail', msg: 'sign-in refused' });
});

test('a page reaches only what it is meant to', async () => {
  for (const method of [
    'network.updateProxyInfo',
    'utils.getLogPath',
    '__proto__',
    undefined,
    {},
  ]) {
    const result = await framework.call(method, {});
    assert.equal(result.error.code, 'NOT_ALLOWED');
  }
});

test('events and meeting messages reach the page until it stops listening', async () => {
  const heard = [];
  const endEvents = framework.onEvent((name) => heard.push(name));
  const endMeetings = framework.onMeeting((message) => heard.push(message));
  standin.raise('companyInfoChanged', 1, 0);
  await until(() => heard.includes('account.companyInfoChanged'), 'an event');
  standin.sendMessage('{"msgType":"closeMeetingApp","logoutAccount":false}');
  await until(() => heard.at(-1)?.dataType === 'closeMeetingApp', 'a message');
  endEvents();
  endMeetings();
  assert.equal(electron.ipcRenderer.listenerCount('framework:event'), 0);
  assert.equal(electron.ipcRenderer.listenerCount('framework:meeting'), 0);
});

test('the page signs in, lists accounts, shows events and messages', {
  skip: !drivesBrowser,
}, async (t) => {
  await framework.call('account.logout', { userId: '10001', removeAccount: true });
  const browser = await require('playwright-core').chromium.launch({
    executablePath: chromium,
    args: ['--no-sandbox', '--disable-gpu'],
  });
  t.after(() => browser.close());
  const page = await browser.newPage({ viewport: { width: 900, height: 460 } });
  const faults = [];
  page.on('pageerror', (error) => faults.push(error.message));
  page.on('console', (message) => {
    if (message.type() === 'error') faults.push(message.text());
  });
  await page.exposeFunction('callThroughBridge', (method, params) =>
    framework.call(method, params),
  );
  await page.addInitScript(() => {
    const listeners = { event: [], meeting: [] };
    window.deliver = (kind, value) => {
      for (const listener of listeners[kind]) listener(value);
    };
    window.framework = {
      call: (method, params) => window.callThroughBridge(method, params),
      onEvent: (listener) => listeners.event.push(listener),
      onMeeting: (listener) => listeners.meeting.push(listener),
    };
  });
  await page.goto(pathToFileURL(path.join(example, 'page.html')).href);
  const deliver = (kind) => (value) =>
    page.evaluate(([name, data]) => window.deliver(name, data), [kind, value]);
  t.after(framework.onEvent(deliver('event')));
  t.after(framework.onMeeting(deliver('meeting')));

  const status = page.locator('#status');
  await page.fill('#code', 'wrong');
  await page.click('#code-form button');
  await status.getByText('sign-in refused (ZEF_REPLY_FAIL)').waitFor();
  await page.click('#sign-in');
  await status.getByText('Signed in as Ada').waitFor();
  await page.locator('#accounts .current', { hasText: 'Ada (signed in)' }).waitFor();
  await page.locator('#events li', { hasText: 'account.cookieUpdated' }).first().waitFor();
  const meetingUrl = 'https://meet.example.com/<b>4712</b>';
  standin.sendMessage(JSON.stringify({ msgType: 'enterMeeting', meetingUrl, accessCode: '' }));
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await page.locator('#meetings li', { hasText: meetingUrl }).waitFor();
  await page.locator('#meetings li', { hasText: 'getMeetingStatus' }).waitFor();
  assert.deepEqual(faults, []);
  if (process.env.ZEF_SCREENSHOT) await page.screenshot({ path: process.env.ZEF_SCREENSHOT });
});
