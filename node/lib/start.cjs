'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { FrameworkError } = require('./errors.cjs');
const { explainLoad, fileError } = require('./loadfailure.cjs');
const { defaultLibrary, mockLibraries, unpacked } = require('./native.cjs');
const { isPlain, kindOf, objectText } = require('./objects.cjs');
const { checkShape } = require('./shapes.cjs');

const requiredTexts = ['appName', 'productName', 'version', 'localStoragePath'];

function refuse(reason) {
  throw new FrameworkError('ZEF_SETTINGS', `init: ${reason}`);
}

/** For JSON.parse: sorts the keys of objects, so that equal settings have equal texts. */
function sorted(_key, value) {
  if (typeof value !== 'object' || value === null || Array.isArray(value)) return value;
  return Object.fromEntries(Object.entries(value).sort(([a], [b]) => (a < b ? -1 : 1)));
}

/** Throws when the framework or the mock would refuse the settings. @returns them as text. */
function settingsText(given, isMock) {
  const settings = JSON.parse(objectText('ZEF_SETTINGS', 'init', 'settings', given), sorted);
  if (typeof settings.app !== 'object' || settings.app === null) {
    refuse(`settings.app with ${requiredTexts.join(', ')} is required`);
  }
  for (const key of requiredTexts) {
    const value = settings.app[key];
    if (typeof value !== 'string' || value === '') {
      refuse(`settings.app.${key} must be a text that is not empty`);
    }
  }
  const { network } = settings;
  for (const [name, value] of Object.entries({ network, 'network.proxy': network?.proxy })) {
    if (!isPlain(value ?? {})) refuse(`settings.${name} must be an object, not ${kindOf(value)}`);
  }
  if (isMock && settings.standin !== undefined) {
    checkShape('MockSettings', settings.standin, 'settings.standin', refuse);
  }
  return JSON.stringify(settings);
}

/** The real path, so that two paths to one file compare equal. */
function real(file) {
  const outside = unpacked(path.resolve(file));
  return fs.existsSync(outside) ? fs.realpathSync(outside) : outside;
}

/** Where the framework looks for a closed library that was not named: in its own folder first. */
function closedLibrary(name, library) {
  const beside = path.join(path.dirname(library), name);
  return fs.existsSync(beside) ? beside : name;
}

/**
 * The libraries for these options: the framework library, the closed libraries that were named, and
 * the path of the account library if it was not named.
 */
function librariesOf({ mock = false, libraryPath, accountLibrary, logLibrary }) {
  if (mock && (accountLibrary || logLibrary)) {
    throw new FrameworkError('ZEF_BAD_ARGUMENT', 'mock takes the place of both closed libraries');
  }
  const library = libraryPath ? real(libraryPath) : defaultLibrary();
  const named = [
    { role: 'log', name: 'libvemolog.so', file: logLibrary },
    { role: 'account', name: 'libzaccountlite.so', file: accountLibrary },
  ].filter(({ file }) => file !== undefined);
  return {
    library,
    closed: mock ? mockLibraries() : named.map((each) => ({ ...each, file: real(each.file) })),
    account: mock || accountLibrary ? '' : closedLibrary('libzaccountlite.so', library),
  };
}

/** Throws when a file is missing or cannot be loaded. */
function checkLibraries({ library, closed, account }) {
  const files = [['framework', library], ...closed.map(({ role, file }) => [role, file])];
  if (path.isAbsolute(account)) files.push(['account', account]);
  for (const [role, file] of files) {
    const error = fileError(role, file);
    if (error) throw error;
  }
}

const described = (code, message, remedy) =>
  new FrameworkError(code, `${message}\n  Remedy: ${remedy}`, { remedy });

const listed = (files) => files.join(', ') || 'those in the folder of the framework library';

/** The error for each outcome of the addon, whose detail is a reason or a file. */
const failures = {
  load: (reason, { library }) => explainLoad('framework', library, reason),

  preload: (reason, { closed }) => {
    const [file, ...words] = reason.split('\n');
    return explainLoad(closed.find((each) => each.file === file).role, file, words.join('\n'));
  },

  account: (reason, { account }) => explainLoad('account', account, reason),

  name: (file, { closed }) => {
    const { name } = closed.find((each) => each.file === file);
    return described(
      'ZEF_LIBRARY_NAME',
      `init: ${file} does not call itself ${name}, so that the framework cannot find it`,
      `link it with the SONAME ${name} (patchelf --set-soname ${name})`,
    );
  },

  symbol: (reason, { library }) =>
    described(
      'ZEF_NOT_THE_LIBRARY',
      `${library} is not the framework library: ${reason}`,
      'name libzelectronframework.so with the option libraryPath',
    ),

  other: (file, { library }) =>
    described(
      'ZEF_OTHER_LIBRARY',
      file === library
        ? `init: another copy of this package, or other code, uses ${file} in this process already`
        : `init: this process uses ${file} already and cannot take ${library}`,
      'use one installed copy of this package and one libraryPath in a process',
    ),

  closed: (files, { closed }) =>
    described(
      'ZEF_OTHER_LIBRARY',
      `init: the closed libraries of this process are ${listed(files.trim().split('\n'))}, ` +
        `and cannot be ${listed(closed.map(({ file }) => file))}`,
      'use the same mock, accountLibrary and logLibrary in the whole process, or another process',
    ),

  settings: () =>
    described(
      'ZEF_OTHER_SETTINGS',
      'init: the framework runs with other settings',
      'close it first, give the same settings, or join it as it is: init(settings, { join: true })',
    ),

  task: (type) => taskRefused(type),

  refused: () =>
    described(
      'ZEF_INIT_REFUSED',
      'init: the account library refused to start; the reason is in its log',
      'check the settings and read the log of the account library',
    ),
};

/** @returns the error for an outcome of the addon, or undefined after a successful start. */
function startFailure(outcome, libraries) {
  const [kind] = outcome.split(' ', 1);
  return failures[kind]?.(outcome.slice(kind.length + 1), libraries);
}

function taskRefused(type) {
  return new FrameworkError('ZEF_TASK_REFUSED', `the account library refused ${type}`);
}

module.exports = {
  settingsText,
  librariesOf,
  checkLibraries,
  startFailure,
  taskRefused,
  closedLibrary,
};
