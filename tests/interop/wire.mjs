// The texts that a link and an envelope are made of, read as strictly as they are promised to be written.
import assert from 'node:assert/strict';
import { createCipheriv, createHash } from 'node:crypto';

export const SDK_VERSION = '1.0.0';
export const NAMESPACE = 'com.ostrel.tilvane.handoff';

// JSON with its keys in ascending order, slashes escaped, no white space.
export function canonical(value) {
  if (value === null || typeof value !== 'object') return JSON.stringify(value).replaceAll('/', '\\/');
  assert(!Array.isArray(value), 'no record here has a list');
  const keys = Object.keys(value).sort();
  return `{${keys.map((key) => `${canonical(key)}:${canonical(value[key])}`).join(',')}}`;
}

export function readCanonical(bytes) {
  const text = new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(bytes);
  const value = JSON.parse(text);
  assert.equal(text, canonical(value), 'keys ascending, slashes escaped, no white space');
  return value;
}

// Dates are in whole seconds since 1970.
export const dateText = (seconds) => new Date(seconds * 1000).toISOString().replace('.000Z', 'Z');

export function readBase64URL(text) {
  const bytes = Buffer.from(text, 'base64url');
  assert.equal(bytes.toString('base64url'), text, 'the URL-safe alphabet, no padding');
  return bytes;
}

// A query leaves more as it is than a component does.
export const encoded = (text) =>
  encodeURIComponent(text).replace(/%(?:24|2B|2C|2F|3A|3B|3F|40)/g, (escape) => decodeURIComponent(escape));

export const query = (items) => items.map(([name, value]) => `${encoded(name)}=${encoded(value)}`).join('&');

// A launch link's items in their order; each name stands once.
export function readLink(link) {
  const start = 'tilvanego://payment/v1/start?';
  assert(link.startsWith(start), link);
  const items = link.slice(start.length).split('&').map((item) => {
    const [name, value] = item.split('=');
    return [decodeURIComponent(name), decodeURIComponent(value)];
  });
  assert.equal(link, start + query(items), 'escapes just what a query must');
  const byName = new Map(items);
  assert.equal(byName.size, items.length);
  return byName;
}

export const keyOf = (direction, handoffId, requestId) =>
  createHash('sha256').update(`ostrel.tilvane.handoff.v1.${direction}.${handoffId}.${requestId}`, 'utf8').digest();

export const associatedData = (direction, handoffId, requestId, expires) =>
  [NAMESPACE, '1', direction, handoffId, requestId, SDK_VERSION, expires].join('|');

// The sealed text, with its tag and the envelope's record, whose JSON its writer may lay out as it likes.
export function seal(text, nonce, { direction, handoffId, requestId, createdAt }) {
  const expires = Math.floor(createdAt + 300);
  const cipher = createCipheriv('aes-256-gcm', keyOf(direction, handoffId, requestId), nonce);
  cipher.setAAD(Buffer.from(associatedData(direction, handoffId, requestId, expires), 'utf8'));
  const body = Buffer.concat([cipher.update(text, 'utf8'), cipher.final()]);
  const tag = cipher.getAuthTag();
  const ciphertext = Buffer.concat([nonce, body, tag]).toString('base64url');
  const envelope = {
    namespace: NAMESPACE, schemaVersion: 1, direction, handoffId, requestId, sdkVersion: SDK_VERSION,
    createdAt: dateText(Math.floor(createdAt)), expiresAt: dateText(expires), ciphertext,
  };
  return { expires, tag, ciphertext, envelope };
}
