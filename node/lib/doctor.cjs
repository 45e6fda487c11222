'use strict';

const os = require('node:os');
const { diagnose } = require('./diagnose.cjs');
const { FrameworkError } = require('./errors.cjs');
const { ElectronFramework } = require('./framework.cjs');

const { version } = require('../package.json');

const orNone = (value) => value ?? 'not found';

function rowsOf(report) {
  const { glib, glibc, libstdcxx, qt } = report;
  const rows = [
    ['package', version],
    ['platform', `${report.platform}, ${report.system}`],
    ['runtime', `Node ${report.node}${report.electron ? `, Electron ${report.electron}` : ''}`],
    ['Node-API', `${report.napi} (needs 8)`],
    ['addon', orNone(report.addon)],
    ['framework library', orNone(report.framework)],
    ['log library', orNone(report.logLibrary)],
    ['account library', orNone(report.accountLibrary)],
    ['C library', `${orNone(glibc?.found)} (needs ${glibc?.needed})`],
    ['C++ library', `${orNone(libstdcxx?.found)} (needs ${libstdcxx?.needed})`],
    ['Qt', `${orNone(qt?.found)} (needs ${qt?.needed})`],
    [
      'GLib',
      glib?.loadedBefore ? `in the process before Qt: ${glib.path}` : 'not loaded before Qt',
    ],
  ];
  if (report.roundTrip) rows.push(['round trip', report.roundTrip]);
  return rows;
}

/** The report as a person reads it. */
function textOf(report) {
  const lines = rowsOf(report).map(([name, value]) => `${name.padEnd(18)} ${value}`);
  for (const { severity, code, message, remedy } of report.findings) {
    lines.push('', `${severity === 'warning' ? 'Warning ' : ''}${code}: ${message}`);
    if (remedy && !message.includes(remedy)) lines.push(`  Remedy: ${remedy}`);
  }
  return `${lines.join('\n')}\n`;
}

/** Starts the framework with the mock, or joins it, asks one question on each thread, leaves it. */
async function roundTrip() {
  const start = performance.now();
  const framework = new ElectronFramework({ mock: true, timeout: 10000 });
  const app = { appName: 'doctor', productName: 'doctor', version, localStoragePath: os.tmpdir() };
  await framework.init({ app }, { join: true, timeout: 10000 });
  await framework.call('network.updateProxyInfo', { proxyType: 0 });
  framework.callSync('account.getAccountListInfo');
  await framework.close();
  return `with the mock: started, answered, stopped in ${(performance.now() - start).toFixed(0)} ms`;
}

/** @returns a diagnosis with its `text`, after a round trip with the mock if isTried() is true. */
async function examine(options, isTried) {
  const report = diagnose(options);
  if (report.addon !== undefined) {
    try {
      if (isTried()) report.roundTrip = await roundTrip();
    } catch (thrown) {
      const { code, message, remedy } = FrameworkError.from(thrown);
      report.roundTrip = `with the mock: failed, ${code}`;
      if (report.findings.every((finding) => finding.message !== message)) {
        report.findings.push({ severity: 'error', code, message, remedy });
      }
      report.ok = false;
    }
  }
  report.text = textOf(report);
  return report;
}

/** Never rejects. The option `mock` makes the mock the account library of this process for good. */
const doctor = (options) => examine(options, () => options?.mock === true);

module.exports = { doctor, examine };
