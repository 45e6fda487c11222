'use strict';

const fs = require('node:fs');
const { FrameworkError } = require('./errors.cjs');
const { faultOf } = require('./libraryfile.cjs');

const isArchived = /\.asar/.test(__dirname);
const unpack = 'unpack node_modules/zelectronframework from the archive (see docs/packaging.md)';
const beside = (name, option) =>
  `put ${name} in the same folder as libzelectronframework.so, or name the right file with the option ${option}`;

/** What a file is meant to be, with the error code and the remedy for a missing one. */
const roles = {
  addon: {
    name: 'the addon of zelectronframework',
    code: 'ZEF_ADDON_MISSING',
    remedy: isArchived ? unpack : 'reinstall the package',
  },
  framework: {
    name: 'the framework library',
    code: 'ZEF_LIBRARY_MISSING',
    remedy: isArchived
      ? unpack
      : 'reinstall the package, or name the right file with the option libraryPath',
  },
  account: {
    name: 'the account library',
    code: 'ZEF_ACCOUNT_LIBRARY_MISSING',
    remedy: `${beside('libzaccountlite.so', 'accountLibrary')}; for development use mock: true`,
  },
  log: {
    name: 'the log library',
    code: 'ZEF_LOG_LIBRARY_MISSING',
    remedy: `${beside('libvemolog.so', 'logLibrary')}; without one nothing is logged`,
  },
  mock: {
    name: 'the mock',
    code: 'ZEF_MOCK_MISSING',
    remedy: isArchived
      ? unpack
      : 'reinstall the package; a release that leaves the mock out has none',
  },
};

function loadError(role, code, reason, remedy, cause) {
  const message = `${roles[role].name} cannot be loaded: ${reason}\n  Remedy: ${remedy}`;
  return new FrameworkError(code, message, { remedy, cause });
}

/** @returns the error of a file that cannot be loaded, known without trying; or undefined. */
function fileError(role, file, cause) {
  const fault = faultOf(file);
  if (!fault) return undefined;
  const { code, remedy } = roles[role];
  if (fault.kind === 'missing') return loadError(role, code, fault.reason, remedy, cause);
  const isOurs = role === 'addon' || role === 'framework' || role === 'mock';
  const rightOne = isOurs
    ? `take the file from the folder linux-${process.arch} of the package`
    : `take the file that was built for ${process.arch}`;
  return fault.kind === 'architecture'
    ? loadError(role, 'ZEF_ARCHITECTURE', fault.reason, rightOne, cause)
    : loadError(role, 'ZEF_BAD_FILE', fault.reason, remedy, cause);
}

/** The highest version of a kind that a file asks of its libraries, as 'GLIBC_2.34'. */
function highestVersion(file, kind) {
  let text;
  try {
    text = fs.readFileSync(file, 'latin1');
  } catch {
    return undefined;
  }
  const versions = text.match(new RegExp(`\\b${kind}_\\d+(\\.\\d+)*`, 'g')) ?? [];
  return versions.sort((a, b) => a.localeCompare(b, 'en', { numeric: true })).at(-1);
}

// The oldest versions that this package runs with; its build fails if a file needs newer ones. Qt's
// version cannot be read from the files.
const floors = { glibc: '2.28', libstdcxx: '3.4.25', qt: '5.10' };

const causes = [
  {
    // The words of musl's loader.
    pattern: /Error (?:loading shared library|relocating) .*/,
    code: 'ZEF_PLATFORM',
    reason: () => "this system's C library is not glibc",
    remedy:
      'use a system with glibc (Debian, Ubuntu, Fedora), or an image of one instead of Alpine',
  },
  {
    pattern: /version [`']?(GLIBC_[\d.]+)/,
    code: 'ZEF_GLIBC',
    reason: ([, version]) => `this system's C library lacks ${version}`,
    remedy: `use a newer system, with glibc ${floors.glibc} or later`,
  },
  {
    pattern: /version [`']?((?:GLIBCXX|CXXABI)_[\d.]+)/,
    code: 'ZEF_LIBSTDCXX',
    reason: ([, version]) => `the C++ library that was found, libstdc++.so.6, lacks ${version}`,
    remedy:
      'use the libstdc++ of GCC 8 or later: remove an older copy from LD_LIBRARY_PATH, or use a newer system',
  },
  {
    pattern: /(?:version [`']?|undefined symbol: \w+, version )(Qt_\d[\w.]*)/,
    code: 'ZEF_QT_VERSION',
    reason: ([, version]) => `the Qt that was found lacks a part of ${version}`,
    remedy: `install Qt ${floors.qt} or later of Qt 5 (Debian: libqt5core5a and libqt5network5) and remove older copies`,
  },
  {
    pattern: /(libQt5\w+\.so\.5): cannot open/,
    code: 'ZEF_QT_MISSING',
    reason: ([, library]) => `${library} was not found`,
    remedy: 'install Qt 5 (Debian: apt install libqt5core5a libqt5network5)',
  },
  {
    pattern: /(lib[\w.+-]+): cannot open shared object file/,
    code: 'ZEF_DEPENDENCY_MISSING',
    reason: ([, library]) => `${library}, which it needs, was not found`,
    remedy: 'install the package that holds that library',
  },
];

/**
 * Maps the loader's message to a cause and a remedy.
 * @param file its path, or a bare name that the loader looks for
 */
function explainLoad(role, file, text, cause) {
  const isPath = file.includes('/');
  const fault = isPath ? fileError(role, file, cause) : undefined;
  if (fault) return fault;
  for (const { pattern, code, reason, remedy } of causes) {
    const match = pattern.exec(text);
    // The loader's message may name the file itself, which is not one of its dependencies.
    if (match && match[1] !== file && !file.endsWith(`/${match[1]}`)) {
      return loadError(role, code, `${file}: ${reason(match)} (${text})`, remedy, cause);
    }
  }
  if (!isPath) return loadError(role, roles[role].code, text, roles[role].remedy, cause);
  const remedy = "run 'npx zelectronframework doctor' and read what it finds";
  return loadError(role, 'ZEF_LOAD', `${file}: ${text}`, remedy, cause);
}

module.exports = { floors, fileError, explainLoad, highestVersion, loadError };
