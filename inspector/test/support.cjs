'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const http = require('node:http');
const os = require('node:os');
const path = require('node:path');
const { setTimeout: pause } = require('node:timers/promises');
const { ElectronFramework } = require('zelectronframework');
const { attach } = require('../index.cjs');

// Log files and recordings stay out of the user's own folders.
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), 'inspector-test-'));
process.env.XDG_STATE_HOME = scratch;
process.on('exit', () => fs.rmSync(scratch, { recursive: true, force: true }));

const office = {
  userId: '10001',
  meeting: { meetingUrl: 'https://meet.example.com/4711', accessCode: '204060' },
};
const settings = (standin = { office }) => ({
  app: { appName: 'test', productName: 'test', version: '1', localStoragePath: scratch },
  standin,
});

const endings = new WeakMap();

/** As t.after(), but in reverse order: a page is closed before the server that it asks. */
function atEnd(t, end) {
  if (!endings.has(t)) {
    endings.set(t, []);
    t.after(async function endAll() {
      try {
        await endings.get(t).pop()();
      } finally {
        if (endings.get(t).length > 0) await endAll();
      }
    });
  }
  endings.get(t).push(end);
}

/** A framework with the mock, not running yet, and an inspector on it, both ended with the test. */
async function attached(t, options) {
  const framework = new ElectronFramework({ mock: true });
  const inspector = await attach(framework, options);
  atEnd(t, async () => {
    inspector.close();
    await framework.close();
  });
  return { framework, inspector };
}

/** As attached(), running. */
async function started(t, { standin, ...options } = {}) {
  const given = settings(standin);
  const { framework, inspector } = await attached(t, { settings: given, ...options });
  inspector.subscribeAll();
  await framework.init(given);
  return { framework, inspector, api: client(inspector.url) };
}

/** Asks as the page does; get and post resolve to { status, ...answer }. */
function client(url) {
  const { origin, hash, port } = new URL(url);
  const headers = {
    authorization: `Bearer ${hash.slice(1)}`,
    'sec-fetch-site': 'same-origin',
    'content-type': 'application/json',
    origin,
  };
  const open = (method, target, more) =>
    http.request({
      host: '127.0.0.1',
      port,
      method,
      path: `/api/${target}`,
      headers: { ...headers, ...more },
      agent: false,
    });
  const ask = (method, target, body, more) =>
    new Promise((resolve, reject) => {
      const request = open(method, target, more);
      request.on('error', reject);
      request.on('response', async (response) => {
        const parts = [];
        for await (const part of response) parts.push(part);
        const text = Buffer.concat(parts).toString();
        const { 'content-type': type, 'saved-as': savedAs } = response.headers;
        const answer = type === 'application/jsonl' ? { text, savedAs } : JSON.parse(text);
        resolve({ status: response.statusCode, ...answer });
      });
      request.end(body);
    });
  return {
    get: (target) => ask('GET', target),
    post: (target, body = {}) => ask('POST', target, JSON.stringify(body)),
    /** Lines of JSON as the body. */
    postLines: (target, text) => ask('POST', target, text, { 'content-type': 'application/jsonl' }),
    /** The live stream, not read yet. */
    stream: () =>
      new Promise((resolve, reject) => {
        const request = open('GET', 'stream');
        request.on('error', reject).on('response', resolve).end();
      }),
  };
}

async function until(condition, what, limit = 10_000) {
  for (const end = Date.now() + limit; ; await pause(10)) {
    const value = await condition();
    if (value) return value;
    assert.ok(Date.now() < end, `not within ${limit} ms: ${what}`);
  }
}

module.exports = { scratch, settings, attached, started, client, until, atEnd };
