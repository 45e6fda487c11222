'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { explainLoad, fileError, loadError } = require('./loadfailure.cjs');

const platform = `${process.platform}-${process.arch}`;
const packageFolder = path.join(__dirname, '..');

/** Electron reads files inside app.asar; the system's loader needs the unpacked copy. */
function unpacked(file) {
  const outside = file.replace(/\.asar(?=[\\/])/, '.asar.unpacked');
  return fs.existsSync(outside) ? outside : file;
}

function isFile(file) {
  return fs.statSync(file, { throwIfNoEntry: false })?.isFile() ?? false;
}

// Literal paths, so that bundlers can follow each require.
function requireAddon() {
  switch (platform) {
    case 'linux-x64':
      return require('../prebuilds/linux-x64/zelectronframework.node');
    case 'linux-arm64':
      return require('../prebuilds/linux-arm64/zelectronframework.node');
    default: {
      const reason = `there is no build for ${platform}`;
      throw loadError('addon', 'ZEF_PLATFORM', reason, 'use Linux on x64 or arm64');
    }
  }
}

function loadAddon() {
  const file = unpacked(path.join(packageFolder, 'prebuilds', platform, 'zelectronframework.node'));
  const error = isFile(file) ? fileError('addon', file) : undefined; // elsewhere in a bundle
  if (error) throw error;
  try {
    return file.includes('.asar.unpacked') ? require(file) : requireAddon();
  } catch (cause) {
    if (cause.code?.startsWith('ZEF_')) throw cause;
    if (cause.code === 'ERR_DLOPEN_DISABLED') {
      const reason = 'this process must not load addons (--no-addons or --permission)';
      const remedy = 'start it without --no-addons, or with --permission --allow-addons';
      throw loadError('addon', 'ZEF_ADDONS_DISABLED', reason, remedy, cause);
    }
    throw explainLoad('addon', file, cause.message, cause);
  }
}

let addon;
const hookName = Symbol.for('zelectronframework.exit');

/** The addon, loaded at its first use. */
function native() {
  if (!addon) {
    addon = loadAddon();
    // process.exit() does not run the addon's own hook. One hook serves all loaded copies of this
    // package.
    if (!process[hookName]) {
      process[hookName] = true;
      process.once('exit', () => addon.settle());
    }
  }
  return addon;
}

/** Where the framework library is looked for: in the folder of the addon that was loaded. */
function defaultLibrary() {
  return path.join(native().state().folder, 'libzelectronframework.so');
}

/** The stand-ins, in the order in which they need each other. */
function mockLibraries() {
  const folder = unpacked(path.join(packageFolder, 'mock', platform));
  return ['libvemolog.so', 'libzaccountkeeper.so', 'libzaccountlite.so'].map((name) => ({
    role: 'mock',
    name,
    file: path.join(folder, name),
  }));
}

const hasMock = () => mockLibraries().every(({ file }) => isFile(file));

module.exports = { native, defaultLibrary, hasMock, mockLibraries, unpacked, platform };
