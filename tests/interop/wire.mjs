// The texts that a link and an envelope are made of, read as strictly as they are promised to be written.
import assert from 'node:assert/strict';

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

export function readDate(text) {
  assert.match(text, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$/);
  return Date.parse(text) / 1000;
}

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
