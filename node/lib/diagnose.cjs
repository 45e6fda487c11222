'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { FrameworkError } = require('./errors.cjs');
const { explainLoad, fileError, floors, highestVersion } = require('./loadfailure.cjs');
const { native, platform } = require('./native.cjs');
const { checkedOptions } = require('./options.cjs');
const { closedLibrary, librariesOf } = require('./start.cjs');

/** Loads what can be loaded and says what was found; starts nothing and throws nothing. */
function diagnose(options) {
  const report = {
    platform,
    node: process.versions.node,
    electron: process.versions.electron,
    napi: process.versions.napi,
    system: `${os.type()} ${os.release()}`,
    findings: [],
  };
  const note = (error, severity = 'error') => {
    const { code, message, remedy } = error;
    report.findings.push({ severity, code, message, remedy });
  };
  try {
    Object.assign(report, inspected(options, note));
  } catch (thrown) {
    note(FrameworkError.from(thrown));
  }
  report.ok = report.findings.every(({ severity }) => severity !== 'error');
  return report;
}

function inspected(options, note) {
  const libraries = librariesOf(checkedOptions('diagnose', 'framework', options));
  const before = native().inspect('libglib-2.0.so.0', false);
  const framework = found('framework', libraries.library, note);
  const { folder, glibc, qt } = native().state();
  const addon = path.join(folder, 'zelectronframework.node');
  // The framework starts without a log library, but not where the options name a wrong one.
  const logLibrary = closed('log', 'libvemolog.so', libraries, note, 'warning');
  const accountLibrary = closed('account', 'libzaccountlite.so', libraries, note);
  return {
    addon,
    framework: framework ?? libraries.library,
    logLibrary,
    accountLibrary,
    glibc: { found: glibc, needed: highestOf('GLIBC', addon, libraries.library) },
    libstdcxx: {
      found: highestOf('GLIBCXX', loadedFile('libstdc++.so.6')),
      needed: highestOf('GLIBCXX', addon, libraries.library),
    },
    qt: { found: qt || undefined, needed: floors.qt },
    glib: { loadedBefore: before.error === '', path: before.path || undefined },
  };
}

function closed(role, name, libraries, note, severity) {
  const named = libraries.closed.find((each) => each.name === name);
  return named
    ? found(named.role, named.file, note)
    : found(role, closedLibrary(name, libraries.library), note, severity);
}

/** @returns the path of a library; undefined, and the reason is noted, if it cannot be loaded. */
function found(role, file, note, severity) {
  const error = path.isAbsolute(file) ? fileError(role, file) : undefined;
  const inspection = error ? {} : native().inspect(file, true);
  if (!error && !inspection.error) return inspection.path;
  note(error ?? explainLoad(role, file, inspection.error), severity);
  return undefined;
}

/** The file of a library that this process has loaded; its name where it has not. */
function loadedFile(name) {
  try {
    const maps = fs.readFileSync('/proc/self/maps', 'latin1').split('\n');
    const line = maps.find((each) => each.includes(`/${name}`));
    return line?.slice(line.indexOf('/')) ?? name;
  } catch {
    return name; // where the process must not read that
  }
}

function highestOf(kind, ...files) {
  const versions = files.map((file) => highestVersion(file, kind)).filter(Boolean);
  versions.sort((a, b) => a.localeCompare(b, 'en', { numeric: true }));
  return versions.at(-1)?.slice(kind.length + 1);
}

module.exports = { diagnose };
