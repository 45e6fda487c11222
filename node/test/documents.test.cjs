'use strict';

// Every snippet of the README and of docs/ is run: one row for each kind of snippet.

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { before, test } = require('node:test');
const {
  app,
  install,
  installed,
  pages,
  root,
  run,
  runProgram,
  snippets,
  snippetsOf,
} = require('./application.cjs');

const own = path.join(__dirname, '../node_modules');
const tool = (file, ...args) => run(process.execPath, [path.join(own, file), ...args]);
/** A command that begins with npx. */
const runTool = (code) => {
  const [, name, ...args] = code.trim().split(' ');
  return run(path.join(own, '.bin', name), args);
};
const write = (name, text) => {
  fs.mkdirSync(path.dirname(path.join(app, name)), { recursive: true });
  fs.writeFileSync(path.join(app, name), text);
};
const load = (name, { code }) => {
  write(name, code);
  return require(path.join(app, name));
};
const first = () => snippets('js').find(({ page }) => page === 'README.md').code;

/** Whether text is as printed, where "…" stands for anything. */
function assertPrinted(text, { output = '', page }) {
  assert.equal(text, output, page);
}

/** The snippet in a function, with a framework that runs with the settings of docs/mock.md. */
const inFunction = (body) => `
  const { ElectronFramework, mock } = require('zelectronframework');
  const app = { appName: 'demo', productName: 'demo', version: '1.0.0', localStoragePath: '/var/tmp/demo' };
  const standin = ${snippets('json standin')[0].code};
  const each = async (body) => {
    const framework = await new ElectronFramework({ mock: true }).init({ app, standin });
    await body(framework);
    await new Promise((resolve) => setTimeout(resolve, 50));
    await framework.close();
  };
  (async () => { ${body} })();`;

function runStarted(snippet) {
  const text = inFunction(`await each(async (framework) => { ${snippet.code} });`);
  assertPrinted(runProgram(text, 'started.cjs'), snippet);
}

/** Where "…" is expected any value is right, and any text in the place of one inside a text. */
function assertLike(actual, expected, where) {
  if (expected === '…') return;
  if (typeof expected === 'string' && expected.includes('…')) {
    const parts = expected.split('…').map((part) => part.replace(/[^\w]/g, '\\$&'));
    assert.match(actual, new RegExp(`^${parts.join('.*')}$`), where);
  } else if (expected !== null && typeof expected === 'object' && expected[0] !== '…') {
    assert.deepEqual(Object.keys(actual).sort(), Object.keys(expected).sort(), where);
    for (const key of Object.keys(expected)) assertLike(actual[key], expected[key], where);
  } else if (expected?.[0] !== '…') {
    assert.deepEqual(actual, expected, where);
  }
}

function runMethods(methods) {
  const calls = methods.map(
    ({ code }) => `await each(async (framework) => {
    console.log(JSON.stringify((${code}) ?? null));
  });`,
  );
  const lines = runProgram(inFunction(calls.join('')), 'methods.cjs')
    .trim()
    .split('\n');
  methods.forEach(({ code, output = 'null' }, index) => {
    assertLike(JSON.parse(lines[index]), JSON.parse(output), code);
  });
}

function checkTypes(all) {
  const files = all.map(({ code }, index) => {
    write(`snippet${index}.mts`, code);
    return `snippet${index}.mts`;
  });
  const types = ['--types', 'node', '--typeRoots', path.join(own, '@types')];
  const options = ['--noEmit', '--strict', '--module', 'nodenext', ...types];
  run(process.execPath, [path.join(own, 'typescript/bin/tsc'), ...options, ...files]);
}

const fake = path.join(__dirname, 'fixtures/electron.cjs');
const inElectron = `const electron = require(${JSON.stringify(fake)});\nelectron.install();\n`;

/** Main process and page in one process with a stand-in of Electron's modules. */
function runElectron() {
  const [main] = snippets('js electron-main');
  const [page] = snippets('js electron-page');
  const [quit] = snippets('js electron-quit');
  write('main.js', `${main.code}\n{ ${quit.code} }`);
  const program = `${inElectron}
    const said = new Set();
    const { log } = console;
    console.log = (...words) => {
      said.add(words.join(' '));
      if (said.size === 2) electron.app.once('quit', () => process.exit()).quit();
    };
    process.on('exit', () => log([...said].sort().join('\\n')));
    setTimeout(() => {}, 10000); // as a window would, until both were said
    Object.defineProperty(electron.bridge, 'framework', { set(framework) { ${page.code} } });
    require('./main.js');`;
  assert.equal(runProgram(program, 'together.cjs'), 'changed accounts\nsigned in Ada\n');
}

