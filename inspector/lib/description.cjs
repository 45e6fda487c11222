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

const secretsIn = (schema) => marked(schema, 'x-secret').map(lastName);

/** Names of values that are secret wherever they occur. The mock's state has them too. */
const secretNames = new Set(['setCookie']);
for (const { params } of description.methods) {
  for (const { name, schema } of params) {
    for (const secret of secretsIn(schema)) secretNames.add(secret || name);
  }
}
for (const { message } of description['x-tasks']) {
  for (const secret of secretsIn(message)) secretNames.add(secret);
}

/** Names of values that are secret in the reply of a method; in other texts they may be anything. */
const replySecrets = new Map(
  description.methods.map(({ name, result }) => [
    name,
    new Set([...secretNames, ...secretsIn(result.schema)]),
  ]),
);
const allReplySecrets = new Set([...replySecrets.values()].flatMap((names) => [...names]));

// A rule says by the name of a member whether it is secret: true, false, or the rule for what is below
// it. `isTop` says whether it is a member of the whole.
const everything = () => true;

const rules = {
  /** What a method is given. Nobody knows all of what is passed on to other libraries. */
  params(method) {
    const known = methods.get(method);
    if (known && !known['x-passedOn']) return (name) => secretNames.has(name);
    const described = new Set(known?.params.map(({ name }) => name));
    return (name, isTop) => secretNames.has(name) || (isTop && !described.has(name) && everything);
  },
  reply(method) {
    const names = replySecrets.get(method);
    return names
      ? (name) => names.has(name)
      : (name, isTop) => isTop && name === 'data' && everything;
  },
  /** The reply of some method. */
  anyReply: (name) => allReplySecrets.has(name),
  /** Settings, task messages, and the state of the mock with what that was told to answer. */
  other: (name) => (name === 'script' ? rules.script : secretNames.has(name)),
  script: (name) => (/^sign(PopToken|LoginData)$/.test(name) ? rules.signed : rules.anyReply(name)),
  signed: (name) => name === 'text' || rules.anyReply(name),
};

/** Whether texts of a method have to be searched for secrets. */
function isSecretive(name) {
  const method = methods.get(name);
  if (!method || method['x-passedOn'] || secretsIn(method.result.schema).length > 0) return true;
  return method.params.some(({ schema }) => secretsIn(schema).length > 0);
}
const open = new Set([...methods.keys()].filter((name) => !isSecretive(name)));

/** What the interface itself says: never looked for as a secret, since it stands everywhere. */
const words = new Set(['true', 'false', 'null', 'undefined', 'success']);
(function collect(value, key) {
  if (typeof value === 'string' && /^(message|const|enum|default|name)$/.test(key))
    words.add(value);
  if (typeof value !== 'object' || value === null) return;
  for (const [name, member] of Object.entries(value)) {
    const isNamed = !Array.isArray(value);
    if (isNamed) words.add(name);
    collect(member, isNamed ? name : key);
  }
})({ ...description, 'x-exampleStandin': undefined });

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
  rules,
  words,
  isSecretive: (name) => !open.has(name),
  varying,
  eventNames: description['x-events'].map(({ name }) => name),
  taskNames: description['x-tasks'].map(({ name }) => name),
};
