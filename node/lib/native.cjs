'use strict';

const fs = require('node:fs');
const path = require('node:path');
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
const hookName = Symbol.for('zelectronframework.exit');

/** The addon, loaded at its first use. */
function native() {
  if (!addon) {
    addon = loadAddon();
    // The addon's own hook is not run by process.exit(). One will do for every copy of this package.
    if (!process[hookName]) {
      process[hookName] = true;
      process.once('exit', () => addon.settle());
    }
  }
  return addon;
}

/** Where the framework library is looked for: beside the addon that was really loaded. */
function defaultLibrary() {
  return path.join(native().state().folder, 'libzelectronframework.so');
}

/** The stand-ins, in the order in which they need each other. */
function mockLibraries() {
  const folder = unpacked(path.join(packageFolder, 'mock', platform));
  const libraries = ['libvemolog.so', 'libzaccountkeeper.so', 'libzaccountlite.so'].map((name) => ({
    name,
    file: path.join(folder, name),
  }));
  const missing = libraries.find(({ file }) => !isFile(file));
  if (missing) {
    throw new LoadFailure(
      'ZEF_MOCK_MISSING',
      `the mock is not complete: ${missing.file} is missing`,
      'reinstall the package; if the application is packaged, unpack node_modules/zelectronframework',
    ).described();
  }
  return libraries;
}

module.exports = { native, defaultLibrary, mockLibraries, unpacked, platform };
