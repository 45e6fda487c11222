'use strict';

// An application that has the package as users get it: packed and installed into an empty folder.

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const packageFolder = path.join(__dirname, '..');
const root = fs.mkdtempSync(path.join(os.tmpdir(), 'zelectronframework-package-'));
const app = path.join(root, 'app');
const installed = path.join(app, 'node_modules/zelectronframework');

const environment = { ...process.env, XDG_STATE_HOME: root };
for (const name of Object.keys(environment)) {
  if (/^(npm_|NODE_TEST_CONTEXT|ELECTRON)/i.test(name)) delete environment[name];
}

/** Runs a program and gives what it prints. */
const run = (command, args, folder = app) =>
  execFileSync(command, args, {
    cwd: folder,
    env: environment,
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'pipe'],
  });

/** Writes a program of the application and runs it. */
function runProgram(text, name) {
  fs.writeFileSync(path.join(app, name), text);
  return run(process.execPath, [name]);
}

/** Packs and installs as the README says. @returns what that printed. */
function install() {
  fs.mkdirSync(app);
  run('npm', ['pack', '--ignore-scripts', '--pack-destination', app], packageFolder);
  const [{ code }] = snippets('sh install');
  return run('sh', ['-e', '-c', code]);
}

/** One fenced block of a page: what its first line says, its text, and the text block behind it. */
function snippetsOf(page) {
  const text = fs.readFileSync(path.join(packageFolder, page), 'utf8');
  const blocks = [...text.matchAll(/^```(.*)\n([\s\S]*?)^```$/gm)].map(([, kind, code]) => ({
    page,
    kind,
    code,
  }));
  blocks.forEach((block, index) => {
    const next = blocks[index + 1];
    if (next && ['text', 'json'].includes(next.kind)) block.output = next.code;
  });
  return blocks.filter(({ kind }) => !['text', 'json'].includes(kind));
}

const pages = [
  'README.md',
  ...fs
    .readdirSync(path.join(packageFolder, 'docs'))
    .filter((name) => name.endsWith('.md'))
    .map((name) => `docs/${name}`),
];

/** @returns the snippets of one kind of all pages, for example 'js electron-main'. */
const snippets = (kind) => pages.flatMap(snippetsOf).filter((snippet) => snippet.kind === kind);

process.on('exit', () => fs.rmSync(root, { recursive: true, force: true }));

module.exports = {
  app,
  environment,
  install,
  installed,
  packageFolder,
  pages,
  root,
  run,
  runProgram,
  snippets,
  snippetsOf,
};
