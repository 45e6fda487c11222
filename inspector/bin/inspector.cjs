#!/usr/bin/env node
'use strict';

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { spawn } = require('node:child_process');
const { parseArgs } = require('node:util');

const usage = `Usage: zelectronframework-inspector [OPTION...]
       zelectronframework-inspector replay [--update] [--timeout MS] [--json] FILE...
       zelectronframework-inspector convert FILE

Starts the framework and opens a window on it in a browser. In an application of your own, use
attach() instead.

  --mock              with the mock of the closed libraries; the default without --settings
  --settings FILE     with the real libraries and these settings (JSON); with --mock: with both
  --port N            instead of a free one
  --open              opens the page in the browser; --open-url does so for browsers that may not
                      read files, but shows the token to other users of this machine
  --read-only         the page shows, and changes nothing
  --recordings DIR    where the page may save recordings
  replay FILE         runs recordings against the mock; exit code 1 when something differs
  --update            writes them again as things are now
  --timeout MS        how long each answer, event or message may take; 5000
  convert FILE        prints a recording of the real libraries as one for the mock, which then
                      answers as they did
  --json              prints the result as JSON; FILE - reads standard input
`;

const options = {
  mock: { type: 'boolean' },
  settings: { type: 'string' },
  port: { type: 'string' },
  open: { type: 'boolean' },
  'open-url': { type: 'boolean' },
  'read-only': { type: 'boolean' },
  recordings: { type: 'string' },
  update: { type: 'boolean' },
  timeout: { type: 'string' },
  json: { type: 'boolean' },
  help: { type: 'boolean', short: 'h' },
};

class UsageError extends Error {}

/** What the examples of the interface's description need, and a meeting. */
function exampleStandin() {
  const { description } = require('../lib/description.cjs');
  const standin = description['x-exampleStandin'];
  const meeting = { meetingUrl: 'https://meet.example.com/4711', accessCode: '204060' };
  return { ...standin, office: { ...standin.office, meeting } };
}

function settingsOf({ settings: file, mock }) {
  if (file) return JSON.parse(fs.readFileSync(file, 'utf8'));
  const localStoragePath = path.join(
    os.tmpdir(),
    `zelectronframework-inspector-${process.getuid()}`,
  );
  const app = {
    appName: 'inspector',
    productName: 'inspector',
    version: '1.0.0',
    localStoragePath,
  };
  return mock ? { app, standin: exampleStandin() } : { app };
}

function portOf({ port = '0' }) {
  const number = Number(port);
  if (/^\d{1,5}$/.test(port) && number < 65536) return number;
  throw new UsageError('--port needs a number from 0 to 65535');
}

function millisecondsOf(timeout) {
  if (timeout === undefined || /^\d{1,9}$/.test(timeout)) return timeout && Number(timeout);
  throw new UsageError('--timeout needs a number of milliseconds');
}

function folderOf({ recordings }) {
  if (recordings === undefined) return undefined;
  const folder = path.resolve(recordings);
  fs.mkdirSync(folder, { recursive: true, mode: 0o700 });
  return folder;
}

/** Other users see the arguments of a program, so the address goes through a file. */
function openPage(url, isDirect) {
  let target = url;
  if (!isDirect) {
    const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'zelectronframework-inspector-'));
    target = path.join(folder, 'open.html');
    fs.writeFileSync(
      target,
      `<!doctype html><script>location.replace(${JSON.stringify(url)})</script>`,
      {
        mode: 0o600,
      },
    );
    process.on('exit', () => fs.rmSync(folder, { recursive: true, force: true }));
  }
  const child = spawn('xdg-open', [target], { stdio: 'ignore', detached: true });
  child.on('error', () => console.error('no browser was found; open the address above'));
  child.unref();
}

async function inspect(values) {
  const { ElectronFramework } = require('zelectronframework');
  const { attach } = require('../index.cjs');
  const isMock = values.mock || !values.settings;
  const settings = settingsOf({ ...values, mock: isMock });
  const framework = new ElectronFramework({ mock: isMock });
  const inspector = await attach(framework, {
    settings,
    port: portOf(values),
    readOnly: values['read-only'],
    recordings: folderOf(values),
  });
  inspector.subscribeAll();
  await framework.init(settings);
  framework.ref();
  console.log(`The inspector is at ${inspector.url}`);
  console.log('Whoever has this address sees what it shows. Ctrl+C ends it.');
  if (values.open || values['open-url']) openPage(inspector.url, values['open-url']);
  const end = () => {
    inspector.close();
    framework.close().then(() => process.exit());
  };
  process.once('SIGINT', end);
  process.once('SIGTERM', end);
}

async function replayAll(files, { update, json, timeout }) {
  if (files.length === 0) throw new UsageError('replay needs a file');
  const { replay, RecordingError } = require('../index.cjs');
  for (const file of files) {
    const source = file === '-' ? { text: fs.readFileSync(0, 'utf8') } : file;
    try {
      const result = await replay(source, {
        update: update && file !== '-',
        timeout: millisecondsOf(timeout),
      });
      if (!result.ok) process.exitCode = 1;
      if (json) process.stdout.write(JSON.stringify(result));
      else console.log(`${result.ok ? 'green' : 'red  '} ${file}\n${result.report}`);
    } catch (error) {
      if (!(error instanceof RecordingError) && !error.code) throw error;
      console.error(`${file}: ${error.message}`);
      process.exitCode = 2;
    }
  }
}

/** For those who replay with zefhost; replay does it by itself. */
function convert([file]) {
  if (file === undefined) throw new UsageError('convert needs a file');
  const { forMock, readRecording } = require('../index.cjs');
  const { header, lines } = forMock(readRecording(fs.readFileSync(file, 'utf8')));
  for (const { number: _, ...line } of [header, ...lines]) console.log(JSON.stringify(line));
}

async function main() {
  const { values, positionals } = parseArgs({ options, allowPositionals: true });
  const [command, ...files] = positionals;
  if (values.help) process.stdout.write(usage);
  else if (command === 'replay') await replayAll(files, values);
  else if (command === 'convert') convert(files);
  else if (command !== undefined) throw new UsageError(`there is no command ${command}`);
  else await inspect(values);
}

main().catch((error) => {
  const isUsage = error instanceof UsageError || error.code?.startsWith('ERR_PARSE_ARGS');
  console.error(isUsage ? `${error.message}\n\n${usage}` : error.stack);
  process.exit(2);
});
