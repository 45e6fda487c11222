'use strict';

const { FrameworkError } = require('./lib/errors.cjs');
const { ElectronFramework } = require('./lib/framework.cjs');
const { Subscription } = require('./lib/subscription.cjs');
const { diagnose } = require('./lib/diagnose.cjs');
const { doctor } = require('./lib/doctor.cjs');
const { followDebug } = require('./lib/debug.cjs');
const { mask } = require('./lib/mask.cjs');
const { mock } = require('./lib/mock.cjs');

/** Also the version of the library: both are built and shipped together. */
const frameworkVersion = require('./package.json').version;

followDebug();

module.exports = {
  frameworkVersion,
  ElectronFramework,
  FrameworkError,
  Subscription,
  diagnose,
  doctor,
  mask,
  mock,
};
