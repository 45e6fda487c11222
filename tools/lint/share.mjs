// node tools/lint/share.mjs FILE...: prints how much of the code is tests, and fails when that is less
// than a quarter or more than a third.
//
// Code are the lines of these files that are neither blank nor comments alone. Tests are the test and
// fuzz programs with what supports them, those of the Node package and of the inspector included; the
// stand-ins, which users run as the mock, and the benchmarks are not.
import { readFileSync } from 'node:fs';

const isTest = (file) => /^(tests|fuzz|node\/test|inspector\/test)\//.test(file);
const isGenerated = (file) => /^node\/lib\/(interface\.d|methods)\.c(ts|js)$/.test(file);

function codeLines(file) {
  const text = readFileSync(file, 'utf8');
  const comments = /\.(sh|txt|cmake)$|^dev$|run$/.test(file)
    ? /^\s*#.*$/gm
    : /^\s*\/\/.*$|^\s*\/\*[\s\S]*?\*\/\s*$|<!--[\s\S]*?-->/gm;
  return text.replaceAll(comments, '').match(/^.*\S.*$/gm)?.length ?? 0;
}

let all = 0;
let tests = 0;
for (const file of process.argv.slice(2).filter((name) => !isGenerated(name))) {
  const lines = codeLines(file);
  all += lines;
  if (isTest(file)) tests += lines;
}
const share = (100 * tests) / all;
console.log(`Tests are ${tests} of ${all} lines of code, ${share.toFixed(1)} %`);
process.exit(share < 25 || share > 33 ? 1 : 0);
