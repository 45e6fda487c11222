'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { channel } = require('node:diagnostics_channel');
const { spawn } = require('node:child_process');
const { setImmediate: turn } = require('node:timers/promises');
const { after, before, test } = require('node:test');
const { chromium } = require('playwright-core');
const { mock } = require('zelectronframework');
const { scratch, started, until } = require('./support.cjs');

const program = path.join(__dirname, '../bin/inspector.cjs');
const axe = fs.readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');
const pictures = process.env.ZEF_PICTURES && path.join(__dirname, '../images');
const executablePath = ['/usr/bin/chromium', process.env.CHROMIUM].find(
  (file) => file && fs.existsSync(file),
);

let browser;
before(async () => {
  browser = await chromium.launch({ executablePath, args: ['--no-sandbox', '--disable-gpu'] });
});
after(() => browser?.close());

/** A page on an inspector. What the browser complains of fails the test at its end. */
async function opened(t, url, options = {}) {
  const context = await browser.newContext({
    viewport: { width: 1100, height: 640 },
    bypassCSP: false,
    ...options,
  });
  const page = await context.newPage();
  const complaints = [];
  page.on('console', (message) => {
    const isEnd = message.text().includes('ERR_CONNECTION_REFUSED'); // the test ended the process
    if (['error', 'warning'].includes(message.type()) && !isEnd) complaints.push(message.text());
  });
  page.on('pageerror', (error) => complaints.push(error.stack));
  await page.goto(url);
  await page.getByRole('grid').waitFor();
  t.after(async () => {
    await context.close();
    assert.deepEqual(complaints, []);
  });
  return page;
}

