'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const { execFileSync } = require('node:child_process');
const { test } = require('node:test');
const { scratch } = require('./support.cjs');

const packageFolder = path.join(__dirname, '..');
const readme = fs.readFileSync(path.join(packageFolder, 'README.md'), 'utf8');

test('the package works where it is installed, as its README says', () => {
  const app = fs.mkdtempSync(path.join(scratch, 'app-'));
  const run = (command, args, cwd = app) =>
    execFileSync(command, args, { cwd, encoding: 'utf8', stdio: 'pipe' });
  for (const folder of [packageFolder, path.join(packageFolder, '../node')]) {
    run('npm', ['pack', '--ignore-scripts', '--pack-destination', app], folder);
  }
  fs.writeFileSync(path.join(app, 'package.json'), '{"private":true}');
  const tarballs = fs.readdirSync(app).filter((name) => name.endsWith('.tgz'));
  run('npm', ['install', '--offline', '--ignore-scripts', ...tarballs.map((name) => `./${name}`)]);
  const installed = fs
    .readdirSync(path.join(app, 'node_modules'))
    .filter((name) => !name.startsWith('.'));
  assert.deepEqual(installed.sort(), ['zelectronframework', 'zelectronframework-inspector']);

  const dist = path.join(app, 'node_modules/zelectronframework-inspector/dist');
  const notices = fs.readFileSync(path.join(dist, 'NOTICES.txt'), 'utf8');
  for (const name of ['preact', 'uplot']) {
    assert.match(notices, new RegExp(`^${name} [\\d.]+ \\(MIT\\)\\n[^]*?copyright notice`, 'm'));
  }

  const [attached] = /^```js\n([\s\S]*?)^```$/m.exec(readme).slice(1);
  fs.writeFileSync(path.join(app, 'attached.cjs'), attached);
  assert.match(
    run(process.execPath, ['attached.cjs']),
    /^http:\/\/127\.0\.0\.1:\d+\/#[\w-]{43}\n$/,
  );

  const recording = path.join(packageFolder, '../examples/recording.jsonl');
  const bin = path.join(app, 'node_modules/.bin/zelectronframework-inspector');
  assert.match(run(bin, ['replay', recording]), /^green /);
  assert.match(run(bin, ['--help']), /^Usage:/);
});
