'use strict';

// examples/electron: its main process and preload script on a stand-in of Electron's modules, its page
// in Chromium. With ZEF_SCREENSHOTS=FOLDER the pictures of the documents are made.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { pathToFileURL } = require('node:url');
const { before, test } = require('node:test');
const { mock } = require('../index.cjs');
const electron = require('./fixtures/electron.cjs');
const { scratch, standin, until } = require('./support.cjs');

const example = path.join(__dirname, '../../examples/electron');
const modules = path.join(__dirname, '../node_modules');
const chromium = ['/usr/bin/chromium', process.env.CHROMIUM].find(
  (file) => file && fs.existsSync(file),
);
// What drives the browser needs this version; the rest of the example runs on older ones too.
const drivesBrowser = chromium && Number(process.versions.node.split('.')[0]) >= 20;
let bridge; // as the page sees it
let state;
const heard = [];

before(async () => {
  electron.install();
  require(path.join(example, 'main.js'));
  await until(() => electron.bridge.bridge, 'the preload script has run');
  bridge = electron.bridge.bridge;
  bridge.onState((next) => {
    state = next;
  });
  bridge.onEvent((name) => heard.push(name));
  bridge.onMeeting((message) => heard.push(message.dataType));
  await until(() => state.phase === 'failed', 'a start without an account library');
});

/** The page in a browser, its bridge connected with the one of the preload script. */
async function openPage(t, options) {
  const browser = await require('playwright-core').chromium.launch({
    executablePath: chromium,
    args: ['--no-sandbox', '--disable-gpu'],
  });
  const page = await browser.newPage(options);
  const faults = [];
  const ends = [() => browser.close(), () => assert.deepEqual(faults, [])];
  t.after(async () => {
    for (const end of ends) await end();
  });
  page.on('pageerror', (error) => faults.push(error.message));
  page.on('console', (message) => {
    if (message.type() === 'error') faults.push(message.text());
  });
  await page.exposeFunction('askThroughBridge', (...values) => bridge.ask(...values));
  await page.exposeFunction('tryAgain', () => bridge.tryAgain());
  await page.addInitScript((now) => {
    const listeners = {};
    window.deliver = (kind, value) => listeners[kind](value);
    const listen = (kind) => (listener) => {
      listeners[kind] = listener;
    };
    window.bridge = {
      ask: (...values) => window.askThroughBridge(...values),
      tryAgain: () => window.tryAgain(),
      onEvent: listen('event'),
      onMeeting: listen('meeting'),
      onState: (listener) => {
        listen('state')(listener);
        listener(now);
      },
    };
  }, state);
  await page.goto(pathToFileURL(path.join(example, 'page.html')).href);
  for (const kind of ['state', 'event', 'meeting']) {
    const deliver = (_event, value) =>
      page.evaluate(([name, data]) => window.deliver(name, data), [kind, value]);
    electron.ipcRenderer.on(kind, deliver);
    ends.unshift(() => electron.ipcRenderer.off(kind, deliver));
  }
  return page;
}

/** Nothing that keeps somebody from using the page, light or dark, on a narrow screen or a wide one. */
async function assertUsable(page) {
  const axe = fs.readFileSync(require.resolve('axe-core'), 'utf8');
  const wide = page.viewportSize();
  for (const colorScheme of ['dark', 'light']) {
    for (const width of [420, wide.width]) {
      await page.emulateMedia({ colorScheme });
      await page.setViewportSize({ width, height: wide.height });
      const { violations } = await page.evaluate(`${axe}; axe.run({ preload: false })`);
      const found = violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html)}`);
      assert.deepEqual(found, [], `${colorScheme}, ${width}`);
      const needed = await page.evaluate('document.documentElement.scrollWidth');
      assert.ok(needed <= width, `${needed} of ${width} pixels`);
    }
  }
}

async function picture(page, name) {
  const folder = process.env.ZEF_SCREENSHOTS;
  if (folder)
    await page.screenshot({ path: path.join(folder, `electron-${name}.png`), fullPage: true });
}

test("the example agrees with Electron's typings when it is copied alone", () => {
  const copy = path.join(scratch, 'example');
  fs.cpSync(example, copy, { recursive: true });
  fs.mkdirSync(path.join(copy, 'node_modules'));
  for (const name of ['@types', 'electron', 'undici-types']) {
    fs.symlinkSync(path.join(modules, name), path.join(copy, 'node_modules', name));
  }
  fs.symlinkSync(path.join(modules, '..'), path.join(copy, 'node_modules/zelectronframework'));
  const tsc = path.join(modules, 'typescript/bin/tsc');
  execFileSync(process.execPath, [tsc, '-p', copy], { stdio: 'inherit' });
});

test("the example's README names its files and scripts as they are", () => {
  const text = fs.readFileSync(path.join(example, 'README.md'), 'utf8');
  const { scripts } = require(path.join(example, 'package.json'));
  for (const [, name] of text.matchAll(/^npm (?:run )?(\w+)/gm)) {
    assert.ok(name === 'install' || name in scripts, name);
  }
  const files = fs.readdirSync(example).filter((name) => !/json|README|node_modules/.test(name));
  for (const file of files) assert.ok(text.includes(`\`${file}\``), file);
});

test('a start that fails is shown with its code, the remedy and what the doctor found', {
  skip: !drivesBrowser,
}, async (t) => {
  assert.equal(state.error.code, 'ZEF_ACCOUNT_LIBRARY_MISSING');
  const page = await openPage(t, { viewport: { width: 900, height: 560 } });
  await page.getByText('ZEF_ACCOUNT_LIBRARY_MISSING', { exact: true }).waitFor();
  await page.locator('#failed-remedy', { hasText: 'accountLibrary' }).waitFor();
  assert.ok((await page.locator('#findings li').count()) > 0);
  await assertUsable(page);
  await picture(page, 'could-not-start');
});

