'use strict';

const { cut, didYouMean, shown } = require('./names.cjs');
const shapes = require('./shapes.json');

const isObject = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

const kinds = {
  object: [isObject, 'an object'],
  array: [Array.isArray, 'a list'],
  string: [(value) => typeof value === 'string', 'a string'],
  boolean: [(value) => typeof value === 'boolean', 'true or false'],
  integer: [Number.isInteger, 'a whole number'],
};

/**
 * Calls `refuse` with a message where a value, which came from JSON, does not have the shape of that name.
 * @param path what messages call the value
 */
function checkShape(name, value, path, refuse) {
  check(shapes[name], value, path, refuse);
}

function check(given, value, path, refuse) {
  const shape = given.$ref ? shapes[given.$ref.slice(2)] : given;
  if (shape.oneOf) {
    const fits = ({ $ref, type }) => kinds[$ref ? 'object' : type][0](value);
    check(shape.oneOf.find(fits) ?? shape.oneOf[0], value, path, refuse);
    return;
  }
  const [isOne, words] = kinds[shape.type];
  if (!isOne(value)) refuse(`${path} must be ${words}, not ${cut(JSON.stringify(value))}`);
  if (shape.minimum > value) refuse(`${path} must be ${shape.minimum} or more, not ${value}`);
  checkName(shape, value, path, refuse);
  if (shape.type === 'array') {
    for (const [index, each] of value.entries()) {
      check(shape.items, each, `${path}[${index}]`, refuse);
    }
  }
  if (shape.type === 'object') checkMembers(shape, value, path, refuse);
}

function checkName(shape, value, path, refuse) {
  if (!shape.enum || shape.enum.includes(value)) return;
  const hint = didYouMean(value, shape.enum) || `; it must be one of ${shape.enum.join(', ')}`;
  refuse(`${path} is ${shown(value)}${hint}`);
}

function checkMembers(shape, value, path, refuse) {
  const { properties = {}, propertyNames, additionalProperties, required = [] } = shape;
  const isFree = !shape.properties && !additionalProperties;
  const known = propertyNames ? shapes[propertyNames.$ref.slice(2)].enum : Object.keys(properties);
  for (const [key, member] of isFree ? [] : Object.entries(value)) {
    if (!known.includes(key)) {
      refuse(`${path} has no key ${shown(key)}${didYouMean(key, known)}`);
    }
    check(properties[key] ?? additionalProperties, member, `${path}.${key}`, refuse);
  }
  for (const key of required) {
    if (!(key in value)) refuse(`${path}.${key} is required`);
  }
}

module.exports = { checkShape };
