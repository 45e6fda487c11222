'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { test } = require('node:test');
const { longestTask, opened, says, view } = require('./browser.cjs');
const { attached, scratch, settings, started, until } = require('./support.cjs');

// The first one: later the mock is loaded in this process.
test('a page that was open before the framework starts learns what that is', async (t) => {
  const { framework, inspector } = await attached(t, { settings: settings() });
  const page = await opened(t, inspector.url);
  await page.getByText('Nothing has happened yet').waitFor();
  await view(page, 'Mock');
  await page.getByText('does not run yet').waitFor();
  await framework.init(settings());
  await page.getByRole('region', { name: 'Next answers' }).waitFor();
});

test('the mock gets what is to come step by step, and says what is wrong with it', async (t) => {
  const { framework, inspector } = await started(t);
  await framework.call('account.quickLogin', {});
  const page = await opened(t, inspector.url);
  await view(page, 'Mock');
  const toCome = page.getByRole('region', { name: 'What is to come' });
  await toCome.getByText('Nothing: the mock answers').waitFor();
  await page.getByRole('button', { name: 'never answer' }).click();
  await toCome.getByText('never answers').waitFor();
  await page.getByRole('button', { name: 'refuse', exact: true }).click();
  await toCome.getByText('refuses').waitFor();
  await page.getByLabel('or another answer').fill('{"reply":{"result":"fail"');
  await page.getByText(/^This is not JSON/).waitFor();
  assert.ok(await page.getByRole('button', { name: 'answer so' }).isDisabled());
  await page.getByLabel('or another answer').fill('{"reply":{"result":"fail","msg":"as written"}}');
  await page.getByRole('button', { name: 'answer so' }).click();
  await toCome.getByText('as written').waitFor();
  await toCome.getByRole('button', { name: 'Cancel: logout never answers' }).click();
  await toCome.getByText('never answers').waitFor({ state: 'detached' });

  const messages = [];
  for (let i = 0; i < 3; ++i) {
    const { msg } = await framework.call('account.logout', {}, { raw: true });
    messages.push(msg);
  }
  assert.deepEqual(messages, ['refused', 'as written', 'success']);
  await toCome.getByText('Nothing: the mock answers').waitFor();

  // An answer of the timeline becomes the next one.
  await view(page, 'Timeline');
  await page.getByRole('row', { name: /logout .*as written/ }).click();
  await page.getByRole('button', { name: 'Mock this answer…' }).click();
  assert.match(await page.getByLabel('or another answer').inputValue(), /"msg":"as written"/);
});

test('the slowest methods lead, and lead to their slow calls', async (t) => {
  const { framework, inspector } = await started(t);
  for (let i = 0; i < 20; ++i) framework.callSync('account.getJwkPublicKeyStr');
  await framework.call('account.quickLogin', {});
  const page = await opened(t, inspector.url);
  await view(page, 'Charts');
  const column = (name) => page.locator(`.methods-table td.${name}`).allInnerTexts();
  await page.getByRole('columnheader', { name: 'p99, ms', exact: true }).waitFor();
  const slowness = (await column('p99')).map(Number);
  assert.deepEqual(
    slowness,
    [...slowness].sort((a, b) => b - a),
  );
  await page.getByRole('button', { name: 'calls', exact: true }).click();
  assert.equal((await column('name'))[0], 'account.getJwkPublicKeyStr');
  await page.getByRole('button', { name: 'account.getJwkPublicKeyStr', exact: true }).click();
  await page.getByRole('img', { name: 'Percentiles of account.getJwkPublicKeyStr' }).waitFor();
  await page.getByRole('button', { name: 'Slow calls of account.getJwkPublicKeyStr' }).click();
  await says(page, /^[1-5] of /);
});

test('the explorer fits a narrow screen, and hands its call on', async (t) => {
  const { framework, inspector } = await started(t);
  const page = await opened(t, inspector.url, { viewport: { width: 420, height: 720 } });
  await view(page, 'Explorer');
  await page.getByLabel('Method', { exact: true }).selectOption('account.signPopToken');
  await page.getByRole('button', { name: 'callSync' }).click();
  await page.getByRole('button', { name: 'in the timeline' }).waitFor();
  const excess = await page.locator('main').evaluate((main) => main.scrollWidth - innerWidth);
  assert.ok(excess <= 0, `${excess} px too wide`);
  await page.getByLabel('as JSON').fill(`{"cv":"it's )json"}`);
  const copied = async (form) => {
    await page.getByRole('button', { name: `Copy as ${form}` }).click();
    await page.getByText('Copied', { exact: true }).waitFor();
    return page.evaluate(() => navigator.clipboard.readText());
  };
  assert.equal(
    await copied('zefhost'),
    `zefhost async account.signPopToken '{"cv":"it'\\''s )json"}'`,
  );
  const cpp = `framework->asynCall("account.signPopToken", R"json_({"cv":"it's )json"})json_", &callback);`;
  await until(async () => (await copied('C++')) === cpp, 'the line of C++');
  await framework.call('account.logout', { reason: 'again' }).catch(() => {});
  await view(page, 'Timeline');
  await page.getByRole('row', { name: /logout/ }).click();
  await page.getByRole('button', { name: 'Run again…' }).click();
  assert.equal(await page.getByLabel('as JSON').inputValue(), '{"reason":"again"}');
});

test('a large recording opens and replays without blocking the page', async (t) => {
  const { inspector } = await started(t);
  const page = await opened(t, inspector.url);
  const example = fs.readFileSync(path.join(__dirname, '../../examples/recording.jsonl'), 'utf8');
  const file = path.join(scratch, 'large.jsonl');
  const lines = example.trimEnd().split('\n').length;
  const extra = '{"got":{"event":"account.companyInfoChanged"},"at":99}\n';
  fs.writeFileSync(file, example + '# nothing\n'.repeat(2e6) + extra);
  await view(page, 'Replay');
  const longest = await longestTask(page, async () => {
    await page.getByLabel('open…').setInputFiles(file);
    await page.getByText(/^19\.\d MiB, too large to be edited/).waitFor();
    await page.getByRole('button', { name: 'replay', exact: true }).click();
    await page.getByText('red', { exact: true }).waitFor({ timeout: 60_000 });
    await page.getByRole('button', { name: `line ${lines + 2e6 + 1}` }).click();
    await page.getByText(extra.trim()).waitFor();
  });
  assert.ok(longest < 100, `${longest} ms`);
});
