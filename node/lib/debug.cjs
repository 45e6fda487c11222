'use strict';

// NODE_DEBUG=zelectronframework: what the channels publish, masked, on the standard error.

const { subscribe } = require('node:diagnostics_channel');
const { debuglog } = require('node:util');
const { mask } = require('./mask.cjs');

const log = debuglog('zelectronframework');

/** One line for each end of an operation, and for each delivery. */
const lines = {
  'tracing:zelectronframework.init:asyncEnd': ({ settings, reply, error }) =>
    `init ${settings} ${error ? `${error.code} ${error.message}` : reply}`,
  'tracing:zelectronframework.call:start': ({ id, mode, method, params }) =>
    `call ${id} ${mode} ${method} ${params ?? ''}`,
  'tracing:zelectronframework.call:end': ({ id, mode, reply, error }) =>
    mode === 'sync' && `answer ${id} ${reply ?? error?.code}`,
  'tracing:zelectronframework.call:asyncEnd': ({ id, reply, error }) =>
    `answer ${id} ${reply ?? error?.code}`,
  'zelectronframework:event': ({ name }) => `event ${name}`,
  'zelectronframework:task': ({ type, text }) => `task ${type} ${text}`,
  'zelectronframework:late': ({ id }) => `late answer ${id}`,
};

function followDebug() {
  if (!log.enabled) return;
  for (const [channel, line] of Object.entries(lines)) {
    subscribe(channel, (context) => {
      const text = line(mask(context));
      if (text) log('%s', text);
    });
  }
}

module.exports = { followDebug };
