// node tools/lint/openrpc.mjs FILE: fails where the file is no OpenRPC document, or where an example
// does not fit the schemas of its method.
import { readFileSync } from 'node:fs';
import jsonSchema from '@json-schema-tools/meta-schema';
import openRpcSchema from '@open-rpc/meta-schema';
import Ajv from 'ajv';
import addFormats from 'ajv-formats';

const document = JSON.parse(readFileSync(process.argv[2], 'utf8'));
const problems = [];

function check(what, schema, value) {
  const ajv = new Ajv({ strict: false, allErrors: true });
  ajv.addSchema({ $id: 'document', components: document.components }, 'document');
  const local = JSON.parse(
    JSON.stringify(schema).replaceAll('"#/components/', '"document#/components/'),
  );
  if (!ajv.validate(local, value)) {
    problems.push(...ajv.errors.map((error) => `${what}${error.instancePath}: ${error.message}`));
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

for (const method of document.methods) {
  const given = new Map(method.examples[0].params.map(({ name, value }) => [name, value]));
  for (const { name, required, schema } of method.params) {
    if (given.has(name)) check(`${method.name} ${name}`, schema, given.get(name));
    else if (required) problems.push(`${method.name}: the example lacks ${name}`);
  }
  const { data } = method.examples[0].result.value;
  if (data !== undefined) check(`${method.name} data`, method.result.schema, data);
}
for (const task of document['x-tasks']) {
  for (const { message } of task.examples) check(task.name, task.message, message);
}

for (const problem of problems) console.error(problem);
process.exit(problems.length > 0 ? 1 : 0);
