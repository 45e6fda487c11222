'use strict';

const { parsed } = require('./compare.cjs');

// Of which operation of the account library a method's reply is the answer, and in which form.
const asReply = (reply) => ({ reply });
const asText = ({ result, data }) =>
  result === 'ok' ? { text: data?.data ?? '' } : { refuse: true };
const asTask = ({ result, msg, data = {} }) => {
  if (/ is null(ptr)?$|^su(b)?m(b)?it .*fail/.test(msg ?? '')) return { refuse: true };
  if (msg === 'no office app') return { statuses: [101] };
  const taskResult = {
    ...data,
    bResult: result === 'ok',
    ...(result === 'ok' ? {} : { reason: msg }),
  };
  delete taskResult.result;
  return { reply: { taskResult } };
};

const operations = new Map([
  ['account.loginWithSsid', ['loginCallback', asReply]],
  ['account.loginWithRandcode', ['loginCallback', asReply]],
  ['account.quickLogin', ['loginCallback', asReply]],
  ['account.getJwkPublicKeyStr', ['getJwkPublicKeyStr', asText]],
  ['account.signPopToken', ['signPopToken', asText]],
  ['account.signLoginData', ['signLoginData', asText]],
  ['accessbase.getDeviceInfo', ['getDeviceInfo', asText]],
  ['accessbase.getDeviceNetworkStatus', ['getDeviceNetworkStatus', asText]],
  ['accessbase.getDeviceHeader', ['getDeviceHeader', asText]],
  ['account.getOfficeUserInfo', ['getAuthorizedUserInfoOffice', asTask]],
  ['meeting.changeMeetingStatus', ['notifyOfficeMsg/getMeetingStatus', asTask]],
]);
for (const name of [
  'loginCallback',
  'logout',
  'switchAccount',
  'upgradeAccount',
  'downgradeAccount',
  'updateAccountInfo',
  'getUrlWithAuthorizeCode',
]) {
  operations.set(`account.${name}`, [name, asReply]);
}

/** What the mock is told so that it answers one call as recorded: lists of scripts by operation. */
function scriptOf(method, got) {
  const [operation, form] = operations.get(method) ?? [];
  if (operation === undefined || got.error !== undefined || got.cut) return {};
  const { reply: _, ...reply } = got;
  const script = { [operation]: [form(reply)] };
  if (method === 'account.quickLogin') {
    script.grantAuthorizeCodeOffice = [{ reply: { taskResult: { bResult: true } } }];
  }
  return script;
}

/** What the mock has to know for a reply that the framework puts together itself. */
function stateOf(method, got) {
  if (method === 'account.getAccountListInfo' && Array.isArray(got.data?.accountListInfo)) {
    const accounts = got.data.accountListInfo.map(parsed).filter(({ userid }) => userid);
    const current = accounts.find((account) => 'keep_online' in account || account.is_current);
    return { accounts, currentUserId: current?.userid ?? '' };
  }
  if (method === 'account.queryWebviewCookies' && Array.isArray(got.data?.cookieList)) {
    const cookies = got.data.cookieList.map(parsed).map((cookie) => ({
      url: cookie.url,
      setCookie: [
        `${cookie.name}=${cookie.value}`,
        cookie.path && `Path=${cookie.path}`,
        cookie.secure && 'Secure',
        cookie.httpOnly && 'HttpOnly',
      ]
        .filter(Boolean)
        .join('; '),
    }));
    return { cookies };
  }
  return undefined;
}

/** What makes the mock send what was received. */
function commandOf(got) {
  if (got.event) return { signal: got.event.replace(/^account\./, '') };
  if (got.task === 'accountInfoCollectTask') return { collect: got.message };
  const { dataType, data } = got.message ?? {};
  return { message: { msgType: dataType, ...data } };
}

function merge(into, script) {
  for (const [operation, steps] of Object.entries(script)) {
    into[operation] = [...(into[operation] ?? []), ...steps];
  }
}

/** The lines that tell the mock something, and then the line itself. */
function withCommands(line, replies) {
  const { number, got } = line;
  const command =
    got === undefined ? stateOf(line.async ?? line.call, replies.get(line.id) ?? {}) : undefined;
  const heard = got !== undefined && got.reply === undefined ? commandOf(got) : undefined;
  return [command, heard].flatMap((mock) => (mock ? [{ number, mock }] : [])).concat(line);
}

/**
 * Turns a recording made with the real libraries into one for the mock, which answers as they did:
 * its answers are the recorded ones, in the order of the calls. Others stay as they are.
 */
function forMock({ header, lines }) {
  if (header.libraries === 'mock') return { header, lines };
  const replies = new Map(
    lines.flatMap(({ got }) => (got?.reply === undefined ? [] : [[got.reply, got]])),
  );
  const script = {};
  for (const line of lines) {
    const got = replies.get(line.id);
    if (got) merge(script, scriptOf(line.async ?? line.call, got));
  }
  const settings = { ...header.settings, standin: { initFinishedAfterMs: -1, script } };
  return {
    header: { ...header, libraries: 'mock', settings },
    lines: lines.flatMap((line) => withCommands(line, replies)),
  };
}

module.exports = { forMock };
