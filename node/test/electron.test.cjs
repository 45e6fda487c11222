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
const { ElectronFramework, mock } = require('../index.cjs');
const electron = require('./fixtures/electron.cjs');
const { scratch, standin, until } = require('./support.cjs');

const example = path.join(__dirname, '../../examples/electron');
const modules = path.join(__dirname, '../node_modules');
const chromium = ['/usr/bin/chromium', process.env.CHROMIUM].find(
  (file) => file && fs.existsSync(file),
);
// What drives the browser needs this version; the rest of the example runs on older ones too.
const drivesBrowser = chromium && Number(process.versions.node.split('.')[0]) >= 20;
const otherwise = 'This did not work. Try again, or ask for help with the code.';
let bridge; // as the page sees it
let state;
const heard = [];

before(async () => {
  electron.install();
  // A message comes before the example hears of its start.
  const { init } = ElectronFramework.prototype;
  ElectronFramework.prototype.init = async function (...values) {
    await init.apply(this, values);
    mock({ message: { msgType: 'getMeetingStatus' } });
  };
  require(path.join(example, 'main.js'));
  await until(() => electron.bridge.framework, 'the preload script has run');
  bridge = electron.bridge.framework;
  bridge.on('state', (next) => {
    state = next;
  });
  bridge.on('event', (name) => heard.push(name));
  bridge.on('meeting', (message) => heard.push(message.dataType));
  bridge.ask('sendState');
  await until(() => state?.phase === 'failed', 'a start without an account library');
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
  for (const channel of ['state', 'event', 'meeting']) {
    const deliver = (value) => page.evaluate((all) => window.deliver(...all), [channel, value]);
    ends.unshift(bridge.on(channel, deliver));
  }
  await page.exposeFunction('askThroughBridge', (...values) => bridge.ask(...values));
  await page.exposeFunction('cancelThroughBridge', (key) => bridge.cancel(key));
  await page.addInitScript(() => {
    const listeners = {};
    window.deliver = (channel, value) => listeners[channel]?.(value);
    const framework = {
      ask: (...values) => window.askThroughBridge(...values),
      cancel: (key) => window.cancelThroughBridge(key),
      on: (channel, listener) => {
        listeners[channel] = listener;
      },
    };
    // As Electron defines it: a page that declares the name again does not run.
    Object.defineProperty(window, 'framework', { value: framework });
  });
  await page.goto(pathToFileURL(path.join(example, 'page.html')).href);
  return page;
}

/** How fields stand out from what is around them, as WCAG computes it. */
function leastContrast() {
  const light = (color) => {
    const [red, green, blue] = color.match(/[\d.]+/g).map((part) => {
      const value = part / 255;
      return value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  };
  const ratios = [...document.querySelectorAll('input')].map((field) => {
    const border = light(getComputedStyle(field).borderTopColor);
    const around = light(getComputedStyle(field.closest('.card')).backgroundColor);
    return (Math.max(border, around) + 0.05) / (Math.min(border, around) + 0.05);
  });
  return Math.min(...ratios);
}

/** Nothing that keeps somebody from using the page, light or dark, on a narrow screen or a wide one. */
async function assertUsable(page) {
  const axe = fs.readFileSync(require.resolve('axe-core'), 'utf8');
  const before = page.viewportSize();
  for (const colorScheme of ['dark', 'light']) {
    for (const width of [420, before.width, 1600]) {
      await page.emulateMedia({ colorScheme });
      await page.setViewportSize({ width, height: before.height });
      const { violations } = await page.evaluate(`${axe}; axe.run({ preload: false })`);
      const found = violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html)}`);
      assert.deepEqual(found, [], `${colorScheme}, ${width}`);
      const needed = await page.evaluate('document.documentElement.scrollWidth');
      assert.ok(needed <= width, `${needed} of ${width} pixels`);
      const contrast = await page.evaluate(leastContrast);
      assert.ok(contrast >= 3, `fields have a contrast of ${contrast}`);
    }
  }
  await page.setViewportSize(before);
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

test('a start that fails is told to people, with details for developers', {
  skip: !drivesBrowser,
}, async (t) => {
  const { code, details } = state.error;
  assert.equal(code, 'ZEF_ACCOUNT_LIBRARY_MISSING');
  const failed = 'the account library cannot be loaded: libzaccountlite.so';
  assert.ok(details[0].startsWith(failed), details[0]);
  assert.equal(details.filter((text) => text.includes(failed)).length, 1);
  assert.match(details.at(-1), /npm run doctor/);
  const { startFailureOf } = require(path.join(example, 'failures.js'));
  const packaged = startFailureOf(new Error('internal words'), { findings: [] }, true);
  assert.equal(packaged.code, 'INTERNAL');
  assert.doesNotMatch(JSON.stringify(packaged), /np[mx] /);

  const page = await openPage(t, { viewport: { width: 900, height: 560 } });
  await page.getByRole('heading', { name: 'The application could not start' }).waitFor();
  await page.getByText('ZEF_ACCOUNT_LIBRARY_MISSING', { exact: true }).waitFor();
  await page.getByText('Install the application again.').waitFor();
  await picture(page, 'could-not-start');
  assert.equal(await page.locator('#failed-details').isVisible(), false);
  await page.locator('#failed summary').press('Enter');
  assert.ok((await page.locator('#failed-details li:visible').count()) >= 4);
  await assertUsable(page);
});

test('trying again starts it, and what the office suite sends at once is not missed', async () => {
  process.env.ZEF_MOCK = '1';
  bridge.ask('tryAgain');
  await until(() => state.phase === 'ready', 'a start with the mock');
  await until(() => heard.includes('getMeetingStatus'), 'the first message');
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
  standin.script('logout', '{"reply":{"result":"fail","msg":"internal words"}}');
  assert.deepEqual(
    await bridge.ask('signOut', accounts[0].userid),
    failure('ZEF_REPLY_FAIL', otherwise),
  );
  standin.script('logout', '{}');
  for (const wrong of [
    ['signInWithCode', ''],
    ['switchAccount', { userId: '1' }],
    ['signIn', 7],
  ]) {
    assert.deepEqual(await bridge.ask(...wrong), failure('NOT_ALLOWED', otherwise));
  }
  for (const address of ['file:///etc/passwd', 'https://meet.example.com.example.net/', 'no URL']) {
    const { error } = await bridge.ask('joinMeeting', address);
    assert.equal(error.message, 'This is not the address of a meeting.', address);
  }
  assert.deepEqual(electron.shell.opened, []);
});

test('it stays on its page and opens no window; a second start shows it', async () => {
  const own = electron.senderFrame.url;
  electron.senderFrame.url = 'file://host/page.html';
  assert.equal((await bridge.ask('accounts')).error.code, 'NOT_ALLOWED');
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

test('the page signs in and out and switches, by keyboard', { skip: !drivesBrowser }, async (t) => {
  const page = await openPage(t, { viewport: { width: 980, height: 640 } });
  const status = page.locator('#status');
  const button = (name) => page.getByRole('button', { name, exact: true });
  const row = (name) => page.locator('#others li', { hasText: name });
  await status.getByText('Signed in as Ada').waitFor();
  await page.getByText('Sign in with another account').press('Enter');

  // a required field; a wrong code
  await button('Sign in').click();
  assert.equal(await page.locator('#code:invalid').count(), 1);
  await page.fill('#code', 'wrong');
  await page.keyboard.press('Enter');
  const alert = page.getByRole('alert');
  await alert.getByText('This code is not valid.').waitFor();
  await alert.getByText('Code ZEF_REPLY_FAIL').waitFor();
  assert.equal(await page.evaluate('document.activeElement.id'), 'code');

  // a second account, back to the first, the second out; no failure stays
  mock({ users: [{ userid: '7', nickname: 'Bo', company_name: 'Acme' }] });
  await page.fill('#code', 'randcode-7');
  await page.keyboard.press('Enter');
  await status.getByText('Signed in as Bo').waitFor();
  await button('Switch to Ada').press('Enter');
  await status.getByText('Signed in as Ada').waitFor();
  await button('Sign out Bo').press('Enter');
  await row('Bo').getByText('Signed out').waitFor();
  assert.equal(await page.evaluate('document.activeElement.ariaLabel'), 'Sign in Bo');
  assert.equal(await page.locator('#notices > *').count(), 0);
  await assertUsable(page);
});

test('what waits disables nothing but itself and can be cancelled', {
  skip: !drivesBrowser,
}, async (t) => {
  const page = await openPage(t, { viewport: { width: 980, height: 640 } });
  const quick = page.locator('#quick');
  const notice = page.locator('#notices .waiting', { hasText: 'Waiting for the office suite' });
  await page.getByText('Sign in with another account').click();
  standin.script('loginCallback', '{"times":0}');
  await quick.press('Enter');
  await notice.waitFor();
  assert.equal(await page.locator('button[aria-disabled]').count(), 1);
  assert.equal(await quick.getAttribute('aria-busy'), 'true');
  await assertUsable(page);

  // messages as fields, as text; the question is answered meanwhile
  const meetingUrl = 'https://meet.example.com/<b>4712</b>';
  standin.sendMessage(
    JSON.stringify({ msgType: 'enterMeeting', meetingUrl, accessCode: '123 456' }),
  );
  await page.locator('#messages dd', { hasText: meetingUrl }).waitFor();
  for (let i = 0; i < 2; i += 1) standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await page.getByRole('button', { name: 'In a meeting' }).press('Enter');
  await page.locator('#messages li:first-child dd', { hasText: 'In a meeting' }).waitFor();
  assert.equal(await page.locator('#messages li').count(), 2);
  await page.getByRole('button', { name: 'Join' }).click();
  await until(() => electron.shell.opened.length > 0, 'the meeting is opened');
  assert.deepEqual(electron.shell.opened, [new URL(meetingUrl).href]);

  await notice.getByRole('button', { name: 'Cancel' }).press('Enter');
  await page.locator('#status', { hasText: 'No longer waiting' }).waitFor({ state: 'attached' });
  assert.equal(await page.evaluate('document.activeElement.id'), 'quick');
  assert.equal(await page.locator('#notices > *, [aria-disabled]').count(), 0);
  standin.script('loginCallback', '{}');
});

test('the page follows events, shows them bounded, and tells when it cannot', {
  skip: !drivesBrowser,
}, async (t) => {
  const page = await openPage(t, { viewport: { width: 980, height: 640 } });
  await page.locator('#current', { hasText: 'Ada' }).waitFor();
  mock({ users: [{ userid: '7', nickname: 'Bo', company_name: 'Acme' }] });
  await bridge.ask('signInWithCode', 'randcode-7');
  await page.locator('#current', { hasText: 'Bo' }).waitFor();
  await bridge.ask('switchAccount', '10001');
  await page.locator('#current', { hasText: 'Ada' }).waitFor();

  standin.sendMessage(
    '{"msgType":"enterMeeting","meetingUrl":"https://meet.example.com/4712","accessCode":"123 456"}',
  );
  standin.sendMessage('{"msgType":"getMeetingStatus"}');
  await page.getByRole('button', { name: 'In a meeting' }).waitFor();
  await picture(page, 'signed-in');
  await page.emulateMedia({ colorScheme: 'dark' });
  await page.setViewportSize({ width: 420, height: 640 });
  await picture(page, 'narrow-dark');
  await page.getByRole('button', { name: 'Dismiss' }).first().press('Enter');
  assert.equal(await page.evaluate('document.activeElement.id'), 'meetings-title');

  // the newest on top, names that break behind a dot
  await page.getByText('Activity').click();
  for (let i = 0; i < 60; i += 1) {
    electron.ipcRenderer.emit('zelectronframework:message:event', {}, 'account.cookieUpdated');
  }
  const newest = page.locator('#events li:first-child', { hasText: 'account.cookieUpdated' });
  await newest.locator('wbr').waitFor({ state: 'attached' });
  await page.locator('#events li:nth-child(50)').waitFor({ state: 'attached' });
  assert.equal(await page.locator('#events li').count(), 50);

  const own = electron.senderFrame.url;
  electron.senderFrame.url = 'about:blank'; // so that asking for the accounts fails
  electron.ipcRenderer.emit('zelectronframework:message:event', {}, 'account.userInfoChanged');
  const alert = page.getByRole('alert');
  await alert.getByText('The accounts may have changed.').waitFor();
  await assertUsable(page);
  electron.senderFrame.url = own;
  await alert.getByRole('button', { name: 'Try again' }).click();
  await alert.waitFor({ state: 'detached' });
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
