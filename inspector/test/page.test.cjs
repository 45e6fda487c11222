'use strict';

const assert = require('node:assert/strict');
const path = require('node:path');
const { spawn } = require('node:child_process');
const { test } = require('node:test');
const { checkAccess, opened, picture, says, view } = require('./browser.cjs');
const { atEnd, scratch, until } = require('./support.cjs');

const program = path.join(__dirname, '../bin/inspector.cjs');

/** The program as a user starts it. @returns the address that it prints */
async function startProgram(t, ...options) {
  const child = spawn(process.execPath, [program, ...options], {
    env: { ...process.env, XDG_STATE_HOME: scratch },
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const ended = new Promise((resolve) => child.once('exit', resolve));
  atEnd(t, () => {
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

/** Chooses a method in the Explorer and calls it without parameters. */
async function run(page, method, outcome) {
  await view(page, 'Explorer');
  await page
    .getByRole('navigation', { name: 'Methods' })
    .getByRole('button', { name: method, exact: true })
    .click();
  await page.getByLabel('as JSON').fill('{}');
  await page.getByRole('button', { name: 'call', exact: true }).click();
  const answer = page.getByRole('region', { name: 'Answer' });
  await answer.getByText(outcome, { exact: true }).first().waitFor();
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
  await checkAccess(page, 'replay without a recording');
  await page.getByRole('button', { name: '● record' }).click();
  await page.getByText('● recording').waitFor();

  await run(page, 'quickLogin', 'ok');
  await picture(page, 'explorer');
  await checkAccess(page, 'explorer');

  await view(page, 'Mock');
  await page.getByText('Ada', { exact: true }).waitFor();
  await page.getByRole('button', { name: 'refuse', exact: true }).click();
  const toCome = page.getByRole('region', { name: 'What is to come' });
  await toCome.getByText('refuses').waitFor();
  await page
    .getByRole('region', { name: 'Events and messages' })
    .getByRole('spinbutton')
    .fill('60000');
  await page.getByRole('button', { name: 'raise' }).click();
  await toCome.getByText(/^in (60|59)\.\d s/).waitFor();
  await picture(page, 'mock');
  await checkAccess(page, 'mock');
  await toCome
    .getByRole('listitem')
    .filter({ hasText: 'the event' })
    .getByRole('button', { name: 'cancel' })
    .click();

  await run(page, 'logout', 'fail');
  await run(page, 'logout', 'ok');

  await view(page, 'Timeline');
  await page.getByLabel('Module').selectOption('account');
  await page.getByLabel('Result').selectOption('fail');
  await says(page, /^1 of /);
  await page.getByLabel('Module').selectOption('');
  await page.getByLabel('Result').selectOption('');
  await page.getByLabel('Search').fill('method:logout result:fail');
  await says(page, /^1 of /);
  await page.getByRole('row', { name: /account\.logout .*refused/ }).click();
  const entry = page.getByRole('region', { name: 'Entry' });
  await entry.getByText('"refused"').waitFor();
  await page.getByLabel('Search').fill('');
  await entry.getByText('quickLogin').first().waitFor();
  await picture(page, 'timeline');
  await checkAccess(page, 'timeline');

  await view(page, 'Charts');
  await page.getByRole('button', { name: 'account.logout', exact: true }).click();
  await page.getByRole('img', { name: 'Latency of account.logout' }).waitFor();
  await picture(page, 'charts');
  await checkAccess(page, 'charts');

  await view(page, 'Replay');
  await page.getByRole('button', { name: '■ stop' }).click();
  await page.getByRole('button', { name: 'replay', exact: true }).click();
  await page.getByText('green', { exact: true }).waitFor();
  const recording = page.getByLabel('recording', { exact: true });
  const text = await recording.inputValue();
  await recording.fill(text.replace('"msg":"refused"', '"msg":"granted"'));
  await page.getByRole('button', { name: 'replay', exact: true }).click();
  await page.getByText('red', { exact: true }).waitFor();
  await page.getByText('"granted"', { exact: true }).waitFor();
  await page.getByRole('button', { name: /^line \d+$/ }).click();
  const selection = await recording.evaluate((field) =>
    field.value.slice(field.selectionStart, field.selectionEnd),
  );
  assert.match(selection, /^\{"got".*"granted".*\}$/);
  await picture(page, 'replay');
  await checkAccess(page, 'replay');

  // The same on a narrow screen, where an entry stands below the list.
  await page.setViewportSize({ width: 420, height: 720 });
  for (const name of ['Replay', 'Charts', 'Mock', 'Explorer', 'Timeline']) {
    await view(page, name);
    await checkAccess(page, `${name} at 420 px`);
    const excess = await page.evaluate(() =>
      Math.max(
        document.documentElement.scrollWidth - innerWidth,
        document.querySelector('main').scrollWidth - innerWidth,
      ),
    );
    assert.ok(excess <= 0, `${name} is ${excess} px too wide`);
  }
  await entry.waitFor();
  await page.getByRole('button', { name: 'Filters' }).click();
  await page.getByLabel('Result').selectOption('fail');
  await says(page, /^1 of /);
  await checkAccess(page, 'filters at 420 px');
});

test('what was begun in one view is there when it is looked at again', async (t) => {
  const { url } = await startProgram(t, '--mock');
  const page = await opened(t, url);
  await page.getByLabel('Search').fill('kind:call');
  await view(page, 'Explorer');
  await page.getByLabel('as JSON').fill('{"userId":"typed by hand"}');
  await view(page, 'Mock');
  await page.getByLabel('Operation').selectOption('switchAccount');
  await page.getByLabel('or another answer').fill('{"delayMs":5}');
  await page.goBack();
  assert.equal(await page.getByLabel('as JSON').inputValue(), '{"userId":"typed by hand"}');
  await page.goForward();
  assert.equal(await page.getByLabel('Operation').inputValue(), 'switchAccount');
  assert.equal(await page.getByLabel('or another answer').inputValue(), '{"delayMs":5}');
  await view(page, 'Timeline');
  assert.equal(await page.getByLabel('Search').inputValue(), 'kind:call');
  await view(page, 'Charts');
  await page.reload();
  await page.getByRole('button', { name: 'Charts', exact: true, pressed: undefined }).waitFor();
  await page.getByRole('columnheader', { name: 'p99, ms' }).waitFor();
});

test('the page tells when the process has gone', async (t) => {
  const { url, child, ended } = await startProgram(t);
  const page = await opened(t, url, { expected: /net::ERR_/ });
  child.kill();
  assert.equal(await ended, 0, 'a page that is open does not keep the process');
  await page.getByText('the process has ended').waitFor();
  await page.getByLabel('Search').fill('anything');
  await page
    .getByRole('alert')
    .getByText(/^The search failed/)
    .waitFor();
});
