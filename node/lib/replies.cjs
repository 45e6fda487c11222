'use strict';

const { FrameworkError } = require('./errors.cjs');
const { methods } = require('./methods.cjs');

/** Whether the framework itself said this, because it has no such method. */
function isUnknownMethod(method, message) {
  if (methods.has(method)) return false;
  const [module, name] = method.split('.');
  return [
    `${module} not found`,
    `method:${name} call failed`,
    `method:${name} asynCall failed`,
  ].includes(message);
}

function parseReply(method, text) {
  try {
    const reply = JSON.parse(text);
    if (typeof reply === 'object' && reply !== null) return reply;
  } catch {
    // reported below
  }
  throw new FrameworkError('ZEF_BAD_REPLY', `${method} answered with something unreadable`, {
    method,
  });
}

/** Texts of JSON objects become these objects; everything else stays as it is. */
function parsed(value) {
  if (Array.isArray(value)) return value.map(parsed);
  if (typeof value !== 'string' || value[0] !== '{') return value;
  try {
    return JSON.parse(value);
  } catch {
    return value;
  }
}

/** @returns what a call resolves to: the data, or with `raw` the reply as it came. */
function readReply({ method, raw }, text) {
  if (text === null) {
    const message = `${method}: the reply is longer than JavaScript's longest text`;
    throw new FrameworkError('ZEF_REPLY_TOO_LONG', message, { method });
  }
  const reply = parseReply(method, text);
  if (raw) return reply;
  if (reply.result === 'fail') {
    const message = String(reply.msg ?? 'fail');
    const code = isUnknownMethod(method, message) ? 'ZEF_UNKNOWN_METHOD' : 'ZEF_REPLY_FAIL';
    throw new FrameworkError(code, `${method}: ${message}`, { method, reply });
  }
  const { data } = reply;
  const texts = methods.get(method)?.texts;
  if (texts !== undefined && data?.[texts] !== undefined) data[texts] = parsed(data[texts]);
  return data;
}

module.exports = { readReply };
