'use strict';

// The log lines of the framework that hold values, as docs/SECURITY.md lists them: what stands between
// the values, and what each value is.
const forms = [
  ['call call method:', 'method', ', params:', 'params', ', result:', 'reply'],
  ['asynCall asynCall method:', 'method', ', params:', 'params'],
  ['operator() asynCall result:', 'reply'],
  ['operator() meeting data changed meetingUrl:', 'meetingUrl', ', accessCode:', 'accessCode'],
  ['setGlobalNetworkProxy type:', 'type', ' password:', 'proxyPassWord'],
];
const mostTries = 8; // of a separator that may also stand within a value

function isJson(text) {
  try {
    JSON.parse(text);
    return true;
  } catch {
    return false;
  }
}

/** Where a value ends: parameters may have the separator in them. */
function endOf(name, text, from, separator) {
  let end = text.indexOf(separator, from);
  if (name !== 'params') return end;
  for (let tries = 0; end >= 0 && tries < mostTries; ++tries) {
    if (end === from || isJson(text.slice(from, end))) return end;
    end = text.indexOf(separator, end + 1);
  }
  return -1;
}

/**
 * Takes a log line apart.
 * @returns [{ text } or { name, value }], one after the other; undefined for a line without values.
 *          A value is all that is left where the next separator is missing.
 */
function readLogLine(text) {
  const form = forms.find(([beginning]) => text.startsWith(beginning));
  if (!form) return undefined;
  const parts = [{ text: form[0] }];
  let at = form[0].length;
  for (let i = 1; i < form.length; i += 2) {
    const [name, separator] = [form[i], form[i + 1]];
    const found = separator === undefined ? -1 : endOf(name, text, at, separator);
    const end = found < 0 ? text.length : found;
    parts.push({ name, value: text.slice(at, end) });
    if (found < 0) break;
    parts.push({ text: separator });
    at = end + separator.length;
  }
  return parts;
}

/** The method that a log line names, or undefined. */
function methodOf(text) {
  const form = forms.find(([beginning]) => text.startsWith(beginning));
  if (form?.[1] !== 'method') return undefined;
  const end = text.indexOf(form[2]);
  return end < 0 ? undefined : text.slice(form[0].length, end);
}

module.exports = { methodOf, readLogLine };
