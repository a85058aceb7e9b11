// Holds tests/data/transports/{envelopes,gzip}.json to Node.js's own crypto and zlib, so that the library is held to what
// another implementation writes. A new envelope needs what it is made of, from its name to its request id, createdAt,
// nonce and plaintext: run by hand with --write, this adds the rest.
import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { unzipSync } from 'node:zlib';
import { associatedData, canonical, keyOf, seal } from './wire.mjs';

const fileOf = (name) => new URL(`../data/transports/${name}.json`, import.meta.url);
const read = (name) => JSON.parse(readFileSync(fileOf(name), 'utf8'));

function sealed({ name, direction, handoffId, requestId, createdAt, nonce, plaintext }) {
  const about = { direction, handoffId, requestId };
  const { expires, tag, ciphertext, envelope } = seal(plaintext, Buffer.from(nonce, 'base64'), { ...about, createdAt });
  return {
    name, ...about, createdAt, expiresAt: expires, key: keyOf(...Object.values(about)).toString('base64'),
    associatedData: associatedData(...Object.values(about), expires), nonce, plaintext, tag: tag.toString('base64'),
    ciphertext, envelope: canonical(envelope),
  };
}

function unzipped(stream) {
  try {
    return unzipSync(Buffer.from(stream, 'base64')).toString('utf8');
  } catch {
    return null;
  }
}

const { about, cases } = read('envelopes');
const made = cases.map(sealed);
if (process.argv[2] === '--write') {
  const rows = made.map((one) => `  ${JSON.stringify(one)}`).join(',\n');
  writeFileSync(fileOf('envelopes'), `{"about": ${JSON.stringify(about)},\n"cases": [\n${rows}\n]}\n`);
}
assert.deepEqual(made, read('envelopes').cases);

for (const { name, stream, text } of read('gzip').cases) {
  // The library ends at the end of the first member; Node.js doesn't.
  if (!name.endsWith('behind the end')) assert.equal(unzipped(stream), text, name);
}
