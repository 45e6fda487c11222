'use strict';

const { parsed } = require('./compare.cjs');
const { description, methods } = require('./description.cjs');

// In which form the mock is told a method's reply.
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

const asRefusal = ({ result }) => (result === 'ok' ? {} : { refuse: true });

function formOf(method) {
  if (method['x-writtenByAccountLibrary']) return asReply;
  if (method['x-answer'] === 'library thread') return asTask;
  const { type } = method.result.schema.properties?.data ?? {};
  return [type].flat().includes('string') ? asText : asRefusal;
}

/** What the mock is told so that it answers one call as recorded: lists of scripts by operation. */
function scriptOf(method, got) {
  const described = methods.get(method);
  const operation = described?.['x-operations'].at(-1);
  if (operation === undefined || got.error !== undefined || got.cut) return {};
  if (/ is empty$/.test(got.msg)) return {}; // refused before the account library is asked
  const { reply: _, ...reply } = got;
  const script = { [operation]: [formOf(described)(reply)] };
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

/** Task types whose messages are what the account library collects. */
const collecting = description['x-tasks']
  .filter(({ examples }) => examples.every(({ mock }) => 'collect' in mock))
  .map(({ name }) => name);

/** What makes the mock send what was received. */
function commandOf(got) {
  if (got.event) return { signal: got.event.replace(/^account\./, '') };
  if (collecting.includes(got.task)) return { collect: got.message };
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
