// Makes tests/data/transports/{envelopes,gzip}.json with Node.js's own crypto and zlib, so that the library is held to
// what another implementation writes. Run by hand when a wire form gains a case: node tests/interop/make_vectors.mjs
// The bytes that stand for random ones are counted up from the case's seed: the same run gives the same files.
import { createHash } from 'node:crypto';
import { writeFileSync } from 'node:fs';
import { deflateRawSync, deflateSync, gzipSync } from 'node:zlib';
import { associatedData, canonical, keyOf, seal } from './wire.mjs';

const folder = new URL('../data/transports/', import.meta.url);

function bytesFrom(seed, count) {
  return Buffer.from(Array.from({ length: count }, (_, i) => (seed * 37 + i * 11) & 0xff));
}

function envelopeCase({ name, direction, requestId, createdAt, payload, seed }) {
  const about = { direction, handoffId: bytesFrom(seed, 32).toString('base64url'), requestId };
  const nonce = bytesFrom(seed + 1, 12);
  const plaintext = typeof payload === 'string' ? payload : canonical(payload);
  const { expires, tag, ciphertext, envelope } = seal(plaintext, nonce, { ...about, createdAt });
  return {
    name, ...about, createdAt, expiresAt: expires, key: keyOf(...Object.values(about)).toString('base64'),
    associatedData: associatedData(...Object.values(about), expires), nonce: nonce.toString('base64'), plaintext,
    tag: tag.toString('base64'), ciphertext, envelope: canonical(envelope),
  };
}

const fullRequest = {
  request_id: 'A-1001', amount: '12.5', tip: '0.1', type: 'sale', currency: 'EUR', return_url: 'myshop://done/x?a=1&b=2',
  custom_id: '', notes: 'Grüße / "two"\n🍕', require_reader_ready: false,
  credentials: { basic_token: 's3cret', account_id: 'acc', environment: 'PROD' },
};
const bareRequest = {
  request_id: 'A-1001', amount: '1000', type: 'auth', currency: 'USD', return_url: 'myshop://done', require_reader_ready: true,
};
const approved = { queryItems: { status: 'approved', request_id: 'A-1001', approval_code: '00/7 + 1', message: 'Grüße' } };

const envelopes = [
  { name: 'full request', direction: 'request', requestId: 'A-1001', createdAt: 1700000000, payload: fullRequest, seed: 1 },
  { name: 'bare request', direction: 'request', requestId: 'A-1001', createdAt: 1700000000.75, payload: bareRequest, seed: 2 },
  { name: 'result', direction: 'result', requestId: 'A-1001', createdAt: 1700000100.25, payload: approved, seed: 3 },
  { name: 'separators in the request id', direction: 'result', requestId: 'A.1|2|request.', createdAt: 1700000100, payload: approved, seed: 4 },
  { name: 'request id beyond ASCII', direction: 'result', requestId: 'Bär 🍕', createdAt: 1700000100, payload: approved, seed: 5 },
  { name: 'before 1970', direction: 'result', requestId: 'A-1001', createdAt: -1000.5, payload: approved, seed: 6 },
  { name: 'empty map', direction: 'result', requestId: 'A-1001', createdAt: 1700000100, payload: { queryItems: {} }, seed: 7 },
  { name: 'key of the other transport', direction: 'result', requestId: 'A-1001', createdAt: 1700000100, payload: { query_items: { status: 'approved' } }, seed: 8 },
  { name: 'no JSON', direction: 'result', requestId: 'A-1001', createdAt: 1700000100, payload: 'approved', seed: 9 },
  { name: 'nothing sealed', direction: 'result', requestId: 'A-1001', createdAt: 1700000100, payload: '', seed: 10 },
].map(envelopeCase);

const lines = Array.from({ length: 100 }, (_, i) => `${i}: ${createHash('sha256').update(String(i)).digest('hex')}`).join('\n');
const gzipHeaderFields = () => {
  // A header with a file name, a comment, extra bytes and a checksum of its own (RFC 1952, section 2.3).
  const plain = gzipSync('named');
  const header = Buffer.concat([
    Buffer.from([0x1f, 0x8b, 8, 0x1c, 1, 2, 3, 4, 0, 255, 3, 0]), Buffer.from('abc'), Buffer.from('a.json\0remark\0'),
  ]);
  return Buffer.concat([header, plain.subarray(10)]);
};
const zlibWithDictionary = deflateSync('{"a":1}', { dictionary: Buffer.from('{"a":') });
const gzip = [
  { name: 'gzip', stream: gzipSync('{"a":1}'), text: '{"a":1}' },
  { name: 'zlib', stream: deflateSync('{"a":1}'), text: '{"a":1}' },
  { name: 'stored', stream: gzipSync('{"a":1}', { level: 0 }), text: '{"a":1}' },
  { name: 'best', stream: gzipSync(lines, { level: 9 }), text: lines },
  { name: 'empty text', stream: gzipSync(''), text: '' },
  { name: 'header with all fields', stream: gzipHeaderFields(), text: 'named' },
  { name: 'bytes behind the end', stream: Buffer.concat([gzipSync('{}'), Buffer.from('tail')]), text: '{}' },
  { name: 'second member behind the end', stream: Buffer.concat([gzipSync('{}'), gzipSync('[]')]), text: '{}' },
  { name: 'flushed in the middle', stream: gzipSync('a'.repeat(20000), { level: 1, memLevel: 1 }), text: 'a'.repeat(20000) },
  { name: 'without its checksum', stream: gzipSync('{"a":1}').subarray(0, -8) },
  { name: 'cut off by one byte', stream: gzipSync('{"a":1}').subarray(0, -1) },
  { name: 'wrong checksum', stream: ((s) => { s[s.length - 8] ^= 1; return s; })(gzipSync('{"a":1}')) },
  { name: 'wrong length', stream: ((s) => { s[s.length - 1] ^= 1; return s; })(gzipSync('{"a":1}')) },
  { name: 'bare deflate', stream: deflateRawSync('{"a":1}') },
  { name: 'zlib with a dictionary', stream: zlibWithDictionary },
  { name: 'no stream', stream: Buffer.from('{"a":1}') },
  { name: 'nothing', stream: Buffer.alloc(0) },
].map(({ name, stream, text }) => ({ name, stream: stream.toString('base64'), text: text ?? null }));

function write(file, about, cases) {
  const rows = cases.map((one) => `  ${JSON.stringify(one)}`).join(',\n');
  writeFileSync(new URL(file, folder), `{"about": ${JSON.stringify(about)},\n"cases": [\n${rows}\n]}\n`);
}
write('envelopes.json', 'Sealed envelopes made by Node.js: key, nonce and tag in base64, ciphertext and ids as they '
  + 'travel, createdAt in seconds since 1970.', envelopes);
write('gzip.json', 'Streams in base64, and what is in them; null if they are to be refused.', gzip);
