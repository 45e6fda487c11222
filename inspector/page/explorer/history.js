// Of this tab only: a call may hold secrets that were typed.
const key = 'zelectronframework-inspector-history';
const most = 10;

const all = () => JSON.parse(sessionStorage.getItem(key) ?? '{}');

/** @returns the parameters that a method was called with, the latest first */
export const earlier = (method) => all()[method] ?? [];

export function remember(method, text) {
  const others = earlier(method).filter((each) => each !== text);
  const changed = { ...all(), [method]: [text, ...others].slice(0, most) };
  sessionStorage.setItem(key, JSON.stringify(changed));
}