/** Electron reads in the archive; a folder of that name, without what is left out, does it here. */
async function runArchived(unpack, name) {
  const asar = require('@electron/asar');
  const archive = path.join(root, `${name}.asar`);
  const source = path.join(root, `${name}-source`);
  fs.cpSync(installed, path.join(source, 'node_modules/zelectronframework'), { recursive: true });
  fs.writeFileSync(path.join(source, 'start.js'), first());
  await asar.createPackageWithOptions(source, archive, { unpack });
  const folder = path.join(root, name);
  asar.extractAll(archive, path.join(folder, 'app.asar'));
  for (const binaries of ['prebuilds', 'mock']) {
    const inside = path.join(folder, 'app.asar/node_modules/zelectronframework', binaries);
    fs.rmSync(inside, { recursive: true, force: true });
  }
  fs.renameSync(`${archive}.unpacked`, path.join(folder, 'app.asar.unpacked'));
  return run(process.execPath, ['app.asar/start.js'], folder);
}

/** Names the Debian packages of Qt that this machine's loader takes. */
function assertDepends(depends) {
  const library = fs
    .readdirSync(path.join(installed, 'prebuilds'))
    .find((name) => name.endsWith(process.arch));
  const needed = run('ldd', [
    path.join(installed, 'prebuilds', library, 'libzelectronframework.so'),
  ]);
  const qt = [...needed.matchAll(/(libQt5\w+\.so\.5) =>/g)].map((match) => match[1]);
  assert.ok(qt.length >= 2);
  for (const file of qt) {
    const name = run('dpkg-query', ['-S', `*/${file}`]).split(':')[0];
    assert.ok(
      depends.some((text) => text.split(' | ').includes(name)),
      name,
    );
  }
}

/** Builds main.js, which is the README's first program, with a bundler and runs what it made. */
function runBundled(build, output) {
  const preload = "require('zelectronframework/electron-main').preloadFile";
  write('main.js', `${first()}\nconsole.log(require('node:fs').existsSync(${preload}));`);
  build();
  assert.equal(run(process.execPath, [output]), "true\n[ 'Ada' ]\n");
  assert.ok(fs.statSync(path.join(app, output)).size < 10000, 'the package is in the bundle');
}