/** The program as a user starts it. \returns the address that it prints */
async function startProgram(t, ...options) {
  const child = spawn(process.execPath, [program, ...options], {
    env: { ...process.env, XDG_STATE_HOME: scratch },
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const ended = new Promise((resolve) => child.once('exit', resolve));
  t.after(() => {
    child.kill();
    return ended;
  });
  let output = '';
  child.stdout.on('data', (part) => {
    output += part;
  });
  const url = await until(() => /http:\S+/.exec(output)?.[0], 'the address');
  return { url, child, ended };
}

const view = (page, name) => page.getByRole('button', { name, exact: true }).click();

async function picture(page, name) {
  if (pictures)
    await page.screenshot({ path: path.join(pictures, `${name}.png`), animations: 'disabled' });
}

async function checkAccess(page, what) {
  for (const colorScheme of ['dark', 'light']) {
    await page.emulateMedia({ colorScheme });
    // In a world of its own, where the page's policy does not apply.
    const { violations } = await page.evaluate(`${axe}; axe.run({ resultTypes: ['violations'] })`);
    assert.deepEqual(
      violations.map(({ id, nodes }) => `${what}, ${colorScheme}: ${id}: ${nodes[0].html}`),
      [],
    );
  }
}

test("a new user's minute: sign in, see events, let a logout fail, record, replay green and red", async (t) => {
  const { url } = await startProgram(t, '--mock');
  const page = await opened(t, url);
  assert.equal(new URL(page.url()).hash, '', 'the token leaves the address');
  const paint = await page.evaluate(
    () => performance.getEntriesByName('first-contentful-paint')[0].startTime,
  );
  t.diagnostic(`first picture after ${paint.toFixed(0)} ms`);
  assert.ok(paint < 3000, `${paint} ms`);

  await view(page, 'Replay');
  await page.getByRole('button', { name: '● record' }).click();
  await page.getByText('● recording').waitFor();

  const run = async (method, outcome) => {
    await view(page, 'Explorer');
    await page
      .getByRole('navigation', { name: 'Methods' })
      .getByRole('button', { name: method, exact: true })
      .click();
    await page.getByLabel('as JSON').fill('{}');
    await page.getByRole('button', { name: 'call', exact: true }).click();
    await page
      .getByRole('region', { name: 'Answer' })
      .getByText(outcome, { exact: true })
      .first()
      .waitFor();
  };
  await run('quickLogin', 'ok');
  await picture(page, 'explorer');
  await checkAccess(page, 'explorer');

  await view(page, 'Mock');
  await page.getByText('Ada', { exact: true }).waitFor();
  await page.getByRole('button', { name: 'refuse', exact: true }).click();
  await page.getByRole('button', { name: 'script', exact: true }).click();
  await page.getByText('logout: scripted for 1 more').waitFor();
  await page
    .getByRole('region', { name: 'Events and messages' })
    .getByRole('spinbutton')
    .fill('60000');
  await page.getByRole('button', { name: 'raise' }).click();
  await page.getByText(/^in (60|59)\.\d s/).waitFor();
  await picture(page, 'mock');
  await checkAccess(page, 'mock');
  await page.getByRole('button', { name: 'cancel' }).click();

  await run('logout', 'fail');
  await run('logout', 'ok');

  await view(page, 'Timeline');
  await page.getByLabel('Module').selectOption('account');
  await page.getByLabel('Result').selectOption('fail');
  await page.getByText('1 shown').waitFor();
  await page.getByLabel('Module').selectOption('');
  await page.getByLabel('Result').selectOption('');
  await page.getByLabel('Search').fill('method:logout result:fail');
  await page.getByText('1 shown').waitFor();
  await page.getByRole('row', { name: /account\.logout/ }).click();
  await page.getByRole('tab', { name: 'Reply' }).click();
  await page.getByRole('tabpanel').getByText('"refused"').waitFor();
  await page.getByLabel('Search').fill('');
  await page.getByRole('tab', { name: 'Reply' }).focus();
  await page.keyboard.press('ArrowRight');
  await page.getByRole('tab', { name: /Meanwhile/, selected: true }).waitFor();
  await picture(page, 'timeline');
  await checkAccess(page, 'timeline');

  await view(page, 'Charts');
  await page.getByRole('cell', { name: 'account.logout' }).getByRole('button').click();
  await page.getByRole('img', { name: 'Latency of account.logout' }).waitFor();
  await picture(page, 'charts');
  await checkAccess(page, 'charts');

  await view(page, 'Replay');
  await page.getByRole('button', { name: '■ stop' }).click();
  await page.getByRole('button', { name: 'replay', exact: true }).click();
  await page.getByRole('heading', { name: 'green' }).waitFor();
  const recording = page.getByLabel('recording', { exact: true });
  await recording.fill(
    (await recording.inputValue()).replace('"msg":"refused"', '"msg":"granted"'),
  );
  await page.getByRole('button', { name: 'replay', exact: true }).click();
  await page.getByRole('heading', { name: 'red' }).waitFor();
  await page.getByText('"granted"', { exact: true }).waitFor();
  await picture(page, 'replay');
  await checkAccess(page, 'replay');

  // The same on a narrow screen, where an entry covers the list.
  await page.setViewportSize({ width: 420, height: 720 });
  for (const name of ['Replay', 'Charts', 'Mock', 'Explorer', 'Timeline']) {
    await view(page, name);
    await checkAccess(page, `${name} at 420 px`);
    const excess = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
    assert.ok(excess <= 0, `${name} is ${excess} px too wide`);
  }
  await picture(page, 'narrow');
  await page.keyboard.press('Escape');
  await page.getByRole('region', { name: 'Entry' }).waitFor({ state: 'detached' });
});

test('foreign texts stay texts, and long ones do not block', async (t) => {
  const { framework, inspector } = await started(t);
  const page = await opened(t, inspector.url);
  const nasty = '<img src=x onerror="document.title=1">\n\u2028</script>';
  const show = async (reply) => {
    mock({ script: { logout: [{ reply }] } });
    await framework.call('account.logout', { reason: nasty }, { raw: true });
    await page
      .getByRole('row', { name: /account\.logout/ })
      .last()
      .click();
    await page.getByRole('tab', { name: 'Reply' }).click();
  };
  await show({ result: 'ok', msg: nasty });
  await page.getByRole('tabpanel').getByText(nasty.slice(0, 20)).waitFor();
  await show({ result: 'ok', data: { text: 'x'.repeat(10 * 2 ** 20) } });
  await page.getByText(/characters, too long to be masked/).waitFor();
  assert.equal(await page.title(), 'Inspector');
});

test('a secret is shown when it is asked for, it alone', async (t) => {
  const { framework, inspector } = await started(t);
  const page = await opened(t, inspector.url);
  await framework.call('account.loginWithSsid', { ssid: 'secret-one' }).catch(() => {});
  await framework.call('account.loginWithSsid', { ssid: 'secret-two' }).catch(() => {});
  await page
    .getByRole('row', { name: /loginWithSsid/ })
    .first()
    .click();
  await page.getByRole('button', { name: '{{ssid:1}}' }).click();
  await page.getByText('secret-one').waitFor();
  assert.equal(await page.getByText('secret-two').count(), 0);
});

test('100,000 entries scroll, by wheel and by keyboard', async (t) => {
  const { inspector, api } = await started(t);
  const events = channel('zelectronframework:event');
  for (let i = 0; i < 100_000; ++i) {
    events.publish({ instance: 1, name: 'account.cookieUpdated' });
    if (i % 1000 === 0) await turn();
  }
  const page = await opened(t, inspector.url);
  await page.getByText(/^100,\d\d\d shown · 0 lost/).waitFor();
  await page.evaluate(() => {
    window.longest = 0;
    new PerformanceObserver((list) => {
      for (const { duration } of list.getEntries())
        window.longest = Math.max(window.longest, duration);
    }).observe({ type: 'longtask' });
  });
  await page.getByRole('grid').focus();
  await page.mouse.move(300, 300);
  for (let i = 0; i < 30; ++i) await page.mouse.wheel(0, i % 2 ? -200_000 : 250_000);
  for (const key of ['Home', 'ArrowDown', 'PageDown', 'End', 'ArrowUp'])
    await page.keyboard.press(key);
  const { next } = await api.get('heads?from=99999999');
  const selected = page.getByRole('row', { selected: true });
  await selected.waitFor();
  const index = Number(await selected.getAttribute('aria-rowindex'));
  assert.ok(index > 100_000 && index <= next + 1, String(index));
  const longest = await page.evaluate(() => window.longest);
  t.diagnostic(`rows: longest task ${longest.toFixed(0)} ms with 100,000 entries`);
  assert.ok(longest < 200, `${longest} ms`); // the bar is 50 ms on an idle machine
});

test('the page tells when the process has gone', async (t) => {
  const { url, child, ended } = await startProgram(t);
  const page = await opened(t, url);
  child.kill();
  assert.equal(await ended, 0, 'a page that is open does not keep the process');
  await page.getByText('the process is gone').waitFor();
});
