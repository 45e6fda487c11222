#!/usr/bin/env node
'use strict';

const { mkdtempSync, rmSync } = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { ElectronFramework, diagnose, frameworkVersion } = require('../index.cjs');

const usage = `Usage: zelectronframework doctor [--mock]
       zelectronframework --version

  doctor   say what was found of the library and of what it needs, then start and stop it
           with the mock of the closed libraries
  --mock   look for the mock instead of the closed libraries
`;

const orNone = (value) => value ?? 'not found';

function printReport(report) {
  const rows = [
    ['package', frameworkVersion],
    ['platform', `${report.platform}, ${report.system}`],
    ['runtime', `Node ${report.node}${report.electron ? `, Electron ${report.electron}` : ''}`],
    ['Node-API', `${report.napi} (needs 8)`],
    ['addon', orNone(report.addon)],
    ['framework library', orNone(report.framework)],
    ['log library', orNone(report.logLibrary)],
    ['account library', orNone(report.accountLibrary)],
    ['C library', `${report.glibc?.found} (needs ${report.glibc?.needed})`],
    ['C++ library', `${orNone(report.libstdcxx?.found)} (needs ${report.libstdcxx?.needed})`],
    ['Qt', `${orNone(report.qt?.found)} (needs ${report.qt?.needed})`],
    [
      'GLib',
      report.glib?.loadedBefore
        ? `in the process before Qt: ${report.glib.path}`
        : 'not loaded before Qt',
    ],
  ];
  for (const [name, value] of rows) console.log(`${name.padEnd(18)} ${value}`);
  for (const { code, message, remedy } of report.findings) {
    console.log(`\n${code}: ${message}`);
    if (remedy && !message.includes(remedy)) console.log(`  Remedy: ${remedy}`);
  }
}

/** Starts the framework with the mock, asks one question on each thread, stops it. */
async function roundTrip() {
  const folder = mkdtempSync(path.join(os.tmpdir(), 'zelectronframework-'));
  const start = process.hrtime.bigint();
  const framework = new ElectronFramework({ mock: true });
  try {
    const app = {
      appName: 'doctor',
      productName: 'doctor',
      version: '1',
      localStoragePath: folder,
    };
    await framework.init({ app });
    await framework.call('network.updateProxyInfo', { proxyType: 0 });
    framework.callSync('account.getAccountListInfo');
    await framework.close();
  } finally {
    rmSync(folder, { recursive: true, force: true });
  }
  return Number(process.hrtime.bigint() - start) / 1e6;
}

async function doctor(options) {
  const report = diagnose(options);
  printReport(report);
  console.log();
  try {
    const milliseconds = await roundTrip();
    console.log(
      `round trip         with the mock: started, answered, stopped in ${milliseconds.toFixed(0)} ms`,
    );
  } catch (error) {
    console.log(`round trip         with the mock: ${error.code ?? ''} ${error.message}`);
    process.exitCode = 1;
  }
  if (!report.ok) process.exitCode = 1;
}

const [command, ...rest] = process.argv.slice(2);
if (command === 'doctor' && rest.every((argument) => argument === '--mock')) {
  doctor({ mock: rest.includes('--mock') });
} else if (command === '--version' && rest.length === 0) {
  console.log(frameworkVersion);
} else {
  process.stderr.write(usage);
  process.exitCode = command === undefined || command === '--help' ? 0 : 2;
}
