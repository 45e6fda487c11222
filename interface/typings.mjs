// The interface as TypeScript declarations, node/lib/interface.d.cts, and as the table that the code
// of the package needs, node/lib/methods.cjs.

const width = 100;
const header = '// Generated from interface/ by ./dev generate; a change belongs there.\n';

/** A doc comment of some paragraphs, each filled up to the end of the line. */
function comment(indent, ...paragraphs) {
  const texts = paragraphs.filter(Boolean);
  if (texts.length === 0) return '';
  if (texts.length === 1 && indent.length + texts[0].length + 7 <= width) {
    return `${indent}/** ${texts[0]} */\n`;
  }
  const lines = [];
  for (const [index, text] of texts.entries()) {
    if (index > 0 && !text.startsWith('- ')) lines.push('');
    let line = '';
    for (const word of text.split(' ')) {
      if (line && indent.length + 3 + line.length + 1 + word.length > width) {
        lines.push(line);
        line = text.startsWith('- ') ? `  ${word}` : word;
      } else {
        line = line ? `${line} ${word}` : word;
      }
    }
    lines.push(line);
  }
  const body = lines.map((line) => `${indent} * ${line}`.trimEnd()).join('\n');
  return `${indent}/**\n${body}\n${indent} */\n`;
}

const plain = { string: 'string', integer: 'number', boolean: 'boolean', null: 'null' };
const literal = (value) =>
  typeof value === 'string' ? `'${value.replaceAll("'", "\\'")}'` : JSON.stringify(value);
const key = (name) => (/^[A-Za-z_$][\w$]*$/.test(name) ? name : literal(name));
const holdsText = (schema) => JSON.stringify(schema).includes('"contentMediaType"');

/**
 * What a schema is called or looks like in TypeScript.
 * @param options isInput: given by the caller, who may have made it in any way; isRaw: texts that
 *   hold JSON are left as they are
 */
function typeOf(schema, indent, options) {
  if (schema.$ref) return schema.$ref.split('/').pop();
  if ('const' in schema) return literal(schema.const);
  if (schema.enum) return schema.enum.map(literal).join(' | ');
  if (schema.oneOf) return unionOf(schema.oneOf, indent, options);
  const types = [schema.type ?? 'any'].flat().map((type) => {
    if (type === 'object') return objectOf(schema, indent, options);
    if (type === 'array') return arrayOf(schema, indent, options);
    if (type === 'string' && schema.contentMediaType && !options.isRaw) {
      const content = typeOf(schema.contentSchema ?? { type: 'object' }, indent, options);
      return schema['x-verbatim'] ? `${content} | string` : content;
    }
    return plain[type] ?? type;
  });
  return types.join(' | ');
}

function arrayOf(schema, indent, options) {
  const item = typeOf(schema.items, indent, options);
  const list = `${/[ |]/.test(item) && !item.startsWith('{') ? `(${item})` : item}[]`;
  return options.isInput ? `readonly ${list}` : list;
}

/** Alternatives written in place name what only the others have, so that all can be asked for it. */
function unionOf(alternatives, indent, options) {
  const all = new Set(alternatives.flatMap((schema) => Object.keys(schema.properties ?? {})));
  return alternatives
    .map((schema) => {
      const absent = [...all].filter((name) => schema.properties && !(name in schema.properties));
      return typeOf({ ...schema, 'x-absent': absent }, indent, options);
    })
    .join(' | ');
}

function objectOf(schema, indent, options) {
  const { additionalProperties: more, propertyNames: names } = schema;
  const open = options.isInput ? 'JsonLike' : 'JsonObject';
  if (!schema.properties && typeof more !== 'object') return open;
  if (names) return `{ [Name in ${typeOf(names)}]?: ${typeOf(more, indent, options)} }`;
  const inner = `${indent}  `;
  const members = Object.entries(schema.properties ?? {}).map(([name, member]) => {
    const isNeeded = schema.required?.includes(name) || member['x-expected'];
    return memberOf(name, member, isNeeded, inner, options);
  });
  for (const name of schema['x-absent'] ?? []) members.push(`${inner}${key(name)}?: undefined;\n`);
  if (typeof more === 'object') {
    members.push(`${inner}[name: string]: ${typeOf(more, inner, options)};\n`);
  }
  return `${more === true ? `${open} & ` : ''}{\n${members.join('')}${indent}}`;
}

function memberOf(name, schema, isNeeded, indent, options) {
  if (!schema.description && schema.type !== 'object')
    throw new Error(`${name} has no description`);
  const notes = [
    schema.description,
    'default' in schema && !isNeeded && `Default: \`${JSON.stringify(schema.default)}\`.`,
    schema['x-secret'] && 'Secret.',
    holdsText(schema) && !options.isRaw && 'Arrives parsed; in a raw reply as text.',
  ];
  return (
    comment(indent, notes.filter(Boolean).join(' ')) +
    `${indent}${key(name)}${isNeeded ? '' : '?'}: ${typeOf(schema, indent, options)};\n`
  );
}

