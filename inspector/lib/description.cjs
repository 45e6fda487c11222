'use strict';

// The description of the interface, put beside the page when that is built.
const description = require('../dist/modules.json');

const methods = new Map(description.methods.map((method) => [method.name, method]));

/** \returns every marked part below a schema as its path in a value: "data.cookieList[*].value". */
function marked(schema, mark, path = '', seen = new Set()) {
  if (typeof schema !== 'object' || schema === null || seen.has(schema)) return [];
  const deeper = new Set(seen).add(schema);
  const below = (part, step) => marked(part, mark, path + step, deeper);
  const found = schema[mark] ? [path] : [];
  if (schema.$ref) found.push(...below(resolve(schema.$ref), ''));
  if (schema.contentSchema) found.push(...below(schema.contentSchema, ''));
  if (schema.items) found.push(...below(schema.items, '[*]'));
  for (const part of [...(schema.oneOf ?? []), ...(schema.anyOf ?? [])])
    found.push(...below(part, ''));
  for (const [name, part] of Object.entries(schema.properties ?? {})) {
    found.push(...below(part, path === '' ? name : `.${name}`));
  }
  return [...new Set(found)];
}

function resolve(reference) {
  return reference
    .slice(2)
    .split('/')
    .reduce((at, key) => at?.[key], description);
}

const lastName = (path) => path.replace(/\[\*\]$/, '').replace(/^.*\./, '');

function holdsSecrets(method) {
  return (
    method['x-passedOn'] ||
    method.params.some(({ schema }) => marked(schema, 'x-secret').length > 0) ||
    marked(method.result.schema, 'x-secret').length > 0
  );
}

/** Methods whose texts have to be searched for secrets. */
const secretive = new Set(description.methods.filter(holdsSecrets).map(({ name }) => name));

/** Names of values that are secret in parameters and task messages; the mock's state has them too. */
const secretNames = new Set(['setCookie']);
for (const { params } of description.methods) {
  for (const { name, schema } of params) {
    if (schema['x-secret']) secretNames.add(name);
    for (const path of marked(schema, 'x-secret').filter(Boolean)) secretNames.add(lastName(path));
  }
}
for (const { message } of description['x-tasks']) {
  for (const path of marked(message, 'x-secret')) secretNames.add(lastName(path));
}

/** What differs from run to run, as rules of a recording. */
function varying() {
  const rules = [];
  for (const { name, result } of description.methods) {
    for (const path of marked(result.schema, 'x-varies', 'data')) {
      rules.push({ method: name, path, as: 'text' });
    }
  }
  for (const { name, message } of description['x-tasks']) {
    for (const path of marked(message, 'x-varies', 'message'))
      rules.push({ task: name, path, as: 'any' });
  }
  return rules;
}

module.exports = {
  description,
  methods,
  secretive,
  secretNames,
  varying,
  eventNames: description['x-events'].map(({ name }) => name),
  taskNames: description['x-tasks'].map(({ name }) => name),
};
