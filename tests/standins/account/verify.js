// Checks with Node's crypto what the account stand-in has signed.
//   verify.js jws JWK TOKEN       prints {"header":...,"payload":text}, or ends with 1
//   verify.js pkce VERIFIER       prints the S256 challenge
'use strict';
const crypto = require('crypto');

const [kind, first, token] = process.argv.slice(2);
if (kind === 'pkce') {
    process.stdout.write(crypto.createHash('sha256').update(first, 'ascii').digest('base64url'));
    process.exit(0);
}

const [header, payload, signature] = token.split('.');
const key = crypto.createPublicKey({ key: JSON.parse(first), format: 'jwk' });
const isValid = crypto.verify('sha256', Buffer.from(`${header}.${payload}`),
    { key, dsaEncoding: 'ieee-p1363' }, Buffer.from(signature, 'base64url'));
if (!isValid)
    process.exit(1);
process.stdout.write(JSON.stringify({
    header: JSON.parse(Buffer.from(header, 'base64url').toString()),
    payload: Buffer.from(payload, 'base64url').toString(),
}));
