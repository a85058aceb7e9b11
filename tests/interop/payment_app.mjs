// The payment application, once more: written from the wire forms alone, it shares no code with the library.
//
// Takes { link, envelope, now, form, answer } as JSON on standard input: the link, the text on the pasteboard if there
// is one, the seconds since 1970, and the items to be answered by "inline", "gzip" or "pasteboard". Holds the link to
// every promise of its form, and writes { form, request, callback, envelope }: what came in by which form, the URL to
// be opened, and the text to be put on the pasteboard. The status is 0 only if all was as promised.
import assert from 'node:assert/strict';
import { createDecipheriv, randomBytes } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { gunzipSync, gzipSync } from 'node:zlib';
import { associatedData, dateText, keyOf, NAMESPACE, query, readBase64URL, readCanonical, readLink, SDK_VERSION,
  seal } from './wire.mjs';

const LIFETIME = 300;
const NONCE_SIZE = 12;
const TAG_SIZE = 16;

const { now, ...asked } = JSON.parse(readFileSync(0, 'utf8'));

function readInline(items) {
  const order = ['request_id', 'amount', 'type', 'currency', 'return_url', 'tip', 'custom_id', 'notes', 'basic_token',
    'account_id', 'environment', 'require_reader_ready'];
  assert.deepEqual([...items.keys()], order);
  const { basic_token, account_id, environment, require_reader_ready, ...request } = Object.fromEntries(items);
  assert.match(require_reader_ready, /^(true|false)$/);
  request.require_reader_ready = require_reader_ready === 'true';
  request.credentials = { basic_token, account_id, environment };
  return request;
}

function readGzip(items) {
  assert.deepEqual([...items.keys()], ['transport', 'encoding', 'payload', 'payload_size', 'compressed_size',
    'callbackUrl', 'requestId', 'sdkVersion']);
  assert.deepEqual([items.get('encoding'), items.get('sdkVersion')], ['gzip-json', SDK_VERSION]);
  const compressed = readBase64URL(items.get('payload'));
  assert.equal(items.get('compressed_size'), String(compressed.length));
  const json = gunzipSync(compressed);
  assert.equal(items.get('payload_size'), String(json.length));
  const { payload, ...envelope } = readCanonical(json);
  assert.deepEqual(envelope, {
    namespace: 'com.ostrel.tilvane.urlpayload', schema_version: 1, direction: 'request',
    request_id: items.get('requestId'), created_at: dateText(Math.floor(now)),
  });
  return payload;
}

function open({ direction, handoffId, requestId, ciphertext }) {
  const box = readBase64URL(ciphertext);
  assert(box.length >= NONCE_SIZE + TAG_SIZE);
  const cipher = createDecipheriv('aes-256-gcm', keyOf(direction, handoffId, requestId), box.subarray(0, NONCE_SIZE));
  cipher.setAAD(Buffer.from(associatedData(direction, handoffId, requestId, Math.floor(now) + LIFETIME), 'utf8'));
  cipher.setAuthTag(box.subarray(-TAG_SIZE));
  return Buffer.concat([cipher.update(box.subarray(NONCE_SIZE, -TAG_SIZE)), cipher.final()]);
}

function readHandoff(items) {
  assert.deepEqual([...items.keys()], ['handoffId', 'transport', 'callbackUrl', 'sdkVersion', 'requestId']);
  assert.equal(items.get('sdkVersion'), SDK_VERSION);
  assert.equal(readBase64URL(items.get('handoffId')).length, 32);

  const envelope = readCanonical(Buffer.from(asked.envelope, 'utf8'));
  const { ciphertext, ...rest } = envelope;
  const created = Math.floor(now);
  assert.deepEqual(rest, {
    namespace: NAMESPACE, schemaVersion: 1, direction: 'request', handoffId: items.get('handoffId'),
    requestId: items.get('requestId'), sdkVersion: SDK_VERSION, createdAt: dateText(created),
    expiresAt: dateText(created + LIFETIME),
  });
  return readCanonical(open(envelope));
}

const readers = { inline: readInline, gzip: readGzip, pasteboard: readHandoff };

// JSON that any library would write: only the library's own is held to the canonical form.
const json = (value) => JSON.stringify(value, null, 1);

function answerByGzip(requestId) {
  const text = json({
    payload: { query_items: asked.answer },
    namespace: 'com.ostrel.tilvane.urlpayload',
    schema_version: 1,
    direction: 'result',
    request_id: requestId,
    created_at: dateText(Math.floor(now)),
  });
  const bytes = Buffer.from(text, 'utf8');
  const compressed = gzipSync(bytes, { level: 9 });
  return { items: [
    ['transport', 'gzip'], ['encoding', 'gzip-json'], ['payload', compressed.toString('base64url')],
    ['payload_size', String(bytes.length)], ['compressed_size', String(compressed.length)],
  ] };
}

function answerByHandoff(requestId) {
  const handoffId = randomBytes(32).toString('base64url');
  const about = { direction: 'result', handoffId, requestId, createdAt: now };
  const { envelope } = seal(json({ queryItems: asked.answer }), randomBytes(NONCE_SIZE), about);
  return { items: [['transport', 'pasteboard'], ['resultHandoffId', handoffId]], envelope: json(envelope) };
}

const answerInline = () => ({ items: Object.entries(asked.answer) });
const answers = { inline: answerInline, gzip: answerByGzip, pasteboard: answerByHandoff };

const items = readLink(asked.link);
const form = items.get('transport') ?? 'inline';
const request = readers[form](items);
if (form !== 'inline') {
  assert.deepEqual([items.get('requestId'), items.get('callbackUrl')], [request.request_id, request.return_url]);
}
const { items: answerItems, envelope } = answers[asked.form](request.request_id);
const callback = `${request.return_url}&${query(answerItems)}`;
process.stdout.write(JSON.stringify({ form, request, callback, envelope }));
