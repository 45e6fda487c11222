// The token comes in the fragment, which no server sees, and leaves the address bar at once.
const key = 'zelectronframework-inspector';
if (location.hash.length > 1) {
  sessionStorage.setItem(key, location.hash.slice(1));
  history.replaceState(null, '', location.pathname);
}
const token = sessionStorage.getItem(key);

const headers = { Authorization: `Bearer ${token}` };

async function answerOf(response) {
  if (response.headers.get('Content-Type') === 'application/jsonl') {
    const file = decodeURIComponent(response.headers.get('Saved-As') ?? '');
    return { text: await response.text(), file };
  }
  const answer = await response.json();
  if (!response.ok) throw new Error(answer.error ?? response.statusText);
  return answer;
}

export function get(name, query = {}) {
  return fetch(`/api/${name}?${new URLSearchParams(query)}`, { headers }).then(answerOf);
}

function send(name, type, body) {
  const options = { method: 'POST', headers: { ...headers, 'Content-Type': type }, body };
  return fetch(`/api/${name}`, options);
}

export function post(name, body = {}) {
  return send(name, 'application/json', JSON.stringify(body)).then(answerOf);
}

/** Sends a file, whatever its size. */
export function upload(name, file) {
  return send(name, 'application/jsonl', file).then(answerOf);
}

/** Like post(), where a file comes. @returns { file, savedAs } */
export async function download(name, body) {
  const response = await send(name, 'application/json', JSON.stringify(body));
  if (!response.ok) return answerOf(response);
  const savedAs = response.headers.get('Saved-As');
  return { file: await response.blob(), savedAs: savedAs && decodeURIComponent(savedAs) };
}

/** Calls take(message) for each line of the live stream, until that ends. */
export async function follow(take) {
  const response = await fetch('/api/stream', { headers });
  if (!response.ok) {
    throw new Error(token ? 'this address is of another start' : 'open the address with its token');
  }
  const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
  let rest = '';
  for (;;) {
    const { done, value } = await reader.read();
    if (done) return;
    const lines = (rest + value).split('\n');
    rest = lines.pop();
    take(lines.filter(Boolean).map((line) => JSON.parse(line)));
  }
}
