// The interface and the mock as parts of the Node package's own pages, node/docs/.
import {
  errorsPart,
  json,
  parametersPart,
  sentence,
  table,
  typeName,
  typePages,
  wrapped,
} from './markdown.mjs';

/** A JSON text of an example as the package gives it; "…" in it stands for any value. */
function parsed(value) {
  if (Array.isArray(value)) return value.map(parsed);
  if (value !== null && typeof value === 'object') {
    return Object.fromEntries(Object.entries(value).map(([name, part]) => [name, parsed(part)]));
  }
  if (typeof value !== 'string' || value[0] !== '{') return value;
  return JSON.parse(value.replaceAll(/(?<=[[:,])…/g, '"…"'));
}

const literal = (value) =>
  JSON.stringify(value, null, 1)
    .replaceAll(/\n\s*/g, ' ')
    .replaceAll(/"(\w+)": /g, '$1: ')
    .replaceAll(/"([^"'\\]*)"/g, "'$1'");

function examplePart(method) {
  const [{ params, result }] = method.examples;
  const given = Object.fromEntries(params.map(({ name, value }) => [name, value]));
  const values = params.length > 0 ? `, ${literal(given)}` : '';
  const call = `\`\`\`js method\nawait framework.call('${method.name}'${values})\n\`\`\``;
  const data = parsed(result.value);
  return data === null ? call : `${call}\n\n\`\`\`json\n${json(data)}\n\`\`\``;
}

function dataPart(method) {
  const { schema } = method.result;
  if (schema.type === 'null') return 'Data: `undefined`';
  const rows = fieldRows(schema);
  const intro = method['x-writtenByAccountLibrary']
    ? 'The account library writes the data.'
    : schema.description;
  return [intro, rows.length > 0 && table(['Data', 'Type', ''], rows)].filter(Boolean).join('\n\n');
}

/** As it arrives: texts that hold JSON have become objects. */
function fieldRows(schema) {
  return Object.entries(schema.properties ?? {}).map(([name, field]) => {
    const reference = /"#\/components\/schemas\/(\w+)"/.exec(JSON.stringify(field))?.[1];
    const isParsed = JSON.stringify(field).includes('contentMediaType');
    const one = reference ? `[${reference}](#${reference.toLowerCase()})` : 'object';
    const type =
      field.type === 'array' ? `list of ${one}` : isParsed || reference ? one : typeName(field);
    const notes = [
      field.description,
      isParsed && 'Arrives parsed.',
      field['x-secret'] && 'Secret.',
    ];
    return [`\`${name}\``, type, sentence(...notes)];
  });
}

function methodPage(method) {
  return [
    `### ${method.name}`,
    wrapped(sentence(method.summary, method.description)),
    method['x-threadSafe'] && '`callSync` may call it.',
    parametersPart(method),
    dataPart(method),
    errorsPart(method),
    examplePart(method),
  ]
    .filter(Boolean)
    .join('\n\n');
}

function mockType(schema) {
  if (schema.$ref) {
    const name = schema.$ref.slice(2);
    return `[${name}](${name.startsWith('Mock') ? '' : 'methods.md'}#${name.toLowerCase()})`;
  }
  if (schema.enum) return schema.enum.map((value) => `\`${value}\``).join(', ');
  if (schema.type === 'array') return `list of ${mockType(schema.items)}`;
  return typeName(schema);
}

function mockPage([name, schema]) {
  const rows = Object.entries(schema.properties ?? {}).map(([key, field]) => {
    const preset = 'default' in field && `Default: \`${JSON.stringify(field.default)}\`.`;
    const inner = Object.keys(field.items?.properties ?? field.properties ?? {});
    const keys = inner.length > 0 && `Keys: ${inner.map((word) => `\`${word}\``).join(', ')}.`;
    return [`\`${key}\``, mockType(field), sentence(field.description, keys, preset)];
  });
  const base = schema['x-extends'];
  const notes = [
    schema.description,
    base && `It has the keys of ${mockType({ $ref: `#/${base}` })} as well.`,
    schema.enum?.map((value) => `\`${value}\``).join(', '),
  ];
  const list = rows.length > 0 && table(['Key', 'Type', ''], rows);
  return [`### ${name}`, wrapped(sentence(...notes)), list].filter(Boolean).join('\n\n');
}

export function packageMethods(document) {
  return {
    methods: `${document.methods.map(methodPage).join('\n\n')}\n`,
    types: `${typePages(document)}\n`,
  };
}

export function mockPages(document, mock) {
  const settings = `\`\`\`json standin\n${json(document['x-exampleStandin'])}\n\`\`\``;
  return {
    mock: `## Settings of the snippets\n\n${settings}\n\n## Every key\n\n${Object.entries(mock).map(mockPage).join('\n\n')}\n`,
  };
}
