import { useState } from 'preact/hooks';

const values = new Map();

/** Like useState, but the value outlives the component: a view is as it was when it comes back. */
export function useKept(key, initial) {
  const [, draw] = useState({});
  if (!values.has(key)) values.set(key, typeof initial === 'function' ? initial() : initial);
  const set = (value) => {
    values.set(key, value);
    draw({});
  };
  return [values.get(key), set];
}

/** Gives a view a value before it is shown. */
export function keep(key, value) {
  values.set(key, value);
}
