const quoted = (text) => `'${text.replace(/'/g, `'\\''`)}'`;

/** A call as a line of JavaScript, of C++, or for zefhost. */
export const forms = {
  JavaScript: ({ name, mode, params }) =>
    `${mode === 'sync' ? 'framework.callSync' : 'await framework.call'}('${name}'${params ? `, ${params}` : ''});`,
  'C++': ({ name, mode, params }) =>
    `framework->${mode === 'sync' ? 'call' : 'asynCall'}("${name}", R"json(${params ?? '{}'})json", &callback);`,
  zefhost: ({ name, mode, params }) =>
    `zefhost ${mode === 'sync' ? 'call' : 'async'} ${name} ${quoted(params ?? '{}')}`,
};

export function copy(text) {
  return navigator.clipboard.writeText(text);
}
