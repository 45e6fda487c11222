'use strict';

// The description of the interface and the table of its secrets, which the build copies next to the page.
const description = require('../dist/modules.json');
const secrets = require('../dist/secrets.json');

const methods = new Map(description.methods.map((method) => [method.name, method]));

/** @returns every marked part below a schema as its path in a value: "data.cookieList[*].value". */
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

const { harmless, methods: secretive, tasks, settings } = secrets;

const among = (names = []) => {
  const set = new Set(names);
  return (name) => set.has(name);
};
const isHarmless = among(harmless);
const isEnvelope = among(['result', 'msg', 'data', 'taskResult']);

/** Names of values that are secret wherever they occur. The mock's state has them too. */
const isSecret = among([
  ...Object.values(secretive).flatMap(({ params = [] }) => params),
  ...Object.values(tasks).flatMap((names) => names ?? []),
  ...settings,
  'setCookie',
]);

// A rule says by the name of a member whether it is secret: true or false; 'here' if it may be one, but
// is nothing to look for in other texts; or the rule for what is below it. `isTop` says whether it is a
// member of the whole.
const everything = () => true;
const unsure = () => 'here';

/** Texts of others: names that are described, and nowhere as secret, are shown. */
const described = (isMarked) => (name, isTop) => {
  if (isMarked(name)) return true;
  return !isHarmless(name) && !(isTop && isEnvelope(name)) && unsure;
};

const rules = {
  /** The parameters of a method. Those that are passed on to other libraries are not all known. */
  params(method) {
    const its = secretive[method] ?? {};
    const isWhole = among(its.whole);
    const isOpen = its.described !== undefined || !methods.has(method);
    const isDescribed = isOpen ? among(its.described) : () => true;
    return (name, isTop) =>
      isSecret(name) || ((isWhole(name) || (isTop && !isDescribed(name))) && everything);
  },
  /** What a method replies, which the account library may have written. */
  reply(method) {
    const { data, isOpen } = secretive[method] ?? {};
    const isMarked = among(data);
    const isEither = (name) => isSecret(name) || isMarked(name);
    return isOpen || !methods.has(method) ? described(isEither) : isEither;
  },
  /** The reply of some method. */
  anyReply: described(isSecret),
  task: (type) => (tasks[type] ? isSecret : unsure),
  /** Settings, and the state of the mock with what that was told to answer. */
  other(name) {
    if (name === 'collect') return unsure;
    return name === 'script' ? rules.script : isSecret(name);
  },
  script: (name) => (/^sign(PopToken|LoginData)$/.test(name) ? rules.signed : rules.step),
  signed: (name) => name === 'text' || rules.step(name),
  step: (name) => (name === 'reply' ? rules.anyReply : isSecret(name)),
};

/** Whether texts of a method have to be searched for secrets. */
const isSecretive = (name) => !methods.has(name) || name in secretive;

/** Words of the interface itself: never looked for as secrets, because they occur everywhere. */
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
  isSecretive,
  varying,
  eventNames: description['x-events'].map(({ name }) => name),
  taskNames: description['x-tasks'].map(({ name }) => name),
};
