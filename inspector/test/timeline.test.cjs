'use strict';

const assert = require('node:assert/strict');
const { channel } = require('node:diagnostics_channel');
const { setImmediate: turn } = require('node:timers/promises');
const { test } = require('node:test');
const { mock } = require('zelectronframework');
const { longestTask, opened, says, view } = require('./browser.cjs');
const { started, until } = require('./support.cjs');

const events = channel('zelectronframework:event');
const event = (name = 'account.cookieUpdated') => events.publish({ instance: 1, name });

async function manyEvents(count) {
  for (let i = 0; i < count; ++i) {
    event();
    if (i % 1000 === 0) await turn();
  }
}

const row = (page, name) => page.getByRole('row', { name });
const entry = (page) => page.getByRole('region', { name: 'Entry' });
const part = (page, title) =>
  entry(page)
    .locator('details')
    .filter({ has: page.getByText(title, { exact: false }) });

/** Calls that fail are of use here too. */
const call = (framework, ...given) => framework.call(...given).catch(() => {});

test('rows say what was asked and answered, log lines follow what they tell of', async (t) => {
  const { framework, inspector, api } = await started(t);
  const page = await opened(t, inspector.url);
  await call(framework, 'account.quickLogin', { extParam: { a: 'b' } });
  await row(page, /quickLogin extParam: \{a: "\{\{a:1\}\}"\} → keepOnline: false/).waitFor();
  await call(framework, 'account.getAccountListInfo');
  await row(page, /getAccountListInfo accountListInfo: \[\{avatar_url: "", /).waitFor();
  mock({ script: { logout: [{ refuse: true }] } });
  await call(framework, 'account.logout', { reason: 'end of the day' });
  await row(page, /account\.logout refused reason: "end of the day" .*fail/).waitFor();
  await says(page, /log lines hidden/);
  await page.getByRole('button', { name: 'Log', exact: true }).click();
  await row(page, /log line asynCall asynCall method:account\.logout/).waitFor();

  const { heads } = await api.get('heads');
  const told = heads.find(({ name }) => name === 'account.logout');
  const line = heads.find(({ of }) => of === told.seq);
  assert.ok(line.t >= told.t, `${line.t} ${told.t}`);
  assert.equal(line.thread, 0);
  await row(page, /log line asynCall/)
    .last()
    .click();
  await entry(page).getByRole('button', { name: 'account.logout' }).first().click();
  await entry(page).getByRole('heading', { name: 'account.logout' }).waitFor();
});

test('what came before an event, whatever the filters hide', async (t) => {
  const { framework, inspector } = await started(t);
  await call(framework, 'account.quickLogin', { keepOnline: true });
  mock({ script: { logout: [{ hold: true }] } });
  const held = call(framework, 'account.logout', { reason: 'held' });
  await until(() => mock().held.length > 0, 'the call');
  mock({ signal: 'cookieUpdated' });
  const page = await opened(t, inspector.url);
  await page.getByLabel('Search').fill('kind:event cookie');
  const event = row(page, /cookieUpdated/).last();
  await event.click();
  const open = part(page, /^Open at that time/);
  await open.getByText('logout').waitFor();
  assert.equal(await open.getByRole('listitem').count(), 1);
  const before = part(page, /^Before/);
  await before.getByText('authInfoChanged').first().waitFor();
  mock({ release: true });
  await held;

  await open.getByRole('button').click();
  await entry(page).getByText('"held"').waitFor();
  const during = part(page, /^During this call/);
  await during.getByText('cookieUpdated').first().waitFor();
  // It is not among what is searched for: the button brings it into view.
  await entry(page).getByRole('button', { name: 'show in list' }).click();
  const selected = page.getByRole('row', { name: /logout/, selected: true });
  await selected.waitFor();
  assert.equal(await page.getByLabel('Search').inputValue(), '');
  // A filter that comes and goes leaves it in view.
  await page.getByLabel('Result').selectOption('fail');
  await page.getByLabel('Result').selectOption('');
  await selected.waitFor();
});

test('a search finds words in any order, also in what comes later', async (t) => {
  const { framework, inspector } = await started(t);
  await call(framework, 'account.logout', { reason: 'needle alpha beta' });
  const page = await opened(t, inspector.url);
  for (const text of ['alpha', 'beta alpha', 'alpha logout', '"alpha beta"', 'kind:call needle']) {
    await page.getByLabel('Search').fill(text);
    await says(page, /^1 of /);
  }
  await page.getByLabel('Search').fill('"beta alpha"');
  await page.getByText('No entry passes').waitFor();
  await page.getByLabel('Search').fill('needle refused');
  await page.getByText('No entry passes').waitFor();
  // One whose reply comes only after the search has looked at it.
  mock({ script: { logout: [{ reply: { result: 'fail', msg: 'refused' }, hold: true }] } });
  const held = call(framework, 'account.logout', { reason: 'another needle' });
  await until(() => mock().held.length > 0, 'the call');
  mock({ release: true });
  await held;
  await says(page, /^1 of /);
});

test('a pause keeps the list, and nothing in the page', async (t) => {
  const { inspector } = await started(t);
  const page = await opened(t, inspector.url);
  await page.getByLabel('Search').fill('kind:event');
  await page.getByRole('button', { name: 'pause' }).click();
  const before = await page.getByRole('grid').getAttribute('aria-rowcount');
  await manyEvents(30_000);
  await says(page, /[23]\d,\d\d\d new ones wait/);
  assert.equal(await page.getByRole('grid').getAttribute('aria-rowcount'), before);
  await page.getByRole('button', { name: 'resume' }).click();
  await says(page, /^30,\d\d\d of /);
});

test('the keyboard reaches an entry and comes back from it', async (t) => {
  const { framework, inspector } = await started(t);
  await call(framework, 'account.logout', {});
  const page = await opened(t, inspector.url);
  const focus = () => page.evaluate(() => document.activeElement.getAttribute('aria-label'));
  await page.keyboard.press('/');
  assert.equal(await focus(), 'Search');
  await page.keyboard.type('logout');
  await says(page, /^1 of /);
  await page.getByRole('grid').focus();
  await page.keyboard.press('Home');
  await entry(page).waitFor();
  await page.keyboard.press('Enter');
  assert.equal(await page.evaluate(() => document.activeElement.textContent), 'account.logout');
  await page.keyboard.press('Tab');
  await page.keyboard.press('Escape');
  await entry(page).waitFor({ state: 'detached' });
  assert.equal(await focus(), 'Timeline');
  await page.keyboard.press('ArrowDown');
  await entry(page).waitFor();
});

test('foreign texts stay texts, and long ones do not block', async (t) => {
  const { framework, inspector } = await started(t);
  const page = await opened(t, inspector.url);
  const nasty = '<img src=x onerror="document.title=1">\n\u2028</script>';
  const show = async (index, reply) => {
    mock({ script: { logout: [{ reply }] } });
    await framework.call('account.logout', { reason: nasty }, { raw: true });
    await row(page, /account\.logout/)
      .nth(index)
      .click();
  };
  await show(0, { result: 'ok', msg: nasty });
  await entry(page).getByText(nasty.slice(0, 20)).first().waitFor();
  await show(1, { result: 'ok', data: { text: 'x'.repeat(10 * 2 ** 20) } });
  await page.getByText(/characters, too long to be masked/).waitFor();
  assert.equal(await page.title(), 'Inspector');
});

test('a secret is shown when it is asked for, it alone, and hidden again', async (t) => {
  const { framework, inspector } = await started(t);
  const page = await opened(t, inspector.url);
  await call(framework, 'account.loginWithSsid', { ssid: 'secret-one' });
  await call(framework, 'account.loginWithSsid', { ssid: 'secret-two' });
  await row(page, /loginWithSsid .*\{\{ssid:1\}\}/).click();
  assert.doesNotMatch(await page.content(), /secret-(one|two)/);
  await page.getByRole('button', { name: 'Copy as JavaScript' }).click();
  await entry(page).getByText('Copied, with {{ssid:1}} in place of the secret').waitFor();
  assert.equal(
    await page.evaluate(() => navigator.clipboard.readText()),
    `await framework.call('account.loginWithSsid', {"ssid":"{{ssid:1}}"});`,
  );
  await page.getByRole('button', { name: '{{ssid:1}}' }).click();
  assert.equal(await page.getByText('secret-two').count(), 0);
  await page.getByRole('button', { name: 'secret-one' }).click();
  await page.getByRole('button', { name: '{{ssid:1}}' }).waitFor();
});

test('100,000 entries scroll, by wheel and by keyboard', async (t) => {
  const { inspector, api } = await started(t);
  const lines = `search?words=${encodeURIComponent('["addListener","cookieUpdated"]')}`;
  // It matches below as well, and is hidden: read later, it would be among the newest.
  await until(
    async () => (await api.get(lines)).found.length > 0,
    'the log line of the subscription',
  );
  await manyEvents(100_000);
  const page = await opened(t, inspector.url);
  await says(page, /^100,\d\d\d of 100,/);
  const scroll = async () => {
    await page.getByRole('grid').focus();
    await page.mouse.move(300, 300);
    for (let i = 0; i < 30; ++i) await page.mouse.wheel(0, i % 2 ? -200_000 : 250_000);
    await page.getByLabel('Search').fill('kind:event');
    await page.getByLabel('Search').fill('');
    await page.getByRole('grid').focus();
    for (const key of ['Home', 'ArrowDown', 'PageDown', 'End', 'ArrowUp']) {
      await page.keyboard.press(key);
    }
    const selected = page.getByRole('row', { selected: true });
    await selected.waitFor();
    const { next } = await api.get('heads?from=99999999');
    await until(async () => {
      const index = Number(await selected.getAttribute('aria-rowindex'));
      return index > 100_000 && index <= next + 1;
    }, 'the last but one');
  };
  // What the page does takes long again; what the machine does, does not.
  const longest = Math.min(await longestTask(page, scroll), await longestTask(page, scroll));
  await page.getByLabel('Search').fill('updated cookie');
  await says(page, /^5,000 of .* too many matches: only the newest are shown/);
  await row(page, /cookieUpdated/)
    .first()
    .waitFor();
  t.diagnostic(`rows: longest task ${longest.toFixed(0)} ms with 100,000 entries`);
  assert.ok(longest < 50, `${longest} ms`);
});

test('a page that looks on for long keeps the latest entries, and says how many it dropped', async (t) => {
  const { inspector } = await started(t);
  const page = await opened(t, inspector.url);
  await view(page, 'Explorer');
  for (let count = 0; count < 230_000; count += 10_000) {
    await manyEvents(10_000);
    await turn();
  }
  await view(page, 'Timeline');
  await says(page, /^\d{6,}|^2\d\d,\d\d\d of 2\d\d,\d\d\d entries .* older ones dropped/);
  const longest = await longestTask(page, async () => {
    for (let i = 0; i < 20; ++i) {
      event('account.userInfoChanged');
      await page.waitForTimeout(20);
    }
    await row(page, /userInfoChanged/)
      .last()
      .waitFor();
  });
  assert.ok(longest < 50, `${longest} ms`);
});
