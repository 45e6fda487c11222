'use strict';

const fs = require('node:fs');
const path = require('node:path');
const { FrameworkError } = require('./errors.cjs');
const { explainLoad } = require('./loadfailure.cjs');
const { native, defaultLibrary, mockLibraries, unpacked } = require('./native.cjs');

const requiredTexts = ['appName', 'productName', 'version', 'localStoragePath'];

/** \returns the settings as text, after what the framework would refuse was refused in words. */
function settingsText(settings) {
  const refuse = (reason) => {
    throw new FrameworkError('ZEF_SETTINGS', `init: ${reason}`);
  };
  if (typeof settings?.app !== 'object' || settings.app === null) {
    refuse(`settings.app with ${requiredTexts.join(', ')} is required`);
  }
  for (const key of requiredTexts) {
    const value = settings.app[key];
    if (typeof value !== 'string' || value === '') {
      refuse(`settings.app.${key} must be a text that is not empty`);
    }
  }
  try {
    return JSON.stringify(settings);
  } catch (cause) {
    throw new FrameworkError('ZEF_SETTINGS', `init: ${cause.message}`, { cause });
  }
}

/** What is loaded for an object of these options: the library, and what it shall find by name. */
function librariesOf({ mock = false, libraryPath, accountLibrary, logLibrary } = {}) {
  if (mock && (accountLibrary || logLibrary)) {
    throw new FrameworkError('ZEF_BAD_ARGUMENT', 'mock takes the place of both closed libraries');
  }
  const named = [logLibrary, accountLibrary].filter(Boolean);
  return {
    library: libraryPath ? unpacked(path.resolve(libraryPath)) : defaultLibrary(),
    preloaded: mock ? mockLibraries() : named.map((file) => unpacked(path.resolve(file))),
  };
}

/** Where the framework would find a closed library; it looks beside itself first. */
function findClosedLibrary(name, library) {
  const beside = path.join(path.dirname(library), name);
  const file = fs.existsSync(beside) ? beside : name;
  const { path: found, error } = native().inspect(file, true);
  return error ? { name, file, error } : { name, file: found };
}

function accountLibraryFailure(account) {
  if (path.isAbsolute(account.file)) {
    return explainLoad(account.file, account.error).described();
  }
  const remedy =
    'put it beside libzelectronframework.so, name it with the option accountLibrary, or use mock: true';
  return new FrameworkError(
    'ZEF_ACCOUNT_LIBRARY_MISSING',
    `init: the account library ${account.name} cannot be loaded: ${account.error}\n  Remedy: ${remedy}`,
    { remedy },
  );
}

function refusal({ library, preloaded }) {
  if (preloaded.length === 0) {
    const account = findClosedLibrary('libzaccountlite.so', library);
    if (account.error) return accountLibraryFailure(account);
  }
  return new FrameworkError(
    'ZEF_INIT_REFUSED',
    'init: the account library refused to start; the reason is in its log',
    { remedy: 'check the settings and read the log of the account library' },
  );
}

/** \returns the error that an outcome of the addon stands for, or undefined for a start. */
function startFailure(outcome, libraries) {
  const [kind] = outcome.split(' ', 1);
  const reason = outcome.slice(kind.length + 1);
  switch (kind) {
    case 'started':
    case 'joined':
      return undefined;
    case 'load':
      return explainLoad(libraries.library, reason).described();
    case 'preload': {
      const file = libraries.preloaded.find((name) => reason.includes(name));
      return explainLoad(file ?? libraries.preloaded[0], reason).described();
    }
    case 'symbol':
      return new FrameworkError(
        'ZEF_NOT_THE_LIBRARY',
        `${libraries.library} is not the framework library: ${reason}`,
        { remedy: 'name libzelectronframework.so with the option libraryPath' },
      );
    case 'other':
      return new FrameworkError(
        'ZEF_OTHER_LIBRARY',
        `this process has loaded ${reason} already and cannot take ${libraries.library}`,
        { remedy: 'use one libraryPath in a process' },
      );
    default:
      return refusal(libraries);
  }
}

module.exports = { settingsText, librariesOf, startFailure, findClosedLibrary };
