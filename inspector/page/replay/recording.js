const mostEdited = 2 ** 20; // bytes; a larger recording is shown in parts, and not edited
const pieceBytes = 2 ** 19;

/**
 * A recording that is replayed: a file, and its text if it can be edited.
 * @returns { file, name, text }
 */
export async function recordingOf(file, name) {
  return { file, name, text: file.size <= mostEdited ? await file.text() : undefined };
}

/** The recording with another text. */
export function edited({ name }, text) {
  return { name, text, file: new Blob([text], { type: 'application/jsonl' }) };
}

/** @returns where a line begins. Read in pieces, between which the page does other things. */
async function offsetOf(file, line) {
  let left = line - 1;
  for (let at = 0; left > 0 && at < file.size; at += pieceBytes) {
    const bytes = new Uint8Array(await file.slice(at, at + pieceBytes).arrayBuffer());
    for (let end = bytes.indexOf(10); end >= 0; end = bytes.indexOf(10, end + 1)) {
      left -= 1;
      if (left === 0) return at + end + 1;
    }
  }
  return left > 0 ? file.size : 0;
}

/** @returns some lines of a file, from one on, as far as a piece reaches */
export async function linesFrom(file, from, count) {
  const start = await offsetOf(file, from);
  const text = await file.slice(start, start + pieceBytes).text();
  return text.split('\n', count);
}

export function save({ file, name }) {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(file);
  link.download = name;
  link.click();
  URL.revokeObjectURL(link.href);
}

export function sizeOf(bytes) {
  return bytes < 2 ** 20 ? `${Math.ceil(bytes / 1024)} KiB` : `${(bytes / 2 ** 20).toFixed(1)} MiB`;
}
