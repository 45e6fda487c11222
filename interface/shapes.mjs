// What the mock can be told, as shapes that the Node package checks before it tells the mock:
// node/lib/shapes.json. A part of JSON Schema without the words.

const kept = ['type', 'enum', 'required', 'minimum', '$ref'];

/** @param all the schemas by name, for what a schema extends */
function shapeOf(schema, all) {
  const shape = Object.fromEntries(
    kept.filter((key) => key in schema).map((key) => [key, schema[key]]),
  );
  const base = schema['x-extends'];
  const properties = { ...(base && all[base].properties), ...schema.properties };
  const inner = (member) => shapeOf(member, all);
  if (Object.keys(properties).length > 0) {
    shape.properties = Object.fromEntries(
      Object.entries(properties).map(([name, member]) => [name, inner(member)]),
    );
  }
  if (schema.items) shape.items = inner(schema.items);
  if (schema.oneOf) shape.oneOf = schema.oneOf.map(inner);
  if (schema.propertyNames) shape.propertyNames = inner(schema.propertyNames);
  if (typeof schema.additionalProperties === 'object') {
    shape.additionalProperties = inner(schema.additionalProperties);
  }
  return shape;
}

export function shapes(document, mock) {
  const all = { ...document.components.schemas, ...mock };
  const told = Object.entries(mock).filter(([name]) => name !== 'MockState');
  return Object.fromEntries(told.map(([name, schema]) => [name, shapeOf(schema, all)]));
}
