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

/** For each method with secrets the names of secret parameters and of secret values in its data. */
export function secretsTable(document) {
  const { schemas } = document.components;
  const methods = {};
  for (const method of document.methods) {
    const params = method.params.filter(({ schema }) => schema['x-secret']).map(({ name }) => name);
    const data = [...marked(method.result, schemas)];
    const entry = {};
    if (params.length > 0) entry.params = params;
    // Passed on to the account library as they are: whatever else the caller adds may be secret too.
    if (method['x-passedOn']) entry.described = method.params.map(({ name }) => name);
    if (data.length > 0) entry.data = data;
    if (Object.keys(entry).length > 0) methods[method.name] = entry;
  }
  const tasks = document['x-tasks'].map(({ name, message }) => [
    name,
    [...marked(message, schemas)],
  ]);
  return {
    methods,
    tasks: Object.fromEntries(tasks.filter(([, names]) => names.length > 0)),
    settings: [...marked(document['x-settings'], schemas)],
  };
}
