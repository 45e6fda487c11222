'use strict';

// The package as it is shipped: packed, installed into an empty folder, bundled, put into an archive.

const assert = require('node:assert/strict');
const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const { createRequire } = require('node:module');
const os = require('node:os');
const path = require('node:path');
const { after, before, test } = require('node:test');
const { platform } = require('../lib/native.cjs');

const { version } = require('../package.json');

const minimatch = createRequire(require.resolve('@electron/asar'))('minimatch');
const packageFolder = path.join(__dirname, '..');
const tarball = `zelectronframework-${version}.tgz`;
const root = fs.mkdtempSync(path.join(os.tmpdir(), 'zelectronframework-package-'));
const readme = fs.readFileSync(path.join(packageFolder, 'README.md'), 'utf8');
const environment = { ...process.env, XDG_STATE_HOME: root };
for (const name of Object.keys(environment)) {
  if (/^(npm_|NODE_TEST_CONTEXT|ELECTRON)/i.test(name)) delete environment[name];
}
const app = path.join(root, 'app');
let installed;

/** \returns the texts of the README's snippets of one kind, for example 'js electron-main'. */
function snippets(kind) {
  const found = [...readme.matchAll(/^```(.*)\n([\s\S]*?)^```$/gm)].filter(
    (match) => match[1] === kind,
  );
  assert.ok(found.length > 0, kind);
  return found.map((match) => match[2]);
}

const run = (command, args, folder = app) =>
  execFileSync(command, args, {
    cwd: folder,
    env: environment,
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'pipe'],
  });

/** Runs one of the README's programs and gives what it prints. */
function runSnippet(text, name) {
  fs.writeFileSync(path.join(app, name), text);
  return run(process.execPath, [name]);
}

before(() => {
  fs.mkdirSync(app);
  run('npm', ['pack', '--ignore-scripts', '--pack-destination', app], packageFolder);
});
after(() => fs.rmSync(root, { recursive: true, force: true }));

test('the installation of the README works from an empty folder', (t) => {
  const start = Date.now();
  const lines = snippets('sh')[0].trim().split('\n');
  const output = lines.map((line) => run('sh', ['-c', line])).join('');
  assert.match(output, /round trip +with the mock: started, answered, stopped/);
  assert.equal(runSnippet(snippets('js')[0], 'first.cjs'), "[ 'Ada' ]\n");
  const projectReadme = fs.readFileSync(path.join(packageFolder, '../README.md'), 'utf8');
  assert.ok(
    projectReadme.includes(`\`\`\`js\n${snippets('js')[0]}\`\`\``),
    'README.md shows other lines',
  );
  t.diagnostic(`${lines.length} lines and a program, ${Date.now() - start} ms`);
  installed = path.join(app, 'node_modules/zelectronframework');
  const { dependencies, scripts } = JSON.parse(
    fs.readFileSync(path.join(installed, 'package.json')),
  );
  assert.equal(run('npx', ['zelectronframework', '--version']), `${version}\n`);
  assert.equal(dependencies, undefined);
  for (const script of ['preinstall', 'install', 'postinstall', 'prepare']) {
    assert.equal(scripts[script], undefined);
  }
});

