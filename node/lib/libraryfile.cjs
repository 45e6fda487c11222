'use strict';

// Examines a library file before it is loaded: where a file is cut short, the system's loader reads
// beyond its end, which kills the process.

const fs = require('node:fs');

const machines = { 62: 'x64', 183: 'arm64' };
const loadable = 1; // type of the program headers whose bytes are mapped

function headOf(file) {
  const fd = fs.openSync(file);
  try {
    const bytes = Buffer.alloc(4096); // with all program headers, which come first
    return bytes.subarray(0, fs.readSync(fd, bytes));
  } finally {
    fs.closeSync(fd);
  }
}

/** The least length of a file whose headers are these. */
function neededLength(head) {
  const first = Number(head.readBigUInt64LE(32));
  const size = head.readUInt16LE(54);
  const count = head.readUInt16LE(56);
  let needed = first + size * count;
  for (let at = first; at < first + size * count && at + size <= head.length; at += size) {
    if (head.readUInt32LE(at) !== loadable) continue;
    const end = head.readBigUInt64LE(at + 8) + head.readBigUInt64LE(at + 32);
    needed = Math.max(needed, Number(end));
  }
  return needed;
}

/** @returns why a file is no library for this process, as { kind, reason }, or undefined. */
function faultOf(file) {
  const fault = (kind, reason) => ({ kind, reason: `${file} ${reason}` });
  try {
    const status = fs.statSync(file, { throwIfNoEntry: false });
    if (!status) return fault('missing', 'does not exist');
    if (!status.isFile()) return fault('file', 'is a folder');
    const head = headOf(file);
    if (head.length < 64 || head.toString('latin1', 1, 4) !== 'ELF') {
      return fault('file', 'is no shared library');
    }
    const machine = head.readUInt16LE(18);
    const architecture = machines[machine] ?? `machine ${machine}`;
    if (architecture !== process.arch) {
      return fault('architecture', `is built for ${architecture}, this process is ${process.arch}`);
    }
    const needed = neededLength(head);
    if (status.size >= needed) return undefined;
    return fault('file', `is cut short: ${status.size} bytes of at least ${needed}`);
  } catch (error) {
    return fault('file', `cannot be read: ${error.message}`);
  }
}

module.exports = { faultOf };
