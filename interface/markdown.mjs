// The interface as parts of Markdown documents.

export const sentence = (...texts) => texts.filter(Boolean).join(' ');
const cell = (text) => String(text ?? '').replaceAll('|', '\\|');
const row = (...cells) => `| ${cells.map(cell).join(' | ')} |`;

export function table(head, rows) {
  return [
    row(...head),
    `|${head.map(() => '---').join('|')}|`,
    ...rows.map((cells) => row(...cells)),
  ].join('\n');
}

/** Fills lines up to 100 characters. */
export function wrapped(text) {
  const lines = [''];
  for (const word of text.split(' ')) {
    const last = lines[lines.length - 1];
    if (last === '') lines[lines.length - 1] = word;
    else if (last.length + 1 + word.length <= 100) lines[lines.length - 1] = `${last} ${word}`;
    else lines.push(word);
  }
  return lines.join('\n');
}

export function typeName(schema) {
  if ('const' in schema) return `\`${JSON.stringify(schema.const)}\``;
  if (schema.contentMediaType) return 'text (JSON)';
  const names = {
    string: 'text',
    integer: 'number',
    boolean: 'bool',
    object: 'object',
    array: 'list',
    null: 'null',
  };
  return [schema.type]
    .flat()
    .map((type) => names[type])
    .join(' or ');
}

const link = (name, page = '') => `[${name}](${page}#${name.toLowerCase()})`;

/** Where a schema refers to a described type, by itself, in a list or inside a text. */
function typesIn(schema) {
  const found = JSON.stringify(schema).matchAll(/"#\/components\/schemas\/(\w+)"/g);
  return [...new Set([...found].map((match) => match[1]))];
}

function marks(schema) {
  return sentence(schema['x-secret'] && 'Secret.', schema['x-varies'] && 'Differs each time.');
}

function fieldRows(schema) {
  return Object.entries(schema.properties ?? {}).map(([name, field]) => {
    const types = typesIn(field);
    const type = field.$ref
      ? 'object'
      : field.type === 'array' && types.length > 0
        ? 'list of texts (JSON)'
        : typeName(field);
    const refers = types.length > 0 && `See ${types.map((name) => link(name)).join(', ')}.`;
    return [`\`${name}\``, type, sentence(field.description, refers, marks(field))];
  });
}

export function parametersPart(method) {
  if (method['x-additionalParams'])
    return `Parameters: ${method['x-additionalParams'].description}`;
  if (method.params.length === 0) return 'Parameters: none';
  const what = (schema, required) =>
    'default' in schema ? `\`${JSON.stringify(schema.default)}\`` : required ? 'required' : '';
  const parameters = table(
    ['Parameter', 'Type', 'Default', ''],
    method.params.map(({ name, required, schema }) => [
      `\`${name}\``,
      typeName(schema),
      what(schema, required),
      sentence(schema.description, schema['x-secret'] && 'Secret.'),
    ]),
  );
  return method['x-passedOn']
    ? `The parameter object is passed to the account library unchanged. The mock uses these parameters:\n\n${parameters}`
    : parameters;
}

function dataPart(method) {
  const { schema } = method.result;
  const rows = fieldRows(schema);
  const intro = method['x-writtenByAccountLibrary']
    ? 'The account library writes the reply.'
    : schema.description;
  if (schema.type === 'null') return 'Data: none';
  if (rows.length === 0) return intro;
  return sentence(intro) + (intro ? '\n\n' : '') + table(['Data', 'Type', ''], rows);
}

export function errorsPart(method) {
  if (method.errors.length === 0) return 'Failures: none of its own';
  return table(
    ['Failure', 'When'],
    method.errors.map(({ message, data }) => [`"${message}"`, data]),
  );
}

function threadPart(method) {
  if (method['x-threadSafe']) return 'Thread: any; replies before it returns';
  return method['x-answer'] === 'host thread'
    ? 'Thread: host thread; replies there'
    : 'Thread: host thread; replies later, on a library thread';
}

export const json = (value) => JSON.stringify(value, null, 2);

