// What of the interface is secret, for programs that show or keep calls: node/lib/secrets.json.

/** Names of the marked values in a schema, at any depth. */
function marked(node, schemas, found = new Set()) {
  if (Array.isArray(node)) for (const entry of node) marked(entry, schemas, found);
  if (node === null || typeof node !== 'object' || Array.isArray(node)) return found;
  const reference = /^#\/components\/schemas\/(\w+)$/.exec(node.$ref ?? '')?.[1];
  if (reference) marked(schemas[reference], schemas, found);
  for (const [name, value] of Object.entries(node)) {
    if (value?.['x-secret']) found.add(name);
    marked(value, schemas, found);
  }
  return found;
}

/** Names of the values that are described, at any depth. */
function described(node, found = new Set()) {
  if (node === null || typeof node !== 'object') return found;
  for (const [name, value] of Object.entries(node)) {
    if (name === 'properties') for (const key of Object.keys(value)) found.add(key);
    described(value, found);
  }
  return found;
}

/** For each method the names of secret parameters and of secret values in its data. */
function secretsOf(method, schemas) {
  const secret = method.params.filter(({ schema }) => schema['x-secret']);
  const named = (params) => params.map(({ name }) => name);
  const lists = {
    params: named(secret.filter(({ schema }) => schema.type !== 'object')),
    whole: named(secret.filter(({ schema }) => schema.type === 'object')),
    // Passed on to the account library as they are: whatever else the caller adds may be secret too.
    described: method['x-passedOn'] ? named(method.params) : [],
    data: [...marked(method.result, schemas)],
  };
  const entry = Object.fromEntries(Object.entries(lists).filter(([, names]) => names.length > 0));
  return method['x-writtenByAccountLibrary'] ? { ...entry, isOpen: true } : entry;
}

/** `harmless` are the names that are described, and nowhere as secret. */
export function secretsTable(document) {
  const { schemas } = document.components;
  const methods = document.methods.map((method) => [method.name, secretsOf(method, schemas)]);
  const tasks = document['x-tasks'].map(({ name, message }) => [
    name,
    described(message).size > 0 ? [...marked(message, schemas)] : null, // null: all of it
  ]);
  const params = document.methods.flatMap((method) => method.params);
  const all = described([schemas, document.methods]);
  for (const { name } of params) all.add(name);
  const secret = marked([schemas, document.methods, document['x-tasks']], schemas);
  for (const { name, schema } of params) if (schema['x-secret']) secret.add(name);
  return {
    harmless: [...all].filter((name) => !secret.has(name)).sort(),
    methods: Object.fromEntries(methods.filter(([, entry]) => Object.keys(entry).length > 0)),
    tasks: Object.fromEntries(tasks),
    settings: [...marked(document['x-settings'], schemas)],
  };
}
