'use strict';

const assert = require('node:assert/strict');
const { spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, test } = require('node:test');
const { ElectronFramework, diagnose } = require('../index.cjs');
const { explainLoad, highestVersion } = require('../lib/loadfailure.cjs');
const { platform } = require('../lib/native.cjs');
const { settings, scratch, failure, nodeProgram } = require('./support.cjs');

const packageFolder = path.join(__dirname, '..');
const library = path.join(packageFolder, 'prebuilds', platform, 'libzelectronframework.so');
const mock = (name) => path.join(packageFolder, 'mock', platform, name);

/** A copy of a library in which one text, or the processor in its header, is another. */
function altered(name, change, original = library) {
  const bytes = fs.readFileSync(original);
  change(bytes);
  const file = path.join(scratch, name);
  fs.writeFileSync(file, bytes);
  return file;
}

function replaceAll(from, to) {
  assert.equal(from.length, to.length);
  return (bytes) => {
    let found = 0;
    for (let at = bytes.indexOf(from); at >= 0; at = bytes.indexOf(from, at + 1)) {
      bytes.write(to, at, 'latin1');
      found += 1;
    }
    assert.ok(found > 0, `${from} is not in the library`);
  };
}

function cutShort(name, length, original = library) {
  const file = altered(name, () => {}, original);
  fs.truncateSync(file, length);
  return file;
}

const otherMachine = (bytes) => bytes.writeUInt16LE(process.arch === 'x64' ? 183 : 62, 18);
const notAnElf = (bytes) => bytes.fill('text', 0, 64);
const newest = (kind) => highestVersion(library, kind);

const cases = [
  ['is not there', () => path.join(scratch, 'nowhere.so'), 'ZEF_LIBRARY_MISSING', /libraryPath/],
  [
    'is for another processor',
    () => altered('arch.so', otherMachine),
    'ZEF_ARCHITECTURE',
    /linux-/,
  ],
  ['is no library', () => altered('text.so', notAnElf), 'ZEF_BAD_FILE', /libraryPath/],
  ['is a folder', () => scratch, 'ZEF_BAD_FILE', /libraryPath/],
  ['is cut short', () => cutShort('short.so', 60000), 'ZEF_BAD_FILE', /libraryPath/],
  ['is cut off in its head', () => cutShort('head.so', 70), 'ZEF_BAD_FILE', /libraryPath/],
  [
    'needs a newer C library',
    () => altered('glibc.so', replaceAll(newest('GLIBC'), 'GLIBC_9.99')),
    'ZEF_GLIBC',
    /glibc 2\.28/,
  ],
  [
    'needs a newer C++ library',
    () => altered('glibcxx.so', replaceAll(newest('GLIBCXX'), 'GLIBCXX_3.4.99')),
    'ZEF_LIBSTDCXX',
    /GCC 8/,
  ],
  [
    'needs another Qt',
    () => altered('qt.so', replaceAll('Qt_5', 'Qt_9')),
    'ZEF_QT_VERSION',
    /install Qt 5\.10/,
  ],
  [
    'needs a function that its Qt lacks',
    () =>
      altered(
        'qtfunction.so',
        replaceAll('_ZN7QObject5eventEP6QEvent', '_ZN7QObject5evenTEP6QEvent'),
      ),
    'ZEF_QT_VERSION',
    /install Qt 5\.10/,
  ],
  [
    'needs a Qt that is missing',
    () => altered('noqt.so', replaceAll('libQt5Core.so.5', 'libQt5Gone.so.5')),
    'ZEF_QT_MISSING',
    /apt install/,
  ],
  ['is another library', () => mock('libvemolog.so'), 'ZEF_NOT_THE_LIBRARY', /libraryPath/],
];

for (const [what, file, code, remedy] of cases) {
  test(`the library ${what}: ${code}`, async () => {
    const framework = new ElectronFramework({ mock: true, libraryPath: file() });
    await assert.rejects(framework.init(settings()), (error) => {
      assert.equal(error.code, code, error.message);
      assert.match(error.remedy, remedy);
      return true;
    });
  });
}

test("musl's words name the system", () => {
  for (const words of [
    'Error loading shared library ld-linux-x86-64.so.2: No such file or directory (needed by a.node)',
    'Error relocating a.node: __register_atfork: symbol not found',
  ]) {
    const { code, remedy } = explainLoad('framework', library, words);
    assert.equal(code, 'ZEF_PLATFORM');
    assert.match(remedy, /Alpine/);
  }
});

