// node interface/generate.mjs FACTS [--check]
//
// Joins what the code says of the interface (FACTS, the output of zef_interface) with
// interface/description.json and writes what is made of the two: interface/modules.json, the typings
// and the tables of the Node package, and the marked parts of documents; for one of these it reads the
// package's own typings, node/index.d.cts, as well. interface/mock.json
// describes the mock of that package. With --check it writes nothing and fails where a file is not
// fresh.
import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { apiPages } from './apipage.mjs';
import { modulesPages, readmeParts } from './markdown.mjs';
import { openRpc } from './openrpc.mjs';
import { mockPages, packageMethods } from './packagepages.mjs';
import { secretsTable } from './secrets.mjs';
import { shapes } from './shapes.mjs';
import { methodTable, typings } from './typings.mjs';

const root = join(dirname(fileURLToPath(import.meta.url)), '..');
const read = (name) => readFileSync(join(root, name), 'utf8');

/** Both lists have to name the same things. */
function compare(what, inCode, described) {
  const problems = [
    ...inCode
      .filter((name) => !described.includes(name))
      .map((name) => `${what} ${name}: in the code, not in interface/description.json`),
    ...described
      .filter((name) => !inCode.includes(name))
      .map((name) => `${what} ${name}: in interface/description.json, not in the code`),
  ];
  for (const problem of problems) console.error(problem);
  return problems.length === 0;
}

function checkMethod({ name, threadSafe }, method) {
  const isRight = threadSafe !== 'answer' in method;
  if (!isRight)
    console.error(
      `method ${name}: "answer" says where a method that is not thread-safe answers, and only there`,
    );
  return isRight;
}

/** The names in a table of secrets, with their places. */
function secretNames(node, at = '') {
  if (Array.isArray(node)) return node.map((name) => `${at}${name}`);
  return Object.entries(node ?? { everything: [''] })
    .filter(([key]) => key !== 'described' && key !== 'harmless')
    .flatMap(([key, part]) => secretNames(part, `${at}${key} `));
}

/** A mark that got lost would show secrets. */
function keepsSecrets(secrets) {
  const kept = secretNames(secrets);
  const lost = secretNames(JSON.parse(read('node/lib/secrets.json'))).filter(
    (name) => !kept.includes(name),
  );
  for (const name of lost)
    console.error(`no secret any more: ${name}; if meant, remove it from node/lib/secrets.json`);
  return lost.length === 0;
}

/** Replaces what stands between the markers of each part. */
function withParts(name, parts) {
  let text = read(name);
  for (const [part, content] of Object.entries(parts)) {
    const begin = `<!-- generated from interface/: ${part} -->\n`;
    const end = `<!-- end of ${part} -->\n`;
    const from = text.indexOf(begin);
    const to = text.indexOf(end);
    if (from < 0 || to < from) throw new Error(`${name} has no part "${part}"`);
    text = `${text.slice(0, from + begin.length)}\n${content}\n${text.slice(to)}`;
  }
  return text;
}

const [factsFile, option] = process.argv.slice(2);
const facts = JSON.parse(readFileSync(factsFile, 'utf8'));
const description = JSON.parse(read('interface/description.json'));
const version = /^project\(.* VERSION ([0-9.]+)/m.exec(read('CMakeLists.txt'))[1];

const isComplete =
  [
    compare(
      'method',
      facts.methods.map((method) => method.name),
      Object.keys(description.methods),
    ),
    compare('event', facts.events, Object.keys(description.events)),
    compare('task type', facts.tasks, Object.keys(description.tasks)),
  ].every(Boolean) &&
  facts.methods
    .map((method) => checkMethod(method, description.methods[method.name]))
    .every(Boolean);
if (!isComplete) process.exit(1);

const document = openRpc(facts, description, version);
const secrets = secretsTable(document);
if (!keepsSecrets(secrets)) process.exit(1);
const mock = JSON.parse(read('interface/mock.json'));
mock.MockEvent.enum = facts.events.map((name) => name.split('.')[1]);
const files = {
  'interface/modules.json': `${JSON.stringify(document, null, 2)}\n`,
  'docs/MODULES.md': withParts('docs/MODULES.md', modulesPages(document)),
  'README.md': withParts('README.md', readmeParts(document)),
  'node/docs/methods.md': withParts('node/docs/methods.md', packageMethods(document)),
  'node/docs/api.md': withParts('node/docs/api.md', apiPages(document, read('node/index.d.cts'))),
  'node/docs/mock.md': withParts('node/docs/mock.md', mockPages(document, mock)),
  'node/lib/interface.d.cts': typings(document, mock),
  'node/lib/methods.cjs': methodTable(document),
  'node/lib/shapes.json': `${JSON.stringify(shapes(document, mock))}\n`,
  'node/lib/secrets.json': `${JSON.stringify(secrets, null, 2)}\n`,
};

const stale = Object.keys(files).filter((name) => {
  try {
    return read(name) !== files[name];
  } catch {
    return true;
  }
});
if (option === '--check') {
  for (const name of stale)
    console.error(`${name} is not what the code and the description say: run ./dev generate`);
  process.exit(stale.length > 0 ? 1 : 0);
}
for (const name of stale) {
  writeFileSync(join(root, name), files[name]);
  console.log(`wrote ${name}`);
}