test('trying again starts it', async () => {
  process.env.ZEF_MOCK = '1';
  bridge.tryAgain();
  await until(() => state.phase === 'ready', 'a start with the mock');
});

test('results and failures cross as plain objects, without internal texts', async () => {
  assert.equal((await bridge.ask('signIn')).ok, true);
  const { data: accounts } = await bridge.ask('accounts');
  assert.equal(accounts[0].is_login, true);
  const failure = (code, message) => ({ ok: false, error: { code, message } });
  assert.deepEqual(
    await bridge.ask('signInWithCode', 'wrong'),
    failure('ZEF_REPLY_FAIL', 'This code is not valid.'),
  );
  const otherwise = 'This did not work. Try again, or ask for help with the code.';
  standin.script('logout', '{"reply":{"result":"fail","msg":"internal words"}}');
  assert.deepEqual(
    await bridge.ask('signOut', accounts[0].userid),
    failure('ZEF_REPLY_FAIL', otherwise),
  );
  standin.script('logout', '{}');
  for (const wrong of [
    ['signInWithCode', ''],
    ['switchAccount', { userId: '1' }],
    ['utils.getLogPath'],
    ['__proto__'],
    [undefined],
  ]) {
    assert.deepEqual(await bridge.ask(...wrong), failure('NOT_ALLOWED', otherwise));
  }
});

test('only its own page asks, stays where it is and opens no window; a second start shows it', async () => {
  const own = electron.senderFrame.url;
  for (const url of ['https://example.com/', 'about:blank', `${own}/../other.html`]) {
    electron.senderFrame.url = url;
    assert.equal((await bridge.ask('accounts')).error.code, 'NOT_ALLOWED', url);
  }
  electron.senderFrame.url = own;
  const [window] = electron.windows;
  let isPrevented = false;
  window.webContents.emit('will-navigate', {
    preventDefault: () => {
      isPrevented = true;
    },
  });
  assert.ok(isPrevented);
  assert.deepEqual(window.openHandler(), { action: 'deny' });
  const focused = once(window, 'focus');
  electron.app.emit('second-instance');
  await focused;
});

test('the page signs in and out, switches, answers the office suite and shows what happens', {
  skip: !drivesBrowser,
}, async (t) => {
  const page = await openPage(t, { viewport: { width: 980, height: 640 } });
  const status = page.locator('#status');
  const account = (name) => page.locator('#accounts li', { hasText: name });

  // a required field, a wrong code, buttons that are disabled while an answer is awaited
  await page.getByText('Sign in with code').click();
  assert.equal(await page.locator('#code:invalid').count(), 1);
  standin.script('loginCallback', '{"delayMs":1000}');
  await page.fill('#code', 'wrong');
  await page.keyboard.press('Enter');
  await page.locator('#ready[aria-busy=true]').waitFor();
  assert.equal(await page.locator('button:visible:enabled').count(), 0);
  await page.getByRole('alert').getByText('This code is not valid. (ZEF_REPLY_FAIL)').waitFor();
  standin.script('loginCallback', '{}');
  assert.equal(await page.evaluate('document.activeElement.id'), 'code');

  // with the keyboard: a second account, back to the first, out
  mock({ users: [{ userid: '7', nickname: 'Bo', company_name: 'Acme' }] });
  await page.fill('#code', 'randcode-7');
  await page.keyboard.press('Enter');
  await status.getByText('Signed in as Bo').waitFor();
  await page.getByRole('button', { name: 'Switch to Ada' }).press('Enter');
  await status.getByText('Signed in as Ada').waitFor();
  await page.getByRole('button', { name: 'Sign out Bo' }).press('Enter');
  await account('Bo').getByText('signed out').waitFor();
  assert.equal(await page.locator('#failure').textContent(), '');

  // messages as fields, as text; the office suite's question is answered
  const meetingUrl = 'https://meet.example.com/<b>4712</b>';
  standin.sendMessage(JSON.stringify({ msgType: 'enterMeeting', meetingUrl, accessCode: '' }));
  await page.locator('#meetings dd', { hasText: meetingUrl }).waitFor();
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await page.getByRole('button', { name: 'In a meeting' }).click();
  await page.locator('#meetings li:first-child dd', { hasText: 'in a meeting' }).waitFor();
  await picture(page, 'signed-in');
  await assertUsable(page);

  // the newest event on top, names that break behind a dot, a list that is bounded
  for (let i = 0; i < 60; i += 1) {
    electron.ipcRenderer.emit('event', {}, 'account.companyInfoChanged');
  }
  const newest = page.locator('#events li:first-child', { hasText: 'account.companyInfoChanged' });
  await newest.locator('wbr').waitFor({ state: 'attached' });
  await page.locator('#events li:nth-child(50)').waitFor();
  assert.equal(await page.locator('#events li').count(), 50);
});

test('the office suite closes the application, which waits for the library but not forever', async () => {
  mock({ script: { logout: { times: 0 } } });
  let hasQuit = false;
  electron.app.once('quit', () => {
    hasQuit = true;
  });
  standin.sendMessage('{"msgType":"closeMeetingApp","logoutAccount":true}');
  await until(() => hasQuit, 'the end of the application', 7000);
  assert.ok(heard.includes('closeMeetingApp') && heard.includes('account.cookieUpdated'));
});
