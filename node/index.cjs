'use strict';

const { FrameworkError } = require('./lib/errors.cjs');
const { ElectronFramework } = require('./lib/framework.cjs');
const { Subscription } = require('./lib/subscription.cjs');
const { diagnose } = require('./lib/diagnose.cjs');
const { mask } = require('./lib/mask.cjs');
const { mock } = require('./lib/mock.cjs');

module.exports = { ElectronFramework, FrameworkError, Subscription, diagnose, mask, mock };
