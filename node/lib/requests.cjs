'use strict';

const { FrameworkError } = require('./errors.cjs');
const { methods } = require('./methods.cjs');
const { didYouMean, shown } = require('./names.cjs');
const { kindOf, objectText } = require('./objects.cjs');
const { checkedOptions } = require('./options.cjs');
const { settingsText } = require('./start.cjs');

/**
 * A checked copy of what a caller gave, which is not read again: the caller may change it, or its getters
 * may throw. A refused request has an `error`. Never throws.
 */
function requestOf(method, read) {
  try {
    return read();
  } catch (thrown) {
    const error = FrameworkError.from(thrown);
    if (typeof method === 'string') error.method ??= method;
    return { method, error };
  }
}

/** @param options of the framework; a library that they name may have methods unknown to this package */
function callRequest(operation, method, params, options, { libraryPath, timeout }) {
  return requestOf(method, () => {
    checkMethod(operation, method, libraryPath !== undefined);
    const given = checkedOptions(method, operation, options);
    return {
      method,
      text: paramsText(method, params),
      signal: given.signal,
      timeout: given.timeout ?? timeout,
      raw: given.raw,
    };
  });
}

function startRequest(settings, options, { mock }) {
  return requestOf(undefined, () => ({
    ...checkedOptions('init', 'init', options),
    text: settingsText(settings, mock),
  }));
}

function checkMethod(operation, method, isLibraryNewer) {
  const known = methods.get(method);
  if (known ? operation !== 'callSync' || known.isSync : isLibraryNewer && isName(method)) return;
  if (typeof method !== 'string') {
    const example = `${operation}('utils.getLogPath')`;
    const reason = `a method is named by a string, as in ${example}, not by ${kindOf(method)}`;
    throw new FrameworkError('ZEF_BAD_ARGUMENT', `${operation}: ${reason}`);
  }
  if (known) {
    const message = `${method} cannot be called synchronously`;
    throw new FrameworkError('ZEF_NOT_THREAD_SAFE', message, { remedy: 'use call()' });
  }
  const form = isName(method) ? '' : '; a name has the form module.method';
  const message = `there is no method ${shown(method)}${didYouMean(method, methods.keys()) || form}`;
  throw new FrameworkError('ZEF_UNKNOWN_METHOD', message, {
    remedy:
      'check the name; a newer library with further methods is named by the option libraryPath',
  });
}

const isName = (method) => typeof method === 'string' && /^[^.\0]+\.[^.\0]+$/.test(method);

/** Methods that take nothing are called without a text. */
function paramsText(method, params) {
  if (params === undefined || params === null) return undefined;
  return objectText('ZEF_BAD_ARGUMENT', method, 'parameters', params);
}

module.exports = { callRequest, startRequest };
