// The file that the user's programs share as their pasteboard.
import assert from 'node:assert/strict';
import { randomBytes } from 'node:crypto';
import { chmodSync, closeSync, constants, fstatSync, mkdirSync, openSync, readFileSync, renameSync, statSync,
  writeFileSync } from 'node:fs';
import { join } from 'node:path';

const MAGIC = 'TVGPASTE';
const HEADER_SIZE = 20;
const LOCAL_ONLY = 1;
const EXPIRES = 2;
const TEXT = 0;
const REPEATED = 2;
const VERSION = 2;

// Older releases of Node.js have no CRC-32 of their own.
function crc32(bytes) {
  let crc = ~0;
  for (const byte of bytes) {
    crc ^= byte;
    for (let bit = 0; bit < 8; ++bit) crc = (crc >>> 1) ^ (crc & 1 ? 0xedb88320 : 0);
  }
  return ~crc >>> 0;
}

function u32(value) {
  const bytes = Buffer.alloc(4);
  bytes.writeUInt32LE(value);
  return bytes;
}

function f64(value) {
  const bytes = Buffer.alloc(8);
  bytes.writeDoubleLE(value);
  return bytes;
}

function block(text) {
  const bytes = Buffer.from(text, 'utf8');
  return Buffer.concat([u32(bytes.length), bytes]);
}

class Body {
  constructor(bytes) { this.rest = bytes; }
  take(size) {
    assert(size <= this.rest.length, 'the body ends early');
    const taken = this.rest.subarray(0, size);
    this.rest = this.rest.subarray(size);
    return taken;
  }
  u8() { return this.take(1)[0]; }
  u32() { return this.take(4).readUInt32LE(); }
  f64() { return this.take(8).readDoubleLE(); }
  text() { return new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(this.take(this.u32())); }
}

function readPrivately(directory) {
  const { uid, mode } = statSync(directory);
  assert.deepEqual([uid, mode & 0o7777], [process.getuid(), 0o700], 'a directory for the user alone');
  const descriptor = openSync(join(directory, 'pasteboard'), constants.O_RDONLY | constants.O_NOFOLLOW);
  try {
    const file = fstatSync(descriptor);
    assert(file.isFile());
    assert.deepEqual([file.uid, file.mode & 0o7777], [process.getuid(), 0o600], 'a file for the user alone');
    return readFileSync(descriptor);
  } finally {
    closeSync(descriptor);
  }
}

// Gives { localOnly, expires, items }, each item a map of type names to texts: a handoff has no bytes.
export function readPasteboard(directory) {
  const file = readPrivately(directory);
  const header = new Body(file.subarray(0, HEADER_SIZE));
  const bytes = file.subarray(HEADER_SIZE);
  assert.equal(header.take(MAGIC.length).toString('latin1'), MAGIC);
  assert.deepEqual([header.u32(), header.u32(), header.u32()], [VERSION, bytes.length, crc32(bytes)]);

  const body = new Body(bytes);
  const flags = body.u8();
  assert.equal(flags & ~(LOCAL_ONLY | EXPIRES), 0);
  const expires = flags & EXPIRES ? body.f64() : undefined;
  const items = Array.from({ length: body.u32() }, () => {
    let before;
    const values = Array.from({ length: body.u32() }, () => {
      const type = body.text();
      const kind = body.u8();
      assert(kind === TEXT || (kind === REPEATED && before !== undefined), 'a text, or the one before');
      const text = kind === TEXT ? body.text() : before;
      assert(kind === REPEATED || text !== before, 'a text that is repeated is there once');
      before = text;
      return [type, text];
    });
    const types = values.map(([type]) => type);
    assert.deepEqual(types, [...new Set(types)].sort(), 'ascending by type name');
    return new Map(values);
  });
  assert.equal(body.rest.length, 0, 'nothing after the last item');
  return { localOnly: (flags & LOCAL_ONLY) !== 0, expires, items };
}

// Puts one item of texts there. The rename makes readers find all of it or none, with no regard to the lock that
// other writers keep among themselves. `checksumOff` and `mode` make a file that must not be believed.
export function writePasteboard(directory, item, { expires, checksumOff = 0, mode = 0o600 }) {
  const values = [...item].sort(([one], [other]) => (one < other ? -1 : 1));
  const body = Buffer.concat([
    Buffer.from([LOCAL_ONLY | (expires === undefined ? 0 : EXPIRES)]),
    ...(expires === undefined ? [] : [f64(expires)]),
    u32(1), u32(values.length),
    ...values.flatMap(([type, text], index) => (index > 0 && values[index - 1][1] === text
      ? [block(type), Buffer.from([REPEATED])] : [block(type), Buffer.from([TEXT]), block(text)])),
  ]);
  const header = Buffer.concat([Buffer.from(MAGIC, 'latin1'), u32(VERSION), u32(body.length),
    u32((crc32(body) ^ checksumOff) >>> 0)]);
  mkdirSync(directory, { recursive: true, mode: 0o700 });
  const temporary = join(directory, `pasteboard.${randomBytes(8).toString('hex')}`);
  writeFileSync(temporary, Buffer.concat([header, body]), { flag: 'wx', mode: 0o600 });
  chmodSync(temporary, mode);
  renameSync(temporary, join(directory, 'pasteboard'));
}
