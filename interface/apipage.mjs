// The generated parts of node/docs/api.md: from the typings of the package, node/index.d.cts, and from
// the description of the interface.
import { eventRows, messageRows, sentence, settingsRows, table, wrapped } from './markdown.mjs';

/** @returns the paragraphs of a doc comment; each tag becomes one. */
function comment(lines) {
  const text = lines
    .map((line) => line.replace(/^\s*(\/\*\*|\*\/|\*)? ?/, '').replace(/\s*\*\/$/, ''))
    .join(' ')
    .replaceAll(/\s+/g, ' ')
    .trim();
  const [words, ...tags] = text.split(/ ?@(?=param|returns|throws)/);
  const notes = tags.map((tag) =>
    tag
      .trim()
      .replace(/^param (\w+) (.*)$/, '`$1`: $2')
      .replace(/^returns (\w)/, (_, first) => `Returns ${first}`)
      .replace(/^throws (\w)/, (_, first) => `Throws ${first}`)
      .replace(/([^.])$/, '$1.'),
  );
  return [words, ...notes].filter(Boolean);
}

const depthOf = (text) =>
  (text.match(/[({[]/g) ?? []).length - (text.match(/[)}\]]/g) ?? []).length;

/** @returns the declarations of a text as { words, code }; the words are those of the comment. */
function declarations(text) {
  const found = [];
  let words = [];
  let code = [];
  let isComment = false;
  for (const line of text.split('\n')) {
    if (code.length === 0 && /^\s*\/\*\*/.test(line)) {
      words = [];
      isComment = true;
    }
    if (isComment) {
      words.push(line);
      isComment = !line.includes('*/');
    } else if (line.trim() !== '' && !/^\s*\/\//.test(line)) {
      code.push(line);
      if (depthOf(code.join('\n')) === 0 && /[;}]$/.test(line)) {
        found.push({ words: comment(words), code: code.join('\n') });
        [words, code] = [[], []];
      }
    }
  }
  return found;
}

const bodyOf = (code) => code.slice(code.indexOf('{\n') + 2, code.lastIndexOf('\n}'));
const nameOf = (code) =>
  /^(?:static |readonly )*(?:\[(Symbol\.\w+)\]|(\w+))/.exec(code.trim())?.slice(1).find(Boolean);

function memberRows({ code }) {
  return declarations(bodyOf(code))
    .filter((member) => member.words.length > 0)
    .map((member) => {
      const [, name, isOptional, type] =
        /^\s*(?:readonly )?(\w+)(\?)?: (.*);$/s.exec(member.code) ?? [];
      return (
        name && [
          `\`${name}\``,
          `\`${type.replaceAll(/\s+/g, ' ')}\``,
          isOptional ? '' : 'yes',
          sentence(...member.words),
        ]
      );
    })
    .filter(Boolean);
}

/** The members of a class; one without a comment belongs to the one before it. */
function memberParts({ code }) {
  const parts = [];
  for (const member of declarations(bodyOf(code))) {
    const name = nameOf(member.code);
    if (name.startsWith('Symbol') || /^\s*private/.test(member.code)) continue;
    if (member.words.length > 0) parts.push([name, { words: member.words, code: [] }]);
    parts.at(-1)[1].code.push(member.code.replaceAll(/^ {2}/gm, ''));
  }
  return parts;
}

const signature = (code) => `\`\`\`ts signature\n${code}\n\`\`\``;
const paragraphs = (words) => words.map(wrapped);

function interfacePart(name, declaration, isInput) {
  const rows = memberRows(declaration);
  const base = /^interface \w+ extends (\w+)/.exec(declaration.code)?.[1];
  const head = isInput ? ['Option', 'Type', ''] : ['Key', 'Type', 'Always', ''];
  const cells = isInput ? rows.map(([key, type, , words]) => [key, type, words]) : rows;
  return [
    `### ${name}`,
    ...paragraphs(declaration.words),
    base && `It has the keys of [${base}](#${base.toLowerCase()}) as well.`,
    table(head, cells),
  ]
    .filter(Boolean)
    .join('\n\n');
}

function taskPart({ name, summary, description, message }) {
  const rows = messageRows(message);
  return [
    `### ${name}`,
    wrapped(sentence(summary, description)),
    rows.length > 0 && table(['`dataType`', '`data`', 'The office suite asks to'], rows),
  ]
    .filter(Boolean)
    .join('\n\n');
}

export function apiPages(document, typings) {
  const exported = new Map(
    declarations(typings)
      .map(({ words, code }) => {
        const name = /^export (?:class|interface|function|const|type) (\w+)/.exec(code)?.[1];
        return name && [name, { words, code: code.replace(/^export /, '') }];
      })
      .filter(Boolean),
  );
  const all = (names, make) =>
    `${names.map((name) => make(name, exported.get(name))).join('\n\n')}\n`;
  const classPart = (name) =>
    memberParts(exported.get(name)).map(([member, { words, code }]) =>
      [
        `### ${member === 'constructor' ? `new ${name}` : member}`,
        ...paragraphs(words),
        signature(code.join('\n')),
      ].join('\n\n'),
    );
  const functionPart = (name, { words, code }) =>
    [`### ${name}`, ...paragraphs(words), signature(code)].join('\n\n');
  const inputs = ['FrameworkOptions', 'InitOptions', 'CallOptions', 'SyncOptions', 'SignalOptions'];
  const outputs = ['Diagnosis', 'Finding', 'Examination'];
  const contexts = ['CallContext', 'InitContext', 'EventContext', 'TaskContext', 'LateContext'];
  return {
    framework: `${classPart('ElectronFramework').join('\n\n')}\n`,
    options: all(inputs, (name, declaration) => interfacePart(name, declaration, true)),
    settings: `${table(['Key', 'Type', 'Default', ''], settingsRows(document['x-settings'], '', 'methods.md'))}\n`,
    events: `${table(['Event', 'What happened'], eventRows(document))}\n`,
    tasks: `${document['x-tasks'].map(taskPart).join('\n\n')}\n`,
    functions: all(['diagnose', 'doctor', 'mock', 'mask', 'frameworkVersion'], functionPart),
    results: all(outputs, (name, declaration) => interfacePart(name, declaration)),
    error: interfacePart('FrameworkError', exported.get('FrameworkError')),
    contexts: all(contexts, (name, declaration) => interfacePart(name, declaration)),
  };
}
