// The interface as an OpenRPC document. What OpenRPC has no word for stands under names that begin
// with "x-": docs/MODULES.md says what they mean.

const additional = (schema) => (schema ? { 'x-additionalParams': schema } : {});

function parameters(description, method) {
  const source = method.paramsOf
    ? description.types[method.paramsOf].properties
    : (method.params ?? method.passedOn ?? {});
  return Object.entries(source).map(([name, schema]) => ({
    name,
    description: schema.description,
    required: method.required?.includes(name) ?? false,
    schema,
  }));
}

function answerOf(fact, method) {
  if (fact.threadSafe) return 'before it returns';
  return method.answer === 'host thread' ? 'host thread' : 'library thread';
}

function methodOf(fact, description) {
  const method = description.methods[fact.name];
  const params = parameters(description, method);
  return {
    name: fact.name,
    summary: method.summary,
    ...(method.description ? { description: method.description } : {}),
    tags: [{ name: fact.name.split('.')[0] }],
    paramStructure: 'by-name',
    params,
    ...additional(method.anyParams),
    result: {
      name: 'data',
      schema:
        method.data ??
        (method.answer === 'account library' ? { type: 'object' } : { type: 'null' }),
    },
    // A reply has no code, but OpenRPC requires one.
    errors: Object.entries(method.errors).map(([message, data]) => ({ code: 0, message, data })),
    examples: [
      {
        name: fact.name,
        params: Object.entries(method.example.params).map(([name, value]) => ({ name, value })),
        result: { name: 'data', value: method.example.data ?? null },
      },
    ],
    'x-threadSafe': fact.threadSafe,
    'x-answer': answerOf(fact, method),
    'x-passedOn': 'passedOn' in method,
    'x-writtenByAccountLibrary': method.answer === 'account library',
    'x-operations': method.operations,
  };
}

/** What a callback gets for the result, or for an error. */
const reply = {
  type: 'object',
  required: ['msg', 'result'],
  properties: {
    data: { description: 'The result; absent when that is null or empty.' },
    msg: { type: 'string', description: '"success", or the message of the error.' },
    result: { enum: ['ok', 'fail'] },
  },
};

export function openRpc(facts, description, version) {
  return {
    openrpc: '1.3.2',
    info: { title: description.title, description: description.description, version },
    methods: facts.methods.map((fact) => methodOf(fact, description)),
    components: { schemas: description.types },
    'x-reply': reply,
    'x-events': facts.events.map((name) => ({ name, summary: description.events[name] })),
    'x-tasks': facts.tasks.map((name) => ({ name, ...description.tasks[name] })),
    'x-settings': description.settings,
    'x-routingErrors': description.routingErrors,
    'x-exampleStandin': description.exampleStandin,
  };
}