test('the account library is missing, broken, misnamed, named, or replaced by the mock', async () => {
  const init = (options) => new ElectronFramework(options).init(settings());
  const program = `
    const { ElectronFramework } = require(${JSON.stringify(packageFolder)});
    new ElectronFramework().init(${JSON.stringify(settings())}).catch((error) => console.log(error.code));`;
  const { stdout, stderr } = spawnSync(nodeProgram, ['-e', program], { encoding: 'utf8' });
  assert.deepEqual([stdout, stderr], ['ZEF_ACCOUNT_LIBRARY_MISSING\n', '']);
  await assert.rejects(init({}), failure('ZEF_ACCOUNT_LIBRARY_MISSING'));

  // Each wrong file by its own name and with its own remedy; none of them ends the process.
  const nowhere = path.join(scratch, 'nowhere.so');
  const log = mock('libvemolog.so');
  const needy = altered(
    'needy.so',
    replaceAll('libzaccountkeeper.so', 'libzaccountkeepxr.so'),
    mock('libzaccountlite.so'),
  );
  const rows = [
    [{ accountLibrary: nowhere }, 'ZEF_ACCOUNT_LIBRARY_MISSING', /^the account library .*nowhere/],
    [{ accountLibrary: scratch }, 'ZEF_BAD_FILE', /^the account library .* is a folder/],
    [
      { accountLibrary: cutShort('cut.so', 9000, mock('libzaccountlite.so')) },
      'ZEF_BAD_FILE',
      /cut short/,
    ],
    [
      { accountLibrary: altered('libzaccountlite.so', otherMachine) },
      'ZEF_ARCHITECTURE',
      /^the account/,
    ],
    [
      { logLibrary: nowhere, accountLibrary: nowhere },
      'ZEF_LOG_LIBRARY_MISSING',
      /^the log library/,
    ],
    [{ logLibrary: log, accountLibrary: needy }, 'ZEF_DEPENDENCY_MISSING', /^the account .*keepxr/],
  ];
  for (const [options, code, message] of rows) {
    await assert.rejects(init(options), failure(code, { message }));
    const [finding] = diagnose(options).findings.filter((each) => each.code === code);
    assert.match(finding.message, message);
    const option = /^the log/.test(finding.message) ? 'logLibrary' : 'accountLibrary';
    if (code !== 'ZEF_DEPENDENCY_MISSING' && code !== 'ZEF_ARCHITECTURE') {
      assert.match(finding.remedy, new RegExp(option));
    }
    assert.doesNotMatch(finding.remedy, /libraryPath|reinstall/);
  }
  const rename = replaceAll('libzaccountlite.so', 'libzaccountelse.so');
  diagnose({ mock: true }); // loads what the mock itself needs, which the copy does not find
  const misnamed = altered('renamed.so', rename, mock('libzaccountlite.so'));
  await assert.rejects(init({ accountLibrary: misnamed }), (error) => {
    assert.equal(error.code, 'ZEF_LIBRARY_NAME');
    assert.match(error.remedy, /libzaccountlite\.so/);
    return true;
  });
  const accountLibrary = mock('libzaccountlite.so');
  await assert.rejects(init({ mock: true, accountLibrary }), failure('ZEF_BAD_ARGUMENT'));

  const named = await init({ accountLibrary });
  assert.throws(() => named.callSync('utils.getLogPath'), failure('ZEF_REPLY_FAIL'));
  const elsewhere = altered('copy.so', () => {});
  await assert.rejects(init({ mock: true, libraryPath: elsewhere }), failure('ZEF_OTHER_LIBRARY'));
  await named.close();
});

test('a diagnosis finds what is there and names what is not', () => {
  const whole = diagnose({ mock: true });
  assert.deepEqual(whole.findings, []);
  assert.ok(whole.ok);
  assert.equal(whole.framework, library);
  assert.equal(whole.accountLibrary, mock('libzaccountlite.so'));
  assert.match(whole.qt.found, /^5\./);
  const lacking = diagnose();
  assert.deepEqual(
    lacking.findings.map(({ code, severity, remedy }) => [code, severity, typeof remedy]),
    [
      ['ZEF_LOG_LIBRARY_MISSING', 'warning', 'string'],
      ['ZEF_ACCOUNT_LIBRARY_MISSING', 'error', 'string'],
    ],
  );
  assert.equal(lacking.ok, false);
  assert.ok(diagnose({ accountLibrary: mock('libzaccountlite.so') }).ok); // it starts without a log
  for (const options of [null, { moch: true }, new Map()]) {
    assert.equal(diagnose(options).findings[0].code, 'ZEF_BAD_ARGUMENT');
  }
  const broken = diagnose({ mock: true, libraryPath: path.join(scratch, 'nowhere.so') });
  assert.equal(broken.findings[0].code, 'ZEF_LIBRARY_MISSING');
});

test('a process that must not load addons is told so', () => {
  const program = `require(${JSON.stringify(packageFolder)}).doctor({ mock: true })
    .then(({ findings: [{ code, remedy }] }) => console.log(code, remedy))`;
  const { stdout } = spawnSync(nodeProgram, ['--no-addons', '-e', program], { encoding: 'utf8' });
  assert.match(stdout, /^ZEF_ADDONS_DISABLED start it without --no-addons/);
});

after(() => fs.rmSync(scratch, { recursive: true, force: true }));
