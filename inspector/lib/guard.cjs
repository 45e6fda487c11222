'use strict';

const { createHash, timingSafeEqual } = require('node:crypto');

const digest = (text) => createHash('sha256').update(text).digest();

/** All values of one header, as they came: Node.js itself shows only the first of some. */
function headerValues({ rawHeaders }, name) {
  return rawHeaders.filter(
    (_, index) => index % 2 === 1 && rawHeaders[index - 1].toLowerCase() === name,
  );
}

/**
 * Says whether a request may be answered. Pages of other origins can reach this port too, by its
 * address or by a host name that they point to it. Therefore only the token grants access, and
 * browsers never send it by themselves.
 */
class Guard {
  #host;
  #origin;
  #token;

  constructor(port, token) {
    this.#host = `127.0.0.1:${port}`;
    this.#origin = `http://${this.#host}`;
    this.#token = digest(`Bearer ${token}`);
  }

  /** @returns why any request of this form is refused, or undefined. */
  formRefusal(request) {
    if (request.httpVersion !== '1.1') return 'HTTP/1.1 is needed';
    const hosts = headerValues(request, 'host');
    if (hosts.length !== 1 || hosts[0] !== this.#host) return 'not addressed to this server';
    if (!request.url.startsWith('/') || request.url.includes('#')) return 'not a path';
    return undefined;
  }

  /** @returns why a request for data or for an action is refused, or undefined. */
  accessRefusal(request) {
    const sites = headerValues(request, 'sec-fetch-site');
    if (sites.length !== 1 || sites[0] !== 'same-origin') return 'not sent by the page';
    const origins = headerValues(request, 'origin');
    if (origins.some((origin) => origin !== this.#origin)) return 'sent by another origin';
    const tokens = headerValues(request, 'authorization');
    const isKnown = tokens.length === 1 && timingSafeEqual(digest(tokens[0]), this.#token);
    return isKnown ? undefined : 'no token';
  }
}

module.exports = { Guard };
