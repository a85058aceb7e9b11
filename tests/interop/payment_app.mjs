// The payment application, once more: written from the wire forms alone, it shares no code with the library.
//
//     node payment_app.mjs --report FILE --pasteboard DIRECTORY --now SECONDS --answer FORM
//                          [--alter NAME=VALUE]... LINK
//
// Reads the link, holding it to every promise of its form, and writes three lines to FILE: the form that the request
// came in, the request as JSON, the callback URL to be opened. The status is 0 only if all was as promised. FORM is
// "inline", "gzip" or "pasteboard"; each --alter makes one thing about the answer other than it should be.
import assert from 'node:assert/strict';
import { createCipheriv, createDecipheriv, createHash, randomBytes } from 'node:crypto';
import { writeFileSync } from 'node:fs';
import { parseArgs } from 'node:util';
import { deflateSync, gunzipSync, gzipSync } from 'node:zlib';
import { readPasteboard, writePasteboard } from './pasteboard_file.mjs';
import { canonical, checkRequest, dateText, query, readBase64URL, readCanonical, readDate, readLink }
  from './wire.mjs';

const SDK_VERSION = '1.0.0';
const TEXT_TYPES = ['public.utf8-plain-text', 'public.plain-text', 'public.text'];
const LIFETIME = 300;
const NONCE_SIZE = 12;
const TAG_SIZE = 16;

const { values: options, positionals: [link] } = parseArgs({
  allowPositionals: true,
  options: {
    report: { type: 'string' }, pasteboard: { type: 'string' }, now: { type: 'string' }, answer: { type: 'string' },
    alter: { type: 'string', multiple: true, default: [] },
  },
});
const now = Number(options.now);
const alter = Object.fromEntries(options.alter.map((one) => one.split('=')));

