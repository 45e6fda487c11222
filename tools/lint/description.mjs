// node tools/lint/description.mjs: fails where interface/description.json or interface/mock.json has a
// key that does not exist, where a secret may be unmarked, and where a new name is not tested or not
// in the changelog.
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import Ajv from 'ajv';

const json = (name) => JSON.parse(readFileSync(`interface/${name}.json`, 'utf8'));
const description = json('description');
const mock = json('mock');
const problems = [];

const ajv = new Ajv({ allErrors: true, strict: false, schemas: { schema: json('schema') } });
for (const [name, content] of Object.entries({ description, mock })) {
  if (ajv.validate({ $ref: `schema#/definitions/${name}` }, content)) continue;
  for (const { instancePath, message, params } of ajv.errors) {
    problems.push(`${name}.json${instancePath}: ${message} ${params.additionalProperty ?? ''}`);
  }
}

// A value whose name or description sounds like this is secret.
const secret =
  /pass-?word|secret|token|credential|private|signature|verifier|ssid|session id|(rand|random |authorize|access ?)code/i;

function findUnmarked(at, fields) {
  for (const [name, field] of Object.entries(fields)) {
    const words = `${name} ${field.description}`.replaceAll(/"[^"]*"/g, '');
    if (!field['x-secret'] && field.type !== 'object' && secret.test(words))
      problems.push(`${at} ${name}: sounds secret, but has no "x-secret"`);
    visit(`${at} ${name}`, field);
  }
}

function visit(at, node) {
  if (node === null || typeof node !== 'object') return;
  for (const [key, part] of Object.entries(node)) {
    if (['properties', 'params', 'passedOn'].includes(key)) findUnmarked(at, part);
    else if (key !== 'example' && key !== 'examples') visit(`${at} ${key}`, part);
  }
}
visit('description.json', description);

const tests = readdirSync('tests/boundary').map((name) => readFileSync(`tests/boundary/${name}`));
const isTested = (pattern) => new RegExp(pattern).test(tests.join('\n'));
for (const [path, method] of Object.entries(description.methods)) {
  const { operations = [], params = {}, required = [] } = method;
  const [module, name] = path.split('.');
  if (!isTested(`"(${module}\\.)?${name}"`)) problems.push(`${path}: not in tests/boundary`);
  for (const [parameter, field] of Object.entries(params)) {
    if ('default' in field === required.includes(parameter))
      problems.push(`${path} ${parameter}: is either required or has a default`);
  }
  for (const operation of operations) {
    if (!mock.MockOperation.enum.includes(operation))
      problems.push(`${path}: mock.json knows no operation ${operation}`);
  }
}
for (const [type, { examples = [] }] of Object.entries(description.tasks)) {
  if (!isTested(`"${type}"`)) problems.push(`${type}: not in tests/boundary`);
  for (const key of examples.flatMap((example) => Object.keys(example.mock ?? {}))) {
    if (!(key in mock.MockCommand.properties)) problems.push(`${type}: the mock knows no ${key}`);
  }
}

// What the main branch does not have, or has alone, is news for the authors of hosts.
const namesOf = ({ methods, events, tasks }) => Object.keys({ ...methods, ...events, ...tasks });
let before = description;
try {
  const text = execFileSync('git', ['show', 'origin/main:interface/description.json']);
  before = JSON.parse(text);
} catch {} // a copy without its history
const [old, now] = [before, description].map((each) => new Set(namesOf(each)));
const changelog = readFileSync('CHANGELOG.md', 'utf8');
for (const name of [...old, ...now]) {
  if (!(old.has(name) && now.has(name)) && !changelog.includes(name))
    problems.push(`${name}: not in CHANGELOG.md`);
}

for (const problem of problems) console.error(problem);
process.exit(problems.length > 0 ? 1 : 0);
