'use strict';

const { replay, forMock, readRecording, RecordingError } = require('./lib/replay.cjs');
const { Inspector } = require('./lib/inspector.cjs');

function isPackaged() {
  if (!process.versions.electron || process.env.ELECTRON_RUN_AS_NODE) return false;
  try {
    return require('electron').app.isPackaged;
  } catch {
    return !process.defaultApp;
  }
}

/**
 * Opens a window on a framework: a page on this machine's loopback address.
 * @returns { url, close() }; the url holds the token that the page needs
 */
async function attach(framework, options = {}) {
  if (isPackaged() && !options.allowPackaged) {
    throw new Error('the inspector is for development: this application is packaged');
  }
  return new Inspector(framework, options).listen(options.port);
}

module.exports = { attach, replay, forMock, readRecording, RecordingError };