function readInline(items) {
  const order = ['request_id', 'amount', 'type', 'currency', 'return_url', 'tip', 'custom_id', 'notes', 'basic_token',
    'account_id', 'environment', 'require_reader_ready'];
  assert.deepEqual([...items.keys()], order.filter((name) => items.has(name)));
  const { basic_token, account_id, environment, require_reader_ready, ...request } = Object.fromEntries(items);
  assert.match(require_reader_ready, /^(true|false)$/);
  request.require_reader_ready = require_reader_ready === 'true';
  if (basic_token !== undefined) request.credentials = { basic_token, account_id, environment };
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

const keyOf = (direction, handoffId, requestId) =>
  createHash('sha256').update(`ostrel.tilvane.handoff.v1.${direction}.${handoffId}.${requestId}`, 'utf8').digest();

const associatedData = (direction, handoffId, requestId, expires) => Buffer.from(
  ['com.ostrel.tilvane.handoff', '1', direction, handoffId, requestId, SDK_VERSION, expires].join('|'), 'utf8');

function open({ direction, handoffId, requestId, expiresAt, ciphertext }) {
  const box = readBase64URL(ciphertext);
  assert(box.length >= NONCE_SIZE + TAG_SIZE);
  const cipher = createDecipheriv('aes-256-gcm', keyOf(direction, handoffId, requestId), box.subarray(0, NONCE_SIZE));
  cipher.setAAD(associatedData(direction, handoffId, requestId, readDate(expiresAt)));
  cipher.setAuthTag(box.subarray(-TAG_SIZE));
  return Buffer.concat([cipher.update(box.subarray(NONCE_SIZE, -TAG_SIZE)), cipher.final()]);
}

function readHandoff(items) {
  assert.deepEqual([...items.keys()], ['handoffId', 'transport', 'callbackUrl', 'sdkVersion', 'requestId']);
  assert.equal(items.get('sdkVersion'), SDK_VERSION);
  assert.equal(readBase64URL(items.get('handoffId')).length, 32);

  const { localOnly, expires, items: [item, ...others] } = readPasteboard(options.pasteboard);
  assert.deepEqual(others, []);
  const [text, ...sameTexts] = TEXT_TYPES.map((type) => item.get(type));
  assert.deepEqual([item.size, ...sameTexts], [TEXT_TYPES.length, text, text]);
  const envelope = readCanonical(Buffer.from(text, 'utf8'));
  const { ciphertext, ...rest } = envelope;
  const created = Math.floor(now);
  assert.deepEqual(rest, {
    namespace: 'com.ostrel.tilvane.handoff', schemaVersion: 1, direction: 'request', handoffId: items.get('handoffId'),
    requestId: items.get('requestId'), sdkVersion: SDK_VERSION, createdAt: dateText(created),
    expiresAt: dateText(created + LIFETIME),
  });
  assert.deepEqual([localOnly, expires], [true, created + LIFETIME]);
  return readCanonical(open(envelope));
}

const readers = { inline: readInline, gzip: readGzip, pasteboard: readHandoff };

// JSON that any library would write: only the library's own is held to the canonical form.
const json = (value) => JSON.stringify(value, null, 1);

function answerByGzip(request, items) {
  const text = json({
    payload: { query_items: Object.fromEntries(items) },
    namespace: 'com.ostrel.tilvane.urlpayload',
    schema_version: 1,
    direction: 'result',
    request_id: alter.requestId ?? request.request_id,
    created_at: dateText(Math.floor(now)),
  });
  const bytes = Buffer.from(text, 'utf8');
  const whole = alter.wrapping === 'zlib' ? deflateSync(bytes) : gzipSync(bytes, { level: 9 });
  const compressed = whole.subarray(0, whole.length - Number(alter.cut ?? 0));
  return [
    ['transport', 'gzip'],
    ['encoding', 'gzip-json'],
    ['payload', compressed.toString('base64url')],
    ['payload_size', String(bytes.length + Number(alter.sizeOff ?? 0))],
    ['compressed_size', String(compressed.length + Number(alter.compressedSizeOff ?? 0))],
  ];
}

function seal(text, direction, handoffId, requestId, expires) {
  const nonce = randomBytes(NONCE_SIZE);
  const cipher = createCipheriv('aes-256-gcm', keyOf(direction, handoffId, requestId), nonce);
  cipher.setAAD(associatedData(direction, handoffId, requestId, expires));
  const body = Buffer.concat([cipher.update(text, 'utf8'), cipher.final()]);
  const tag = cipher.getAuthTag();
  if (alter.tagBit) tag[TAG_SIZE - 1] ^= 1 << Number(alter.tagBit);
  return Buffer.concat([nonce, body, tag]).toString('base64url');
}

function answerByHandoff(request, items) {
  const resultId = randomBytes(32).toString('base64url');
  const direction = 'result';
  const requestId = alter.requestId ?? request.request_id;
  const created = now - Number(alter.age ?? 0);
  const expires = Math.floor(created + LIFETIME);
  const text = json({ queryItems: Object.fromEntries(items) });
  const envelope = json({
    ciphertext: seal(text, direction, resultId, alter.sealedFor ?? requestId, expires),
    namespace: 'com.ostrel.tilvane.handoff',
    schemaVersion: 1,
    direction,
    handoffId: resultId,
    requestId,
    sdkVersion: alter.sdkVersion ?? SDK_VERSION,
    createdAt: dateText(Math.floor(created)),
    expiresAt: dateText(expires + Number(alter.expiryShift ?? 0)),
  });
  writePasteboard(options.pasteboard, new Map(TEXT_TYPES.map((type) => [type, envelope])), {
    expires: alter.fileExpires === 'never' ? undefined : expires,
    checksumOff: Number(alter.checksumOff ?? 0),
    mode: Number(alter.fileMode ?? 0o600),
  });
  return [['transport', 'pasteboard'], ['resultHandoffId', alter.resultId ?? resultId]];
}

const answers = { inline: (request, items) => items, gzip: answerByGzip, pasteboard: answerByHandoff };

const items = readLink(link);
const form = items.get('transport') ?? 'inline';
const request = readers[form](items);
checkRequest(request);
if (form !== 'inline') {
  assert.deepEqual([items.get('requestId'), items.get('callbackUrl')], [request.request_id, request.return_url]);
}

const result = [
  ['request_id', request.request_id], ['status', alter.status ?? 'approved'], ['approval_code', '00/7 + 1&2=3'],
  ['transaction_id', 'T-"1"\\'], ['message', 'Danke schön 🍕\n'],
];
const answerItems = answers[options.answer](request, result);
const separator = request.return_url.includes('?') ? '&' : '?';
const callback = `${request.return_url}${separator}${query(answerItems)}`;
writeFileSync(options.report, `${form}\n${canonical(request)}\n${callback}\n`);
