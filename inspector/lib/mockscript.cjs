'use strict';

const { parsed } = require('./compare.cjs');
const { description, methods } = require('./description.cjs');

// For each method, the form in which the mock gets its reply.
const asReply = (reply) => ({ reply });
const asText = ({ result, data }) =>
  result === 'ok' ? { text: data?.data ?? '' } : { refuse: true };
const asOwn = ({ result }) => (result === 'ok' ? {} : { refuse: true }); // the mock's own reply
const asTask = ({ result, msg, data = {} }) => {
  if (/^su(b)?m(b)?it .*fail/.test(msg ?? '')) return { refuse: true };
  if (msg === 'no office app') return { statuses: [101] };
  if (msg === known.msg) return { reply: { taskResult: { bResult: true, userId: known.userId } } };
  const taskResult = {
    ...data,
    bResult: result === 'ok',
    ...(result === 'ok' ? {} : { reason: msg }),
  };
  delete taskResult.result;
  return { reply: { taskResult } };
};
const known = { msg: 'already logined user', userId: 'known' };

function formOf(method) {
  if (method['x-writtenByAccountLibrary']) return asReply;
  if (method['x-answer'] === 'library thread') return asTask;
  const { type } = method.result.schema.properties?.data ?? {};
  return [type].flat().includes('string') ? asText : asOwn;
}

// The reply when the account library has no service, and the operation that returns that service.
const getters = new Map([
  ['accessbaseService is nullptr', 'getAccessbaseService'],
  ['account is nullptr', 'getAccount'],
  ['domainMgr is null', 'getDomainMgr'],
  ['factory is nullptr', 'getCookieFactory'],
  ['scheduler is null', 'getScheduler'],
  ['scheduler is nullptr', 'getScheduler'],
  ['sercice is nullptr', 'getLoginService'],
]);
const signing = /^account\.(getJwk|sign|generatePKCE)/;

// Replies of the framework before it calls the account library.
const before =
  /^(deviceCode|event, data or busyType|param) is empty$|not support thread safe$|not found$/;

function getterOf(method, msg) {
  if (msg !== 'service is nullptr') return getters.get(msg);
  return signing.test(method) ? 'getSignService' : 'getLoginService';
}

/** How the operation of a call must answer: { operation: step }; empty for the usual answer. */
function stepOf(method, got) {
  const described = methods.get(method);
  const operation = described?.['x-operations'].at(-1);
  const { reply: _, msg, ...rest } = got ?? {};
  if (operation === undefined || before.test(msg) || getterOf(method, msg)) return {};
  const form = formOf(described);
  if (got === undefined || got.error !== undefined) return { [operation]: { reply: {}, times: 0 } };
  if (got.cut) return { [operation]: form({ result: 'ok' }) };
  if (/ (asynCall|call) failed$/.test(msg)) return { [operation]: { throw: 'recorded' } };
  return { [operation]: form(msg === undefined ? rest : { ...rest, msg }) };
}

/** The step that makes the mock give a recorded reply: { operation, step }, or undefined. */
function answerOf(method, got) {
  const getter = getterOf(method, got.msg);
  if (getter) return { operation: getter, step: { refuse: true } };
  const [[operation, step = {}] = []] = Object.entries(stepOf(method, got));
  return Object.keys(step).length > 0 ? { operation, step } : undefined;
}

/** The state of the mock for replies that the framework composes itself. */
function stateOf(method, got) {
  if (method === 'account.getAccountListInfo' && Array.isArray(got.data?.accountListInfo)) {
    const accounts = got.data.accountListInfo.map(parsed).filter(({ userid }) => userid);
    const current = accounts.find((account) => 'keep_online' in account || account.is_current);
    return { accounts, currentUserId: current?.userid ?? '' };
  }
  if (method === 'account.getOfficeUserInfo' && got.msg === known.msg) {
    return { accounts: [{ userid: known.userId }] };
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

/** The commands to the mock before a call, so that it answers as recorded. */
function preparation(method, got = {}) {
  const getter = getterOf(method, got.msg);
  return getter ? { script: { [getter]: [{ refuse: true }] } } : stateOf(method, got);
}

/** Task types whose messages contain information that the account library collects. */
const collecting = description['x-tasks']
  .filter(({ examples }) => examples.every(({ mock }) => 'collect' in mock))
  .map(({ name }) => name);

/** The command that makes the mock send a recorded delivery. */
function commandOf(got) {
  if (got.event) return { signal: got.event.replace(/^account\./, '') };
  if (collecting.includes(got.task)) return { collect: got.message };
  const { dataType, data } = got.message ?? {};
  return { message: { msgType: dataType, ...data } };
}

/** Ids of the calls that were answered after a later call of their method. */
function overtaken(lines, methodOf) {
  const late = new Set();
  const waiting = new Map(); // method -> ids, in the order of the calls
  for (const { id, got } of lines) {
    const ids = waiting.get(methodOf.get(id ?? got?.reply)) ?? [];
    if (got === undefined && id !== undefined) {
      waiting.set(methodOf.get(id), [...ids, id]);
    } else if (ids.includes(got?.reply)) {
      for (const before of ids.splice(0, ids.indexOf(got.reply) + 1).slice(0, -1)) late.add(before);
    }
  }
  return late;
}

/**
 * Turns a recording made with the real libraries into one for the mock, which answers as they did:
 * each operation gives the recorded answers in the order of the calls. Others stay as they are.
 */
function forMock({ header, lines }) {
  if (header.libraries === 'mock') return { header, lines };
  const replies = new Map();
  const methodOf = new Map();
  for (const { id, got, call, async: queued } of lines) {
    if (got?.reply !== undefined) replies.set(got.reply, got);
    if (id !== undefined) methodOf.set(id, call ?? queued);
  }
  const late = overtaken(lines, methodOf);
  const held = []; // ids of the calls whose answers the mock holds
  const script = {};
  const converted = lines.flatMap((line) => {
    const { number, id, got, call, async: queued } = line;
    const told = (mock) => (mock ? [{ number, mock }, line] : [line]);
    if (got?.reply !== undefined) {
      const place = held.indexOf(got.reply);
      if (place >= 0) held.splice(place, 1);
      return told(place >= 0 && { releaseNth: place });
    }
    if (got !== undefined) return told(commandOf(got));
    const method = call ?? queued;
    if (method === undefined) return [line];
    for (const [operation, step] of Object.entries(stepOf(method, replies.get(id)))) {
      const isHeld = late.has(id) && held.push(id);
      script[operation] = [...(script[operation] ?? []), isHeld ? { ...step, hold: true } : step];
      if (method === 'account.quickLogin') {
        const grants = script.grantAuthorizeCodeOffice ?? [];
        const grant = { reply: { taskResult: { bResult: true } } };
        script.grantAuthorizeCodeOffice = [...grants, grant];
      }
    }
    return told(preparation(method, replies.get(id)));
  });
  const settings = { ...header.settings, standin: { initFinishedAfterMs: -1, script } };
  return { header: { ...header, libraries: 'mock', settings }, lines: converted };
}

module.exports = { answerOf, forMock };
