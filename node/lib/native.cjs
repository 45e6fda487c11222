'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { setImmediate } = require('node:timers'); // not one that a test has replaced
const { lateReplies } = require('./channels.cjs');
const { explainLoad, LoadFailure } = require('./loadfailure.cjs');

const platform = `${process.platform}-${process.arch}`;
const packageFolder = path.join(__dirname, '..');

/** Electron reads inside app.asar, but the system's loader finds only what lies unpacked beside. */
function unpacked(file) {
  const outside = file.replace(/\.asar(?=[\\/])/, '.asar.unpacked');
  return fs.existsSync(outside) ? outside : file;
}

function isFile(file) {
  return fs.statSync(file, { throwIfNoEntry: false })?.isFile() ?? false;
}

// Written out, so that bundlers can follow each of them.
function requireAddon() {
  switch (platform) {
    case 'linux-x64':
      return require('../prebuilds/linux-x64/zelectronframework.node');
    case 'linux-arm64':
      return require('../prebuilds/linux-arm64/zelectronframework.node');
    default:
      throw new LoadFailure(
        'ZEF_PLATFORM',
        `there is no build for ${platform}`,
        'use Linux on x64 or arm64',
      );
  }
}

function loadAddon() {
  const file = path.join(packageFolder, 'prebuilds', platform, 'zelectronframework.node');
  try {
    return requireAddon();
  } catch (error) {
    if (error instanceof LoadFailure) throw error.described();
    const outside = unpacked(file);
    if (outside !== file && isFile(outside)) {
      return require(outside);
    }
    throw explainLoad(file, error.message).described(error);
  }
}

let addon;
// id -> function. Not a Map: under many short-lived entries the tables that it has outgrown keep each
// other alive, and garbage collections of less than a millisecond take ten and more.
const receivers = Object.create(null);
let lastId = 0;
let holders = 0;

function dispatch(id, text) {
  const receiver = receivers[id];
  if (!receiver) {
    // It ended while this was on the way. Events have no text.
    if (text !== '' && lateReplies.hasSubscribers) lateReplies.publish({ id, reply: text });
    return;
  }
  try {
    receiver(text);
  } catch (error) {
    // As from any callback: to 'uncaughtException'. Thrown here it would be lost in the addon.
    process.nextTick(() => {
      throw error;
    });
  }
}

/**
 * Hands on what has arrived. Much of it takes several turns of the event loop, so that timers and
 * everything else have their turn between.
 */
function collect() {
  const mail = addon.take();
  if (mail.length === 0) return;
  setImmediate(collect);
  for (let i = 0; i < mail.length; i += 2) dispatch(mail[i], mail[i + 1]);
}

/** The addon, loaded and opened at its first use. */
function native() {
  if (!addon) {
    const loaded = loadAddon();
    loaded.open(collect);
    // The addon's own hook is not run by process.exit().
    process.once('exit', () => loaded.settle());
    addon = loaded;
  }
  return addon;
}

function newId() {
  return ++lastId;
}

/** \returns the id under which the addon delivers to `receiver`. */
function receive(receiver, id = newId()) {
  receivers[id] = receiver;
  return id;
}

function stopReceiving(id) {
  delete receivers[id];
}

/** The event loop goes on while there is a hold that was not let go. */
function hold() {
  if (holders === 0) native().keepAlive(true);
  holders += 1;
}

function letGo() {
  if (--holders === 0) native().keepAlive(false);
}

/** Where the framework library is looked for: beside the addon that was really loaded. */
function defaultLibrary() {
  return path.join(native().state().folder, 'libzelectronframework.so');
}

/** The stand-ins, in the order in which they need each other. */
function mockLibraries() {
  const folder = unpacked(path.join(packageFolder, 'mock', platform));
  const files = ['libvemolog.so', 'libzaccountkeeper.so', 'libzaccountlite.so'].map((name) =>
    path.join(folder, name),
  );
  const missing = files.find((file) => !isFile(file));
  if (missing) {
    throw new LoadFailure(
      'ZEF_MOCK_MISSING',
      `the mock is not complete: ${missing} is missing`,
      'reinstall the package; if the application is packaged, unpack node_modules/zelectronframework',
    ).described();
  }
  return files;
}

module.exports = {
  native,
  newId,
  receive,
  stopReceiving,
  hold,
  letGo,
  defaultLibrary,
  mockLibraries,
  unpacked,
  platform,
};
