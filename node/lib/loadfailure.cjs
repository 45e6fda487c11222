'use strict';

const fs = require('node:fs');
const { FrameworkError } = require('./errors.cjs');

const machines = { 62: 'x64', 183: 'arm64' };

class LoadFailure {
  constructor(code, reason, remedy) {
    Object.assign(this, { code, reason, remedy });
  }

  described(cause) {
    const message = `zelectronframework cannot be loaded: ${this.reason}\n  Remedy: ${this.remedy}`;
    return new FrameworkError(this.code, message, { remedy: this.remedy, cause });
  }
}

/** \returns 'x64', 'arm64', 'machine N', or undefined for what is no shared object. */
function architectureOf(file) {
  let header;
  try {
    header = fs.readFileSync(file).subarray(0, 20);
  } catch {
    return undefined;
  }
  if (header.length < 20 || header.toString('latin1', 1, 4) !== 'ELF') return undefined;
  const machine = header.readUInt16LE(18);
  return machines[machine] ?? `machine ${machine}`;
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

// Of everything in this package; its build fails above them. Qt's cannot be read from the files.
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

/** From the loader's words to one cause and one remedy. */
function explainLoad(file, text) {
  if (!fs.existsSync(file)) {
    return new LoadFailure(
      file.endsWith('.node') ? 'ZEF_ADDON_MISSING' : 'ZEF_LIBRARY_MISSING',
      `${file} does not exist`,
      /\.asar/.test(__dirname)
        ? 'unpack node_modules/zelectronframework from the archive (see the README, packaging)'
        : 'reinstall the package, or name the right file with the option libraryPath',
    );
  }
  const architecture = architectureOf(file);
  if (architecture !== process.arch) {
    return new LoadFailure(
      'ZEF_ARCHITECTURE',
      architecture
        ? `${file} is built for ${architecture}, this process is ${process.arch}`
        : `${file} is no shared library`,
      `take the file from the folder linux-${process.arch} of the package`,
    );
  }
  for (const { pattern, code, reason, remedy } of causes) {
    const match = pattern.exec(text);
    // The file's own name in the loader's words is not the name of something that it needs.
    if (match && !file.endsWith(`/${match[1]}`)) {
      return new LoadFailure(code, `${file}: ${reason(match)} (${text})`, remedy);
    }
  }
  return new LoadFailure(
    'ZEF_LOAD',
    `${file}: ${text}`,
    "run 'npx zelectronframework doctor' and read what it finds",
  );
}

module.exports = { LoadFailure, floors, explainLoad, highestVersion, architectureOf };
