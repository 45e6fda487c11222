'use strict';

const { FrameworkError } = require('./errors.cjs');
const { native } = require('./native.cjs');
const { objectText } = require('./objects.cjs');
const { checkShape } = require('./shapes.cjs');

function refuse(reason) {
  throw new FrameworkError('ZEF_MOCK_REFUSED', `mock: ${reason}`);
}

/** Tells the mock of the closed libraries what to do from now on. */
function mock(command = {}) {
  const given = objectText('ZEF_BAD_ARGUMENT', 'mock', 'the command', command);
  checkShape('MockCommand', JSON.parse(given), 'command', refuse);
  const text = native().mock(given);
  if (text === undefined) {
    throw new FrameworkError('ZEF_MOCK_MISSING', 'mock: the account library is not the mock', {
      remedy: 'create the framework with mock: true and await init()',
    });
  }
  const { error, ...state } = JSON.parse(text);
  if (error !== undefined) refuse(error);
  return state;
}

module.exports = { mock };
