'use strict';

// The package as it is shipped: packed, installed into an empty folder, bundled, put into an archive.

const assert = require('node:assert/strict');
const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const { createRequire } = require('node:module');
const path = require('node:path');
const { before, test } = require('node:test');
const { platform } = require('../lib/native.cjs');
const {
  app,
  environment,
  install,
  installed,
  packageFolder,
  root,
  run,
  snippets,
} = require('./application.cjs');

const { version } = require('../package.json');

const minimatch = createRequire(require.resolve('@electron/asar'))('minimatch');
const tarball = `zelectronframework-${version}.tgz`;

before(install);

test('nothing runs at an installation, and nothing else comes with it', () => {
  const { dependencies, scripts } = JSON.parse(
    fs.readFileSync(path.join(installed, 'package.json')),
  );
  assert.equal(run('npx', ['zelectronframework', '--version']), `${version}\n`);
  assert.match(run('npx', ['zelectronframework', '--help']), /^Usage: zelectronframework doctor/);
  assert.equal(dependencies, undefined);
  for (const script of ['preinstall', 'install', 'postinstall', 'prepare']) {
    assert.equal(scripts[script], undefined);
  }
});

test('the package holds what it should and nothing else', () => {
  const files = (folder) => fs.readdirSync(path.join(installed, folder)).sort();
  assert.deepEqual(
    files('.').filter((name) => /\./.test(name)),
    [
      'CHANGELOG.md',
      'README.md',
      'THIRD-PARTY-NOTICES.txt',
      'electron-main.d.ts',
      'electron-main.js',
      'electron-preload.d.ts',
      'electron-preload.js',
      'index.cjs',
      'index.d.cts',
      'index.d.mts',
      'index.mjs',
      'package.json',
    ],
  );
  for (const folder of files('prebuilds')) {
    assert.deepEqual(files(`prebuilds/${folder}`), [
      'libzelectronframework.so',
      'zelectronframework.node',
    ]);
    assert.deepEqual(files(`mock/${folder}`), [
      'libvemolog.so',
      'libzaccountkeeper.so',
      'libzaccountlite.so',
    ]);
  }
  for (const file of fs.readdirSync(installed, { recursive: true })) {
    const whole = path.join(installed, file);
    if (!fs.statSync(whole).isFile()) continue;
    const text = fs.readFileSync(whole, 'latin1');
    assert.ok(!text.includes(path.join(packageFolder, '..')), `${file} names the build folder`);
  }
});

test('an archived application that unpacked nothing is told so', () => {
  const folder = path.join(root, 'nothing/app.asar/node_modules');
  fs.cpSync(installed, path.join(folder, 'zelectronframework'), { recursive: true });
  fs.rmSync(path.join(folder, 'zelectronframework/prebuilds'), { recursive: true });
  const program = `new (require('zelectronframework').ElectronFramework)({ mock: true })
    .init({ app: { appName: 'a', productName: 'a', version: '1', localStoragePath: '/var/tmp' } })
    .catch((error) => console.log(error.code, error.remedy.includes('unpack')))`;
  assert.equal(
    run(process.execPath, ['-e', program], path.dirname(folder)),
    'ZEF_ADDON_MISSING true\n',
  );
});

test('a release is left without the mock and the other processor', () => {
  fs.writeFileSync(path.join(root, 'release.config.js'), snippets('js release-forge')[0].code);
  const { ignore } = require(path.join(root, 'release.config.js')).packagerConfig;
  const [, pattern] = JSON.parse(snippets('json release-builder')[0].code).build.files;
  const kept = (excludes) =>
    fs
      .readdirSync(installed, { recursive: true })
      .map((file) => `/node_modules/zelectronframework/${file}`)
      .filter((file) => !excludes(file));
  const byForge = kept((file) => ignore[0].test(file));
  const byBuilder = kept((file) => minimatch(file.slice(1), pattern.slice(1), { dot: true }));
  assert.deepEqual(byForge, byBuilder);
  assert.ok(byForge.length > 10);
  assert.ok(byForge.every((file) => !/mock\/|arm64/.test(file)));
  const folder = path.join(root, 'release');
  for (const file of byForge) {
    const from = path.join(app, file);
    if (fs.statSync(from).isFile()) fs.cpSync(from, path.join(folder, file));
  }
  const program = `const { ElectronFramework, diagnose } = require('zelectronframework');
    const app = { appName: 'a', productName: 'a', version: '1', localStoragePath: '/var/tmp' };
    new ElectronFramework({ mock: true }).init({ app })
      .catch((error) => console.log(error.code, diagnose().findings.length))`;
  if (process.arch !== 'x64') return; // whose binaries the page leaves out
  assert.equal(run(process.execPath, ['-e', program], folder), 'ZEF_MOCK_MISSING 2\n');
  // With the closed libraries in place the doctor is content.
  const released = path.join(folder, 'node_modules/zelectronframework');
  fs.cpSync(path.join(installed, 'mock', platform), path.join(released, 'prebuilds', platform), {
    recursive: true,
  });
  const report = run(process.execPath, [
    path.join(released, 'bin/zelectronframework.cjs'),
    'doctor',
  ]);
  assert.match(report, /^account library +\/.*prebuilds/m);
  assert.doesNotMatch(report, /ZEF_|round trip/);
});

test('where the package cannot be installed an application can', () => {
  const folder = path.join(root, 'colleague');
  fs.mkdirSync(folder);
  fs.writeFileSync(path.join(folder, 'package.json'), snippets('json colleagues')[0].code);
  fs.cpSync(path.join(app, tarball), path.join(folder, tarball));
  fs.writeFileSync(path.join(folder, 'start.js'), snippets('js colleagues')[0].code);
  const rows = [
    [['--os=darwin', '--cpu=arm64'], 'without accounts\n'],
    [['--libc=musl'], 'without accounts\n'],
    [[], `${version}\n`],
  ];
  for (const [flags, output] of rows) {
    fs.rmSync(path.join(folder, 'node_modules'), { recursive: true, force: true });
    run('npm', ['install', '--no-audit', '--no-save', '--no-package-lock', ...flags], folder);
    assert.equal(run(process.execPath, ['start.js'], folder), output);
  }
});

