'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { FrameworkError } = require('./errors.cjs');
const { explainLoad, floors, highestVersion } = require('./loadfailure.cjs');
const { native, platform } = require('./native.cjs');
const { checkedOptions } = require('./options.cjs');
const { closedLibrary, librariesOf } = require('./start.cjs');

const logRemedy =
  'put it beside libzelectronframework.so or name it with the option logLibrary; without it nothing is logged';
const accountRemedy =
  'put it beside libzelectronframework.so, name it with the option accountLibrary, or use mock: true';

/** Loads what can be loaded and says what was found; starts nothing. */
function diagnose(options) {
  const report = {
    platform,
    node: process.versions.node,
    electron: process.versions.electron,
    napi: process.versions.napi,
    system: `${os.type()} ${os.release()}`,
    findings: [],
  };
  const note = (error) => {
    const { code, message, remedy } = error;
    report.findings.push({ code, message, remedy });
  };
  try {
    Object.assign(report, inspected(options, note));
  } catch (error) {
    if (!(error instanceof FrameworkError)) throw error;
    note(error);
  }
  report.ok = report.findings.length === 0;
  return report;
}

function inspected(options, note) {
  const libraries = librariesOf(checkedOptions('diagnose', 'framework', options));
  const before = native().inspect('libglib-2.0.so.0', false);
  const framework = native().inspect(libraries.library, true);
  if (framework.error) {
    note(explainLoad(libraries.library, framework.error).described());
  }
  const { folder, glibc, qt } = native().state();
  const addon = path.join(folder, 'zelectronframework.node');
  const [log, account] = closedLibraries(libraries);
  noteMissing(log, 'ZEF_LOG_LIBRARY_MISSING', 'log', logRemedy, note);
  noteMissing(account, 'ZEF_ACCOUNT_LIBRARY_MISSING', 'account', accountRemedy, note);
  return {
    addon,
    framework: framework.path || libraries.library,
    logLibrary: log.error ? undefined : log.file,
    accountLibrary: account.error ? undefined : account.file,
    glibc: { found: glibc, needed: highestOf('GLIBC', addon, libraries.library) },
    libstdcxx: {
      found: highestOf('GLIBCXX', loadedFile('libstdc++.so.6')),
      needed: highestOf('GLIBCXX', addon, libraries.library),
    },
    qt: { found: qt || undefined, needed: floors.qt },
    glib: { loadedBefore: before.error === '', path: before.path || undefined },
  };
}

function closedLibraries({ library, closed }) {
  return ['libvemolog.so', 'libzaccountlite.so'].map((name) => {
    const named = closed.find((each) => each.name === name);
    const file = named?.file ?? closedLibrary(name, library);
    const { path: found, error } = native().inspect(file, true);
    return { name, file: found || file, error };
  });
}

function noteMissing({ name, error }, code, role, remedy, note) {
  if (error) {
    const message = `the ${role} library ${name} cannot be loaded: ${error}`;
    note(new FrameworkError(code, message, { remedy }));
  }
}

/** The file of a library that this process has loaded; its name where it has not. */
function loadedFile(name) {
  const maps = fs.readFileSync('/proc/self/maps', 'latin1').split('\n');
  const line = maps.find((each) => each.includes(`/${name}`));
  return line?.slice(line.indexOf('/')) ?? name;
}

function highestOf(kind, ...files) {
  const versions = files.map((file) => highestVersion(file, kind)).filter(Boolean);
  versions.sort((a, b) => a.localeCompare(b, 'en', { numeric: true }));
  return versions.at(-1)?.slice(kind.length + 1);
}

module.exports = { diagnose };
