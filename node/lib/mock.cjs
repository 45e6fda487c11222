'use strict';

const { FrameworkError } = require('./errors.cjs');
const { native } = require('./native.cjs');

/** Tells the mock of the closed libraries what to do from now on. */
function mock(command = {}) {
  if (typeof command !== 'object' || command === null) {
    throw new FrameworkError('ZEF_BAD_ARGUMENT', 'mock: an object is needed');
  }
  const text = native().mock(JSON.stringify(command));
  if (text === undefined) {
    throw new FrameworkError('ZEF_MOCK_MISSING', 'mock: the account library is not the mock', {
      remedy: 'create the framework with mock: true and await init()',
    });
  }
  const { error, ...state } = JSON.parse(text);
  if (error !== undefined) throw new FrameworkError('ZEF_MOCK_REFUSED', `mock: ${error}`);
  return state;
}

module.exports = { mock };