test('Jest and Vitest run it in all their pools, loaded anew for every test', () => {
  const project = path.join(root, 'runners');
  const spec = fs.readFileSync(path.join(__dirname, 'fixtures/runner.spec.mjs'), 'utf8');
  const forJest = spec
    .replace(/import (.*) from (.*);/, 'const $1 = require($2);')
    .replace('await import(', 'require(')
    .replaceAll(/\bvi(test)?\b/g, 'jest');
  for (const name of ['first', 'second']) {
    fs.mkdirSync(path.join(project, 'node_modules'), { recursive: true });
    fs.writeFileSync(path.join(project, `${name}.spec.mjs`), spec);
    fs.writeFileSync(path.join(project, `${name}.spec.cjs`), forJest);
  }
  fs.writeFileSync(path.join(project, 'package.json'), '{}');
  fs.symlinkSync(installed, path.join(project, 'node_modules/zelectronframework'));
  const vitest = path.join(path.dirname(require.resolve('vitest/package.json')), 'vitest.mjs');
  const jest = [require.resolve('jest/bin/jest'), '--transform={}', '--testMatch=**/*.spec.cjs'];
  const rows = [
    ...[['--runInBand'], ['--maxWorkers=2'], ['--maxWorkers=2', '--workerThreads']].map((pool) => [
      ...jest,
      ...pool,
    ]),
    ...['forks', 'threads', 'vmForks', 'vmThreads'].flatMap((pool) =>
      [[], ['--no-isolate']].map((isolation) =>
        [vitest, 'run', '--globals', '--exclude=**/*.cjs', `--pool=${pool}`].concat(isolation),
      ),
    ),
  ];
  for (const row of rows) {
    const { status, stdout, stderr } = spawnSync(process.execPath, row, {
      cwd: project,
      env: { ...environment, NO_COLOR: '1' },
      encoding: 'utf8',
      timeout: 60000,
    });
    assert.equal(status, 0, `${row.join(' ')}\n${stdout}${stderr}`);
    assert.match(stdout + stderr, /Tests:? +6 passed/, row.join(' '));
  }
});

test('publint and attw find nothing', async () => {
  const { publint } = await import('publint');
  const { messages } = await publint({ pkgDir: packageFolder, strict: true });
  assert.deepEqual(messages, []);
  const attw = path.join(
    path.dirname(require.resolve('@arethetypeswrong/cli/package.json')),
    'dist/index.js',
  );
  run(process.execPath, [attw, path.join(app, tarball), '--quiet']);
});

test('a bundler follows the requires', () => {
  const esbuild = require('esbuild');
  const bundle = path.join(root, 'bundle');
  const library = path.join(installed, 'prebuilds', platform, 'libzelectronframework.so');
  const account = path.join(installed, 'mock', platform, 'libzaccountlite.so');
  const entry = path.join(app, 'entry.cjs');
  fs.writeFileSync(
    entry,
    snippets('js')[0].code.replace(
      '{ mock: true }',
      JSON.stringify({ libraryPath: library, accountLibrary: account }),
    ),
  );
  esbuild.buildSync({
    entryPoints: [entry],
    bundle: true,
    platform: 'node',
    loader: { '.node': 'copy' },
    outdir: bundle,
    external:
      process.arch === 'x64' ? ['../prebuilds/linux-arm64/*'] : ['../prebuilds/linux-x64/*'],
  });
  assert.equal(run(process.execPath, ['entry.js'], bundle), "[ 'Ada' ]\n");
});

test('every error code has a section, and the code knows every one of them', () => {
  const read = (file) => fs.readFileSync(path.join(packageFolder, file), 'utf8');
  const codes = (text) => [...new Set(text.match(/ZEF_[A-Z_]+/g))].sort();
  const sources = fs
    .readdirSync(path.join(packageFolder, 'lib'))
    .map((name) => read(`lib/${name}`));
  assert.deepEqual(codes(sources.join('')), codes(read('index.d.cts')));
  const headings = read('docs/errors.md')
    .match(/^### .*$/gm)
    .join('\n');
  assert.deepEqual(codes(headings), codes(read('index.d.cts')));
});

test('an ESM application may import everything by default', () => {
  const program = `import zef, * as names from 'zelectronframework';
    console.log(Object.keys(names).filter((name) => name !== 'default' && names[name] !== zef[name]));
    console.log(Object.keys(zef).length === Object.keys(names).length - 1);`;
  fs.writeFileSync(path.join(app, 'default.mjs'), program);
  assert.equal(run(process.execPath, ['default.mjs']), '[]\ntrue\n');
});

const project = ['-p', path.join(__dirname, 'types')];
const least = '--noEmit --strict --module nodenext --target es2020 --lib es2020 --types node';
const leastFile = [...least.split(' '), path.join(__dirname, 'types/right.cts')];
for (const [compiler, options] of [
  ['typescript', project],
  ['typescript', [...leastFile, '--exactOptionalPropertyTypes']],
  ['typescript-5.0', leastFile],
  ['typescript-7', project],
]) {
  test(`right uses of the typings compile and wrong ones do not: ${compiler}`, () => {
    const file = path.join(packageFolder, 'node_modules', compiler, 'bin/tsc');
    execFileSync(process.execPath, [file, ...options], { cwd: __dirname, stdio: 'inherit' });
  });
}