const runners = {
  // installed before all others
  'sh install': () => {},
  'sh doctor': ([{ code }]) =>
    assert.match(run('sh', ['-c', code]), /round trip +with the mock: started/),
  'sh electron-doctor': ([{ code }]) => {
    const [, , file, command] = code.trim().split(' ');
    const { stdout, status } = spawnSync(process.execPath, [file, command], { cwd: app });
    assert.match(String(stdout), /^round trip +with the mock: started/m);
    assert.equal(status, 1); // the closed libraries are not there
  },
  'js doctor': ([{ code }]) =>
    assert.match(runProgram(code, 'program.cjs'), /^ZEF_ACCOUNT_LIBRARY_MISSING/m),
  'ts signature': () => {}, // out of the typings
  js: (all) =>
    all.map((snippet) => assertPrinted(runProgram(snippet.code, 'program.cjs'), snippet)),
  mjs: (all) =>
    all.map((snippet) => assertPrinted(runProgram(snippet.code, 'program.mjs'), snippet)),
  ts: checkTypes,
  mermaid: () => {}, // a picture
  'json standin': () => {}, // what the next two run with
  'js started': (all) => all.map(runStarted),
  'js method': runMethods,
  'js electron-main': runElectron,
  'js electron-page': () => {}, // with the main process
  'js electron-quit': () => {},
  'js electron-session': ([{ code }]) => {
    write('session.js', code);
    const program = `${inElectron}require('./session.js');
      setTimeout(() => console.log(Object.keys(electron.bridge.framework).join()), 5);`;
    assert.equal(runProgram(program, 'withsession.cjs'), 'ask,cancel,on\n');
  },
  'sh electron-bundle': ([{ code }]) => {
    write('preload.js', "require('zelectronframework/electron-preload');");
    runTool(code);
    const program = `${inElectron}electron.runPreload('dist/preload.js');
      console.log(Object.keys(electron.bridge.framework).join());`;
    assert.equal(runProgram(program, 'withpreload.cjs'), 'ask,cancel,on\n');
  },
  'json electron-builder': async ([{ code }]) => {
    const [unpack] = JSON.parse(code).build.asarUnpack;
    assert.equal(await runArchived(unpack, 'builder'), "[ 'Ada' ]\n");
  },
  'json release-builder': () => {}, // these four in package.test.cjs
  'js release-forge': () => {},
  'json colleagues': () => {},
  'js colleagues': () => {},
  'js forge': async ([snippet]) => {
    const { unpack } = load('forge.config.js', snippet).packagerConfig.asar;
    assert.equal(await runArchived(unpack, 'forge'), "[ 'Ada' ]\n");
  },
  'json electron-builder-deb': ([{ code }]) =>
    assertDepends(JSON.parse(code).build.deb.fpm.map((option) => option.replace('--depends=', ''))),
  'js forge-deb': ([snippet]) =>
    assertDepends(load('forge.deb.js', snippet).makers[0].config.options.depends),
  'sh appimage': ([{ code }]) => {
    const folder = path.join(root, 'appimage');
    fs.cpSync(app, folder, { recursive: true });
    run('sh', ['-e', '-c', code.replaceAll('linux-x64', `linux-${process.arch}`)], folder);
    const maps = "console.log(require('node:fs').readFileSync('/proc/self/maps', 'utf8'))";
    fs.writeFileSync(
      path.join(folder, 'maps.cjs'),
      `${first()}\nprocess.on('exit', () => ${maps});`,
    );
    const loaded = run(process.execPath, ['maps.cjs'], folder).match(
      /\/\S*(Qt5|icu|libpcre2-16)\S*/g,
    );
    assert.ok(loaded.length > 0);
    for (const file of loaded) assert.ok(file.startsWith(folder), file);
  },
  'js webpack': ([{ code }]) =>
    runBundled(() => {
      write('webpack.config.js', code);
      const done = '(error, stats) => { if (error || stats.hasErrors()) throw error ?? stats; }';
      run(process.execPath, ['-e', `require('webpack')(require('./webpack.config.js'), ${done})`]);
    }, 'dist/main.js'),
  'mjs vite': ([{ code }]) =>
    runBundled(() => {
      write('vite.config.mjs', code);
      tool('vite/bin/vite.js', 'build');
    }, 'dist/main.js'),
  'sh esbuild': ([{ code }]) => runBundled(() => runTool(code), 'dist/main.js'),
  'js node-test': ([{ code }]) => {
    write('accounts.node.cjs', code);
    assert.match(run(process.execPath, ['--test', 'accounts.node.cjs']), /^.*pass 1$/m);
  },
  'js jest': ([{ code }]) => {
    write('accounts.test.js', code);
    tool('jest/bin/jest.js', '--rootDir', app);
  },
  'mjs vitest': ([{ code }]) => {
    write('accounts.test.mjs', code);
    tool('vitest/vitest.mjs', 'run', 'accounts.test.mjs');
  },
};

before(() => {
  assert.match(install(), /round trip +with the mock: started, answered, stopped/);
  fs.symlinkSync(own, path.join(root, 'node_modules')); // found from the application
});

for (const [kind, runner] of Object.entries(runners)) {
  test(`snippets: ${kind}`, async () => {
    const found = snippets(kind);
    assert.ok(found.length > 0, 'no page has one any more');
    await runner(found);
  });
}

test("the project's README shows the same first program", () => {
  const text = fs.readFileSync(path.join(__dirname, '../../README.md'), 'utf8');
  assert.ok(text.includes(`\`\`\`js\n${first()}\`\`\``));
});

test('no snippet is left out', () => {
  const kinds = pages.flatMap(snippetsOf).map(({ kind, page }) => `${page}: ${kind}`);
  assert.deepEqual(
    kinds.filter((kind) => !runners[kind.split(': ')[1]]),
    [],
  );
});
