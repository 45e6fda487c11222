#!/usr/bin/env node
'use strict';

const { frameworkVersion } = require('../index.cjs');
const { examine } = require('../lib/doctor.cjs');
const { hasMock } = require('../lib/native.cjs');

const usage = `Usage: zelectronframework doctor [--mock]
       zelectronframework --version

  doctor   say what was found of the library and of what it needs, then start and stop it
           with the mock of the closed libraries, where this installation has it
  --mock   look for the mock instead of the closed libraries
`;

async function doctor(isMock) {
  const isTried = () => isMock || hasMock(); // a release may have left the mock out
  const report = await examine({ mock: isMock }, isTried);
  process.stdout.write(report.text);
  process.exitCode = report.ok ? 0 : 1;
  if (process.versions.electron) process.exit(); // which otherwise waits for windows
}

const [command, ...rest] = process.argv.slice(2);
if (command === 'doctor' && rest.every((argument) => argument === '--mock')) {
  doctor(rest.includes('--mock'));
} else if (command === '--version' && rest.length === 0) {
  console.log(frameworkVersion);
} else if (command === undefined || ['--help', '-h', 'help'].includes(command)) {
  process.stdout.write(usage);
} else {
  process.stderr.write(usage);
  process.exitCode = 2;
}
