'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { after, before } = require('node:test');
const { chromium } = require('playwright-core');
const { atEnd } = require('./support.cjs');

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

/**
 * A page on an inspector. What the browser complains of fails the test at its end.
 * @param options.expected what it may complain of; the other options are those of a browser context
 */
async function opened(t, url, { expected, ...options } = {}) {
  const context = await browser.newContext({
    viewport: { width: 1280, height: 720 },
    bypassCSP: false,
    permissions: ['clipboard-read', 'clipboard-write'],
    ...options,
  });
  const page = await context.newPage();
  const complaints = [];
  page.on('console', (message) => {
    const text = message.text();
    const isFault = ['error', 'warning'].includes(message.type()) && !expected?.test(text);
    if (isFault) complaints.push(text);
  });
  page.on('pageerror', (error) => complaints.push(error.stack));
  await page.goto(url);
  await page.getByRole('grid').waitFor();
  atEnd(t, async () => {
    await context.close();
    assert.deepEqual(complaints, []);
  });
  return page;
}

const view = (page, name) =>
  page
    .getByRole('navigation', { name: 'Views' })
    .getByRole('button', { name, exact: true })
    .click();

/** What the footer of the timeline says. */
async function says(page, text) {
  const status = page.getByRole('main').getByRole('status');
  await status
    .getByText(text)
    .waitFor()
    .catch(async (error) => {
      throw new Error(`not ${text}: ${await status.textContent()}`, { cause: error });
    });
}

async function picture(page, name) {
  if (!pictures) return;
  await page.mouse.move(0, 0);
  const session = await page.context().newCDPSession(page);
  const { data } = await session.send('Page.captureScreenshot', { format: 'webp', quality: 80 });
  fs.writeFileSync(path.join(pictures, `${name}.webp`), Buffer.from(data, 'base64'));
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

/**
 * Runs something while the browser notes what the page's thread does.
 * @returns the longest task in milliseconds of processor time, whatever else the machine does
 */
async function longestTask(page, run) {
  await browser.startTracing(page, { categories: ['toplevel'] });
  await run();
  const { traceEvents } = JSON.parse(await browser.stopTracing());
  const threads = traceEvents
    .filter(({ name, args }) => name === 'thread_name' && args.name === 'CrRendererMain')
    .map(({ tid }) => tid);
  const tasks = traceEvents.filter(
    ({ name, tid, tdur }) => name.endsWith('RunTask') && threads.includes(tid) && tdur,
  );
  assert.ok(tasks.length > 0, 'tasks were noted');
  return tasks.reduce((longest, { tdur }) => Math.max(longest, tdur / 1000), 0);
}

module.exports = { opened, view, says, picture, checkAccess, longestTask };
