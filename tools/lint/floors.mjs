// node tools/lint/floors.mjs [--test]: prints each include of src/ and include/ that does not lead to
// its own floor or one below it, and fails when there is one. --test: finds planted ones.
import {
  cpSync,
  existsSync,
  mkdirSync,
  mkdtempSync,
  readdirSync,
  readFileSync,
  rmSync,
  statSync,
  writeFileSync,
} from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, extname, join, normalize } from 'node:path';

// From the roof down; see docs/ARCHITECTURE.md. Each folder is named, those within others too.
const floors = [
  ['src/framework'],
  ['src/meeting', 'src/services', 'src/log/utils'],
  ['src/account'],
  ['src/dispatch'],
  ['include/zelectronframework'],
  ['src/base'],
  ['src/log'],
  ['src/json'],
];
const others = ['src/CMakeLists.txt', 'src/framework/exports.map'];

const floorOf = (file) => floors.findIndex((folders) => folders.includes(dirname(file)));
const isFile = (path) => existsSync(path) && statSync(path).isFile();

/** Where the compiler finds it; undefined for a header of the system. */
function resolved(root, file, name) {
  const folders = [dirname(file), 'src', 'include'];
  const found = folders.map((folder) => normalize(join(folder, name)));
  return found.find((path) => isFile(join(root, path)));
}

/** What is wrong with a directive, if anything. */
function fault(root, file, directive) {
  const [, mark, name] = /^\s*#\s*include\s*(["<])([^">]+)[">]/.exec(directive) ?? [];
  if (!name) return 'names no file in quotes or angles';
  const target = resolved(root, file, name);
  if (!target) return mark === '"' ? 'leads nowhere' : undefined;
  if (file.startsWith('include/')) return 'a public header includes nothing of ours';
  if (floorOf(target) < 0) return 'leads to a folder without a floor';
  if (extname(target) !== '.h') return 'includes what is no header';
  if (floorOf(target) < floorOf(file)) return 'leads up';
  return floorOf(target) === floorOf(file) && dirname(target) !== dirname(file)
    ? 'leads to a neighbour'
    : undefined;
}

function faultsOf(root, file) {
  if (others.includes(file)) return [];
  if (floorOf(file) < 0) return [`${file}: its folder has no floor`];
  if (!['.h', '.cpp'].includes(extname(file))) return [`${file}: unknown kind of file`];
  const text = readFileSync(join(root, file), 'utf8').replaceAll('\\\n', ' ');
  return text.split('\n').flatMap((line) => {
    if (!/(#|%:|\?\?=).*\b(include|include_next|import|__has_include)\b/.test(line)) return [];
    const wrong = fault(root, file, line);
    return wrong ? [`${file}: ${wrong}: ${line.trim()}`] : [];
  });
}

function check(root) {
  const files = ['src', 'include'].flatMap((folder) =>
    readdirSync(join(root, folder), { recursive: true }).map((name) => join(folder, name)),
  );
  return files.filter((file) => isFile(join(root, file))).flatMap((file) => faultsOf(root, file));
}

/** What each planted file holds, all of it wrong. */
const plants = {
  'src/log/quoted.h': '#include "dispatch/reply.h"',
  'src/json/angles.h': '#include <log/logline.h>',
  'src/json/blanks.h': '\t#\tinclude\t"log/logline.h"',
  'src/json/close.h': '#include"log/logline.h"',
  'src/json/continued.h': '#include \\\n"log/logline.h"',
  'src/json/digraph.h': '%:include "log/logline.h"',
  'src/json/comment.h': '/**/ #include "log/logline.h"',
  'src/json/above.h': '#include "../log/logline.h"',
  'src/json/around.h': '#include "json/../dispatch/reply.h"',
  'src/json/public.h': '#include <zelectronframework/zelectronframework.h>',
  'src/json/asked.h': '#if __has_include("log/logline.h")\n#endif',
  'src/json/macro.h': '#define FILE "log/logline.h"\n#include FILE',
  'src/json/part.h': '#include "json/part.inl"',
  'src/json/part.inl': '',
  'src/json/source.h': '#include "json/jsonreader.cpp"',
  'src/json/nowhere.h': '#include "missing.h"',
  'src/json/standin.h': '#include "../../standins/account/control.h"',
  'src/services/neighbour.h': '#include "meeting/officemessages.h"',
  'src/framework/rootless.h': '#include "root.h"',
  'src/framework/inner.h': '#include "log/inner/inner.h"',
  'src/root.h': '',
  'src/log/inner/inner.h': '#include "json/utf8.h"',
  'include/zelectronframework/inner.h': '#include "json/utf8.h"',
  'include/root.h': '',
};

function test() {
  const root = mkdtempSync(join(tmpdir(), 'floors-'));
  for (const folder of ['src', 'include']) cpSync(folder, join(root, folder), { recursive: true });
  mkdirSync(join(root, 'standins/account'), { recursive: true });
  cpSync('standins/account/control.h', join(root, 'standins/account/control.h'));
  for (const [file, text] of Object.entries(plants)) {
    mkdirSync(dirname(join(root, file)), { recursive: true });
    writeFileSync(join(root, file), `${text}\n`);
  }
  const found = check(root).map((line) => line.slice(0, line.indexOf(':')));
  rmSync(root, { recursive: true });
  return [
    ...Object.keys(plants)
      .filter((file) => !found.includes(file))
      .map((file) => `not found: ${file}`),
    ...found.filter((file) => !(file in plants)).map((file) => `not planted: ${file}`),
  ];
}

const problems = process.argv[2] === '--test' ? test() : check('.');
for (const problem of problems) console.error(problem);
process.exit(problems.length > 0 ? 1 : 0);