test('the package holds what it should and nothing else', () => {
  const files = (folder) => fs.readdirSync(path.join(installed, folder)).sort();
  assert.deepEqual(
    files('.').filter((name) => /\./.test(name)),
    ['README.md', 'index.cjs', 'index.d.cts', 'index.d.mts', 'index.mjs', 'package.json'],
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

test('the programs of the README run', () => {
  const [calls, messages] = snippets('mjs').map((text, index) => runSnippet(text, `${index}.mjs`));
  assert.equal(calls, 'ZEF_REPLY_FAIL account not found\ntrue 0 ok\n');
  assert.equal(messages, 'ready\ngetMeetingStatus\n');
});

test('the Electron snippets of the README work together', () => {
  const [main] = snippets('js electron-main');
  const [preload] = snippets('js electron-preload');
  const [page] = snippets('js electron-page');
  fs.writeFileSync(path.join(app, 'main.js'), main);
  fs.writeFileSync(path.join(app, 'preload.js'), preload);
  const fake = path.join(__dirname, 'fixtures/electron.cjs');
  const program = `
    const electron = require(${JSON.stringify(fake)});
    electron.install();
    require('./main.js');
    const wait = setInterval(async () => {
      if (!electron.bridge.framework) return;
      clearInterval(wait);
      global.window = { framework: electron.bridge.framework };
      const heard = new Promise((resolve) => electron.ipcRenderer.once('framework:event', resolve));
      ${page}
      console.log(await signIn(), (await window.framework.call('utils.getLogPath')).error.code);
      await heard; // on another thread than the answer, so in either order
      process.exit();
    }, 5);`;
  assert.deepEqual(runSnippet(program, 'together.cjs').trim().split('\n').sort(), [
    'Ada NOT_ALLOWED',
    'account.accountListInfoChanged',
  ]);
});

test('an archived application finds the libraries with either unpacking rule', async () => {
  const asar = require('@electron/asar');
  fs.writeFileSync(path.join(root, 'forge.config.js'), snippets('js forge')[0]);
  const rules = [
    require(path.join(root, 'forge.config.js')).packagerConfig.asar.unpack,
    ...JSON.parse(snippets('json electron-builder')[0]).build.asarUnpack,
  ];
  const source = path.join(root, 'source');
  fs.cpSync(installed, path.join(source, 'node_modules/zelectronframework'), { recursive: true });
  fs.writeFileSync(path.join(source, 'start.js'), snippets('js')[0]);
  for (const [index, unpack] of rules.entries()) {
    const archive = path.join(root, `packed${index}.asar`);
    await asar.createPackageWithOptions(source, archive, { unpack });
    // Electron reads in the archive; a folder of that name, without the binaries, does it here.
    const folder = path.join(root, String(index));
    asar.extractAll(archive, path.join(folder, 'app.asar'));
    for (const binaries of ['prebuilds', 'mock']) {
      fs.rmSync(path.join(folder, 'app.asar/node_modules/zelectronframework', binaries), {
        recursive: true,
      });
    }
    fs.renameSync(`${archive}.unpacked`, path.join(folder, 'app.asar.unpacked'));
    assert.equal(run(process.execPath, ['app.asar/start.js'], folder), "[ 'Ada' ]\n");
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
  fs.writeFileSync(path.join(root, 'release.config.js'), snippets('js release-forge')[0]);
  const { ignore } = require(path.join(root, 'release.config.js')).packagerConfig;
  const [, pattern] = JSON.parse(snippets('json release-builder')[0]).build.files;
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
  const isWhole = process.arch === 'x64';
  if (isWhole) assert.equal(run(process.execPath, ['-e', program], folder), 'ZEF_MOCK_MISSING 2\n');
});

test('where the package cannot be installed an application can', () => {
  const folder = path.join(root, 'colleague');
  fs.mkdirSync(folder);
  fs.writeFileSync(path.join(folder, 'package.json'), snippets('json colleagues')[0]);
  fs.cpSync(path.join(app, tarball), path.join(folder, tarball));
  fs.writeFileSync(path.join(folder, 'start.js'), snippets('js colleagues')[0]);
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
    snippets('js')[0].replace(
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

test('the README explains every error code, and the code knows every one of them', () => {
  const codes = (text) => new Set(text.match(/ZEF_[A-Z_]+/g));
  const source = fs
    .readdirSync(path.join(packageFolder, 'lib'))
    .map((name) => fs.readFileSync(path.join(packageFolder, 'lib', name), 'utf8'))
    .join('');
  const typings = fs.readFileSync(path.join(packageFolder, 'index.d.cts'), 'utf8');
  assert.deepEqual([...codes(source)].sort(), [...codes(typings)].sort());
  assert.deepEqual([...codes(readme)].sort(), [...codes(typings)].sort());
});

test('right uses of the typings compile and wrong ones do not', () => {
  const tsc = require.resolve('typescript/bin/tsc');
  execFileSync(process.execPath, [tsc, '-p', path.join(__dirname, 'types')], { stdio: 'inherit' });
});
