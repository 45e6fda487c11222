// node tools/lint/openrpc.mjs FILE: fails where the file is no OpenRPC document, where an example does
// not fit the schemas of its method, and where docs/MODULES.md does not explain a key of our own.
import { readFileSync } from 'node:fs';
import jsonSchema from '@json-schema-tools/meta-schema';
import openRpcSchema from '@open-rpc/meta-schema';
import Ajv from 'ajv';
import addFormats from 'ajv-formats';

const text = readFileSync(process.argv[2], 'utf8');
const document = JSON.parse(text);
const problems = [];

/** Only what is described may be there, unless the schema says otherwise. */
function closed(node) {
  if (Array.isArray(node)) return node.map(closed);
  if (node === null || typeof node !== 'object') return node;
  const copy = Object.fromEntries(Object.entries(node).map(([key, part]) => [key, closed(part)]));
  return node.type === 'object' && node.properties
    ? { additionalProperties: false, ...copy }
    : copy;
}

const examples = new Ajv({ strict: false, allErrors: true });
const schemas = closed(document.components);
examples.addSchema({ $id: 'document', components: schemas });
const local = (schema) =>
  JSON.parse(JSON.stringify(closed(schema)).replaceAll('"#/components/', '"document#/components/'));

/** The schema that a value has to fit, where another is referred to or several are allowed. */
function chosen(schema, value) {
  const [, name] = /^#\/components\/schemas\/(\w+)$/.exec(schema.$ref ?? '') ?? [];
  if (name) return document.components.schemas[name];
  return schema.oneOf?.find((each) => examples.validate(local(each), value)) ?? schema;
}

function parsed(text) {
  try {
    return JSON.parse(text);
  } catch {
    return undefined; // "…" may stand for any part of it
  }
}

/** A value of an example, and the JSON texts in it: what differs each time has to be marked. */
function check(what, schema, value) {
  if (!examples.validate(local(schema), value)) {
    problems.push(
      ...examples.errors.map((error) => `${what}${error.instancePath}: ${error.message}`),
    );
  }
  checkParts(what, schema, value, false);
}

function checkParts(what, given, value, isMarked) {
  const schema = chosen(given, value);
  const varies = isMarked || given['x-varies'] || schema['x-varies'];
  if (Array.isArray(value)) {
    for (const item of value) checkParts(what, schema.items ?? {}, item, varies);
  } else if (value !== null && typeof value === 'object') {
    for (const [name, part] of Object.entries(value))
      checkParts(`${what} ${name}`, schema.properties?.[name] ?? {}, part, varies);
  } else if (schema.contentSchema && parsed(value)) {
    check(what, { ...schema.contentSchema, 'x-varies': varies }, parsed(value));
  } else if (String(value).includes('…') && !varies) {
    problems.push(`${what}: differs each time, but has no "x-varies"`);
  }
}

const ajv = addFormats(new Ajv({ strict: false, allErrors: true }));
const { $schema: ofJson, ...json } = jsonSchema.default ?? jsonSchema;
const { $schema: ofOpenRpc, ...raw } = openRpcSchema.default ?? openRpcSchema;
// It refers to the schema of schemas by two spellings of one name.
const openRpc = JSON.parse(
  JSON.stringify(raw).replaceAll('"https://meta.json-schema.tools"', `"${json.$id}"`),
);
ajv.addSchema(json);
if (!ajv.validate(openRpc, document)) {
  problems.push(...ajv.errors.map((error) => `${error.instancePath}: ${error.message}`));
}

for (const {
  name: method,
  params,
  result,
  examples: [example],
  ...rest
} of document.methods) {
  const given = new Map(example.params.map(({ name, value }) => [name, value]));
  for (const { name, required, schema } of params) {
    if (given.has(name)) check(`${method} ${name}`, schema, given.get(name));
    else if (required) problems.push(`${method}: the example lacks ${name}`);
    if ('default' in schema) check(`${method} default of ${name}`, schema, schema.default);
    given.delete(name);
  }
  if (!rest['x-additionalParams'])
    for (const name of given.keys()) problems.push(`${method}: ${name} is not described`);
  check(`${method} data`, result.schema, example.result.value);
}
for (const { name, message, examples: all } of document['x-tasks']) {
  for (const example of all) check(name, message, example.message);
}

const explained = readFileSync('docs/MODULES.md', 'utf8');
for (const key of new Set(text.match(/(?<=")x-\w+(?=":)/g))) {
  if (!explained.includes(`\`${key}\``))
    problems.push(`${key}: docs/MODULES.md does not explain it`);
}

for (const problem of problems) console.error(problem);
process.exit(problems.length > 0 ? 1 : 0);