function declared(name, schema, options) {
  const text = comment('', schema.description);
  if (schema.enum) return text + union(name, schema.enum);
  const { 'x-insteadOf': other, 'x-extends': base, additionalProperties: more } = schema;
  if (schema.propertyNames)
    return `${text}export type ${name} = ${objectOf(schema, '', options)};\n`;
  const body = objectOf(
    { ...schema, additionalProperties: more === true ? false : more },
    '',
    options,
  );
  if (other) {
    const own = Object.keys(schema.properties).map(literal).join(' | ');
    return `${text}export type ${name} = ${body} & {\n  [Key in Exclude<keyof ${other}, ${own}>]?: undefined;\n};\n`;
  }
  const parents = [
    base && `Partial<${base}>`,
    more === true && (options.isInput ? 'JsonLike' : 'JsonObject'),
  ].filter(Boolean);
  return `${text}export interface ${name} ${parents.length > 0 ? `extends ${parents} ` : ''}${body}\n`;
}

function paramsOf(method) {
  const options = { isInput: true };
  if (method['x-additionalParams']) return 'JsonLike';
  if (method.params.length === 0) return 'NoParams';
  const needed = method.params.filter((param) => param.required || param.schema['x-expected']);
  const type = objectOf(
    {
      properties: Object.fromEntries(method.params.map(({ name, schema }) => [name, schema])),
      required: needed.map(({ name }) => name),
      additionalProperties: method['x-passedOn'],
    },
    '    ',
    options,
  );
  return needed.length > 0 ? type : `${type} | undefined`;
}

function dataOf(method, isRaw) {
  const { schema } = method.result;
  if (schema.type === 'null') return 'undefined';
  const type = typeOf(schema, '    ', { isRaw });
  return method['x-writtenByAccountLibrary'] ? `${type} | undefined` : type;
}

function methodMember(method) {
  const { schema } = method.result;
  const notes = [
    [method.summary, method.description].filter(Boolean).join(' '),
    method['x-threadSafe'] && '`callSync` may call it.',
    method['x-passedOn'] &&
      'The parameters reach the account library as they are; those named here are what the mock knows.',
    method.errors.length > 0 && 'Fails with',
    ...method.errors.map(({ message, data }) => `- "${message}": ${data}`),
  ];
  const raw = holdsText(schema) ? `    raw: ${dataOf(method, true)};\n` : '';
  return (
    comment('  ', ...notes) +
    `  ${literal(method.name)}: {\n    params: ${paramsOf(method)};\n` +
    comment('    ', schema.description) +
    `    data: ${dataOf(method, false)};\n${raw}  };\n`
  );
}

const union = (name, words) =>
  `export type ${name} =\n${words.map((word) => `  | ${literal(word)}`).join('\n')};\n`;

/** The text of interface.d.cts. */
export function typings(document, mock) {
  const threadSafe = document.methods.filter((method) => method['x-threadSafe']);
  const isInput = new Set(['ProxySettings']);
  const parts = [
    `${header}import type { JsonLike, JsonObject, NoParams } from '../index.cjs';\n`,
    ...Object.entries(document.components.schemas).map(([name, schema]) =>
      declared(name, schema, { isInput: isInput.has(name) }),
    ),
    `/** Every method: what it takes, what it gives, and its data in a raw reply where that differs. */\nexport interface Methods {\n${document.methods.map(methodMember).join('\n')}}\n`,
    `/** The methods that run on the caller's thread as well. */\n${union(
      'SyncMethodName',
      threadSafe.map(({ name }) => name),
    )}`,
    `/** Every event. It brings no values: ask for what changed. */\nexport interface Events {\n${document[
      'x-events'
    ]
      .map(({ name, summary }) => `${comment('  ', summary)}  ${literal(name)}: [];\n`)
      .join('')}}\n`,
    `/** Every task type with the messages that come. */\nexport interface TaskMessages {\n${document[
      'x-tasks'
    ]
      .map(
        ({ name, summary, description, message }) =>
          `${comment('  ', summary, description)}  ${name}: ${typeOf(message, '  ', {})};\n`,
      )
      .join('')}}\n`,
    declared(
      'Settings',
      {
        ...document['x-settings'],
        additionalProperties: true,
        properties: {
          ...document['x-settings'].properties,
          standin: { $ref: '#/MockSettings', description: 'What the mock knows at its start.' },
        },
      },
      { isInput: true },
    ),
    ...Object.entries(mock).map(([name, schema]) =>
      declared(name, schema, { isInput: name !== 'MockState' }),
    ),
  ];
  return parts.join('\n');
}

/** Under which key of "data" a method has JSON texts. */
function textKey({ result }) {
  const members = Object.entries(result.schema.properties ?? {});
  return members.find(([, schema]) => holdsText(schema))?.[0];
}

/** The text of methods.cjs. */
export function methodTable(document) {
  const rows = document.methods.map((method) => {
    const texts = textKey(method);
    const flags = [`isSync: ${method['x-threadSafe']}`, ...(texts ? [`texts: '${texts}'`] : [])];
    return `    ${literal(method.name)}: { ${flags.join(', ')} },\n`;
  });
  const list = (names) => `new Set([\n${names.map((name) => `  ${literal(name)},\n`).join('')}])`;
  return `'use strict';

${header}
// isSync: runs on any thread, so that callSync may call it.
// texts: the key of "data" whose texts are JSON.
const methods = new Map(
  Object.entries({
${rows.join('')}  }),
);

const events = ${list(document['x-events'].map(({ name }) => name))};

const taskTypes = new Set([${document['x-tasks'].map(({ name }) => literal(name)).join(', ')}]);

module.exports = { methods, events, taskTypes };
`;
}
