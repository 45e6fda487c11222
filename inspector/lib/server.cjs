'use strict';

const fs = require('node:fs');
const http = require('node:http');
const path = require('node:path');
const { randomBytes } = require('node:crypto');
const { once } = require('node:events');
const { Readable } = require('node:stream');
const { pipeline } = require('node:stream/promises');
const { Guard } = require('./guard.cjs');

const mostStrangers = 32; // connections on which no request has had the token
const mostBodyBytes = 16 * 2 ** 20;
const headersMilliseconds = 10_000; // that a request may take to say what it wants

const policy = [
  "default-src 'none'",
  "script-src 'self'",
  "style-src 'self'",
  "connect-src 'self'",
  "img-src 'self'",
  "frame-ancestors 'none'",
  "base-uri 'none'",
  "form-action 'none'",
  "require-trusted-types-for 'script'",
].join('; ');

const headers = {
  'Content-Security-Policy': policy,
  'X-Content-Type-Options': 'nosniff',
  'Referrer-Policy': 'no-referrer',
  'Cross-Origin-Resource-Policy': 'same-origin',
  'Cache-Control': 'no-store',
};

const dist = path.join(__dirname, '../dist');
const file = (name, type) => ({ type, content: fs.readFileSync(path.join(dist, name)) });

/** What is served without a token: the page without data. Nothing else is read for a request. */
const pages = () =>
  new Map([
    ['/', file('index.html', 'text/html; charset=utf-8')],
    ['/page.js', file('page.js', 'text/javascript; charset=utf-8')],
    ['/page.css', file('page.css', 'text/css; charset=utf-8')],
    ['/favicon.ico', { type: 'image/x-icon', content: '' }],
  ]);

/** A refusal with its status; its message is shown to the user. */
class Refusal extends Error {
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

/** A body that is sent in parts, as they are made: for actions whose result may be large. */
class Download {
  /** @param parts asynchronous iterable of texts */
  constructor(parts, more = {}) {
    this.parts = parts;
    this.headers = { 'Content-Type': 'application/jsonl', ...more };
  }
}

async function body(request) {
  const type = request.headers['content-type'] ?? '';
  if (/^application\/jsonl(;|$)/.test(type)) return { lines: request };
  if (!/^application\/json(;|$)/.test(type)) {
    throw new Refusal(415, 'application/json is needed');
  }
  const parts = [];
  let size = 0;
  for await (const part of request) {
    size += part.length;
    if (size > mostBodyBytes) throw new Refusal(413, 'the request is too long');
    parts.push(part);
  }
  try {
    const value = JSON.parse(Buffer.concat(parts).toString() || '{}');
    if (typeof value === 'object' && value !== null) return value;
  } catch {
    // reported below
  }
  throw new Refusal(400, 'a JSON object is needed');
}

const queryOf = (text) => Object.fromEntries(new URLSearchParams(text));

function answerJson(response, status, value) {
  response.writeHead(status, { ...headers, 'Content-Type': 'application/json' });
  response.end(JSON.stringify(value));
}

/**
 * The page, and behind its token an API: reads by GET, actions by POST of JSON. It never keeps the
 * process running.
 */
class Server {
  #http;
  #api;
  #pages = pages();
  #guard;
  #sockets = new Set();
  #strangers = new Set(); // those of them whose requests had no token so far

  /**
   * @param api { reads, actions, stream(response, query) }; reads and actions: path -> function. An
   *        action gets the JSON body, or { lines } with the stream of a body of JSON Lines, and a
   *        signal that tells when nobody waits for its answer any more.
   */
  constructor(api) {
    this.#api = api;
    const options = {
      headersTimeout: headersMilliseconds,
      connectionsCheckingInterval: headersMilliseconds / 2,
    };
    this.#http = http.createServer(options, (request, response) => this.#answer(request, response));
    this.#http.on('connection', (socket) => this.#connected(socket));
  }

  /** No web page can block the port with connections: beyond the limit, the oldest one is closed. */
  #connected(socket) {
    socket.unref();
    this.#sockets.add(socket);
    this.#strangers.add(socket);
    socket.on('close', () => {
      this.#sockets.delete(socket);
      this.#strangers.delete(socket);
    });
    if (this.#strangers.size > mostStrangers) this.#strangers.values().next().value.destroy();
  }

  /** @returns the address to open, the token in its fragment. */
  async listen(port = 0) {
    this.#http.listen({ port, host: '127.0.0.1', exclusive: true });
    this.#http.unref();
    await once(this.#http, 'listening');
    const token = randomBytes(32).toString('base64url');
    const actual = this.#http.address().port;
    this.#guard = new Guard(actual, token);
    return `http://127.0.0.1:${actual}/#${token}`;
  }

  close() {
    this.#http.close();
    for (const socket of this.#sockets) socket.destroy();
  }

  async #answer(request, response) {
    try {
      const refusal = this.#guard.formRefusal(request);
      if (refusal) throw new Refusal(403, refusal);
      const [target, query = ''] = request.url.split('?', 2);
      const page = this.#pages.get(target);
      if (page && request.method === 'GET') {
        response.writeHead(200, { ...headers, 'Content-Type': page.type });
        response.end(page.content);
        return;
      }
      const denied = this.#guard.accessRefusal(request);
      if (denied) throw new Refusal(403, denied);
      this.#strangers.delete(request.socket);
      if (request.method === 'GET' && target === '/api/stream') {
        response.writeHead(200, { ...headers, 'Content-Type': 'application/jsonl' });
        response.flushHeaders(); // the page waits for them, not for the first entry
        this.#api.stream(response, queryOf(query));
        return;
      }
      const value = (await this.#value(request, response, target, query)) ?? {};
      if (value instanceof Download) {
        response.writeHead(200, { ...headers, ...value.headers });
        await pipeline(Readable.from(value.parts), response);
      } else {
        answerJson(response, 200, value);
      }
    } catch (error) {
      if (response.headersSent) {
        response.destroy(); // the page sees that the answer is not complete
        return;
      }
      const status = error instanceof Refusal ? error.status : 500;
      // A request that was not read to its end is not answered on the same connection again.
      if (!request.complete) response.setHeader('Connection', 'close');
      const { message, code, stack } = error;
      answerJson(response, status, {
        error: message,
        code,
        stack: status === 500 ? stack : undefined,
      });
    }
  }

  async #value(request, response, target, query) {
    const { reads, actions } = this.#api;
    const table = { GET: reads, POST: actions }[request.method];
    const run = table?.get(target);
    if (!run) throw new Refusal(404, 'there is nothing of this name for this method');
    if (request.method === 'GET') return run(queryOf(query));
    const gone = new AbortController();
    response.on('close', () => gone.abort());
    return run(await body(request), gone.signal);
  }
}

module.exports = { Server, Download, Refusal };