function examplePart(method) {
  const [{ params, result }] = method.examples;
  const given = Object.fromEntries(params.map(({ name, value }) => [name, value]));
  const operation = method['x-threadSafe'] ? 'call' : 'asynCall';
  const reply = { data: result.value ?? undefined, msg: 'success', result: 'ok' };
  return `\`\`\`text\n${operation} ${method.name} ${JSON.stringify(given)}\n\`\`\`\n\n\`\`\`json\n${json(reply)}\n\`\`\``;
}

function methodPage(method) {
  return [
    `### ${method.name}`,
    wrapped(sentence(method.summary, method.description)),
    parametersPart(method),
    dataPart(method),
    errorsPart(method),
    threadPart(method),
    examplePart(method),
  ].join('\n\n');
}

function methodPages(document) {
  const modules = Map.groupBy
    ? Map.groupBy(document.methods, (method) => method.tags[0].name)
    : document.methods.reduce(
        (map, method) =>
          map.set(method.tags[0].name, [...(map.get(method.tags[0].name) ?? []), method]),
        new Map(),
      );
  return [...modules]
    .map(([name, methods]) => [`## ${name}`, ...methods.map(methodPage)].join('\n\n'))
    .join('\n\n');
}

export function typePages(document) {
  return Object.entries(document.components.schemas)
    .map(([name, schema]) =>
      [`### ${name}`, schema.description, table(['Field', 'Type', ''], fieldRows(schema))]
        .filter(Boolean)
        .join('\n\n'),
    )
    .join('\n\n');
}

export function messageRows(schema) {
  return (schema.oneOf ?? []).map((message) => {
    const { dataType, data } = message.properties;
    const fields = Object.entries(data?.properties ?? {}).map(
      ([name, field]) => `\`${name}\`: ${typeName(field)}${field['x-secret'] ? ', secret' : ''}`,
    );
    return [`\`"${dataType.const}"\``, fields.join(', ') || 'absent', message.description];
  });
}

function taskPages(document) {
  return document['x-tasks']
    .map((task) => {
      const rows = messageRows(task.message);
      const examples = task.examples.map(
        ({ mock, message }) =>
          `\`\`\`text\nmock ${JSON.stringify(mock)}\n${JSON.stringify(message)}\n\`\`\``,
      );
      return [
        `### ${task.name}`,
        wrapped(sentence(task.summary, task.description)),
        rows.length > 0 && table(['`dataType`', '`data`', 'The office suite asks to'], rows),
        ...examples,
      ]
        .filter(Boolean)
        .join('\n\n');
    })
    .join('\n\n');
}

/** @param page where the types are described, if not on the same page */
export function settingsRows(schema, path = '', page = '') {
  return Object.entries(schema.properties).flatMap(([name, field]) => {
    const at = path ? `${path}.${name}` : name;
    if (field.properties) return settingsRows(field, at, page);
    const refers = typesIn(field).map((name) => link(name, page));
    const needed = schema.required?.includes(name)
      ? 'required, not empty'
      : 'default' in field
        ? `\`${JSON.stringify(field.default)}\``
        : '';
    return [
      [
        `\`${at}\``,
        field.$ref ? 'object' : typeName(field),
        needed,
        sentence(field.description, refers.length > 0 && `See ${refers}.`),
      ],
    ];
  });
}

export const eventRows = (document) =>
  document['x-events'].map(({ name, summary }) => [`\`${name}\``, summary]);

export function modulesPages(document) {
  return {
    'mock settings': `\`\`\`json\n${json({ standin: document['x-exampleStandin'] })}\n\`\`\`\n`,
    methods: `${methodPages(document)}\n`,
    types: `${typePages(document)}\n`,
    'routing failures': `${table(
      ['Failure', 'When'],
      Object.entries(document['x-routingErrors']).map(([text, when]) => [`"${text}"`, when]),
    )}\n`,
    events: `${table(['Event', 'What happened'], eventRows(document))}\n`,
    tasks: `${taskPages(document)}\n`,
    settings: `${table(['Key', 'Type', 'Default', ''], settingsRows(document['x-settings']))}\n`,
  };
}

export function readmeParts(document) {
  const methods = document.methods.map((method) => [
    `\`${method.name}\``,
    method.summary,
    method['x-threadSafe'] ? 'yes' : 'no',
  ]);
  return {
    methods: `${table(['Method', 'What it does', '`call`'], methods)}\n`,
    events: `${table(['Event', 'What happened'], eventRows(document))}\n`,
  };
}
