// A client of the switch's monitoring API (/api/v2/monitoring/), meant to be
// copied into any page of the switch's web interface: one module, no
// dependencies, nothing but fetch. Its types are in client.d.ts beside it,
// generated from the API document.
//
//   import { Client, SessionError, PermissionError, ApiError } from './client.js';
//   const api = new Client(sessionId);
//   const { sysName } = await api.get('snmp/sys-name');
//   await api.put('snmp/sys-location', { sysLocation: 'Lab B' });
//   const stats = await api.get('stats/interface-stats', { ifNum: 1 }, { poll: true });
//   const { rows } = await api.walk('POST', 'snmp/community-get-next',
//       { communityName: '' }, (row) => ({ communityName: row.nextCommunityName }));
//
// What the API asks of a client, and where this module does it:
// - Every request carries the session identifier in the Session header.
// - Each request without a Refresh header moves the session's idle time-out
//   forward. Reads that a page repeats on a timer pass { poll: true }, which
//   sends Refresh, so that a page left open does not keep its session alive.
// - Every answer is the envelope { <family>: data, resp: { respCode, respMsg,
//   status } }; the data member is there only when respCode is 0. A non-zero
//   respCode becomes an ApiError carrying respCode and respMsg.
// - A missing, unknown or expired session answers HTTP 403 with an empty
//   body, and so does a live read-only session on anything but GET, POST
//   reads included. A GET with the same session tells the two apart:
//   SessionError when the session is gone, PermissionError when it lives.
// - Texts are bytes: the switch's names need not be UTF-8, and the program
//   copies them into its answers as they are. Answers are read byte-exactly;
//   a text that is not UTF-8 comes back as a Bytes, whose bytes go out again
//   unchanged when it is sent back in a body (a walk's next key).
// - Selectors go in the query string for every method, and the program reads
//   the query as it stands: it decodes neither %XX nor +. Values go out
//   unencoded, and a value that no query carries unchanged is refused before
//   anything is sent (QueryError). New values go as a JSON body, which POST
//   and PUT always carry (at least an empty one, as the web server refuses a
//   POST without a length).

export const API_BASE = '/api/v2/monitoring/';

// The result code of a walk's end: the switch has no further row.
export const NO_FURTHER_ROW = 10023;

// Every live session may read this; it is what a 403 is checked against.
const PROBE_ROUTE = 'snmp/sys-name';

export class SessionError extends Error {
  constructor(route) {
    super(`${route}: the session has expired or is missing.`);
    this.name = 'SessionError';
    this.route = route;
  }
}

// The session lives but may not do this: a read-only session's POST or
// write.
export class PermissionError extends Error {
  constructor(route, method) {
    super(`${route}: needs a read-write session (this session may read with GET only, and the switch takes ${method} for this route).`);
    this.name = 'PermissionError';
    this.route = route;
    this.method = method;
  }
}

export class ApiError extends Error {
  constructor(route, code, msg) {
    super(`${route}: ${msg || 'failed'} (result code ${code})`);
    this.name = 'ApiError';
    this.route = route;
    this.code = code;
    this.respMsg = msg;
  }
}

// A query value the program could not read as the caller meant it.
export class QueryError extends Error {
  constructor(route, key, value, why) {
    super(`${route}: ${key} ${shown(value)} cannot be sent: ${why}, and no query carries that to the switch `
      + 'unchanged (the switch reads the query as it stands, without decoding %XX or +). '
      + 'Use the switch\'s own command line for this row.');
    this.name = 'QueryError';
    this.route = route;
    this.key = key;
    this.value = value;
  }
}

// A text of the switch that is not valid UTF-8. It reads as the text a
// browser would show (each bad byte a U+FFFD); `bytes` are the switch's own.
export class Bytes extends String {
  constructor(bytes) {
    super(new TextDecoder().decode(Uint8Array.from(bytes)));
    this.bytes = Uint8Array.from(bytes);
  }

  get hex() {
    return [...this.bytes].map((b) => b.toString(16).padStart(2, '0')).join(' ');
  }
}

export class Client {
  constructor(session, { base = API_BASE, fetch = globalThis.fetch.bind(globalThis), probe = PROBE_ROUTE } = {}) {
    this.session = session;
    this.base = base;
    this.fetch = fetch;
    this.probe = probe;
  }

  get(route, query, opts) { return this.data('GET', route, query, undefined, opts); }
  post(route, body = {}, query, opts) { return this.data('POST', route, query, body, opts); }
  put(route, body = {}, query, opts) { return this.data('PUT', route, query, body, opts); }
  delete(route, query, opts) { return this.data('DELETE', route, query, undefined, opts); }

  // The data member of a successful answer ({} when the route answers none);
  // throws ApiError, SessionError, PermissionError, QueryError or a plain
  // Error for a broken answer.
  async data(method, route, query, body, opts) {
    const envelope = await this.request(method, route, query, body, opts);
    const { respCode, respMsg } = envelope.resp;
    if (respCode !== 0) throw new ApiError(route, respCode, respMsg);
    return dataOf(envelope) ?? {};
  }

  // The whole envelope, whatever its respCode: for callers that show the
  // switch's answer as it is, or that treat some codes as normal.
  async request(method, route, query, body, { poll = false } = {}) {
    const url = this.base + route + queryString(route, query);
    const headers = { Session: this.session ?? '' };
    if (poll) headers.Refresh = '1';
    const init = { method, headers };
    if (method === 'POST' || method === 'PUT') {
      headers['Content-Type'] = 'application/json';
      init.body = jsonBytes(body ?? {});
    }
    const answer = await this.fetch(url, init);
    if (answer.status === 403) throw await this.refusal(method, route);
    if (!answer.ok) throw new Error(`${route}: the web server answered HTTP ${answer.status}`);
    const bytes = new Uint8Array(await answer.arrayBuffer());
    let envelope;
    try {
      envelope = parseJson(bytes);
    } catch {
      throw new Error(`${route}: ${bytes.length ? 'the answer is not JSON' : 'the switch answered nothing'}`);
    }
    if (typeof envelope?.resp?.respCode !== 'number') throw new Error(`${route}: the answer has no result code`);
    return envelope;
  }

  // Why a 403: a GET that every live session may make, sent with Refresh so
  // that asking does not keep the session alive.
  async refusal(method, route) {
    if (method === 'GET' && route === this.probe) return new SessionError(route);
    const probe = await this.fetch(this.base + this.probe, { headers: { Session: this.session ?? '', Refresh: '1' } });
    if (probe.status === 403) return new SessionError(route);
    if (!probe.ok) return new Error(`${route}: refused (HTTP 403), and ${this.probe} answered HTTP ${probe.status}`);
    return new PermissionError(route, method);
  }

  // Walks a get-next route: sends `first` as the key of the first request,
  // then nextKey(data) of each answer as the key of the next one. The key
  // travels in the body for POST and in the query for GET, beside `query`.
  // The walk ends at a non-zero result code or at an empty next key (every
  // member "" or 0). It returns the rows (the data of every answer that
  // named a next key) and `end`, the resp of the last answer: end.respCode is
  // NO_FURTHER_ROW when the table simply has no more. The client stops a walk
  // itself, with `stopped` an Error naming the row, when a key does not
  // advance, when `limit` rows came, or when a GET's next key cannot be
  // sent in a query: rows are never skipped without a word.
  async walk(method, route, first, nextKey, { query, poll, limit = 10000 } = {}) {
    const rows = [];
    let key = first;
    for (;;) {
      const envelope = method === 'GET'
        ? await this.request(method, route, { ...query, ...key }, undefined, { poll })
        : await this.request(method, route, query, key, { poll });
      if (envelope.resp.respCode !== 0) return { rows, end: envelope.resp };
      const data = dataOf(envelope) ?? {};
      const next = nextKey(data);
      if (isEmptyKey(next)) return { rows, end: envelope.resp };
      rows.push(data);
      const stop = (why) => ({ rows, end: envelope.resp, stopped: new Error(`${route}: the walk stopped after ${describeKey(next)}: ${why}`) });
      if (sameKey(next, key)) return stop('the switch named the same row again');
      if (rows.length >= limit) return stop(`${limit} rows, the most a walk reads`);
      if (method === 'GET') {
        try {
          queryString(route, next);
        } catch (error) {
          return stop(error.message);
        }
      }
      key = next;
    }
  }
}

// The envelope's one member besides "resp"; its name is the family's word.
function dataOf(envelope) {
  const entry = Object.entries(envelope).find(([name]) => name !== 'resp');
  return entry ? entry[1] : undefined;
}

// Characters that reach the program unchanged inside a value: RFC 3986's
// query characters less the separators & and =, less "/" (dispatch cuts the
// operation at the URI's last "/", in the query too) and less "'" (browsers
// send it percent-encoded).
const QUERY_SAFE = /^[A-Za-z0-9\-._~!$()*+,;:@?]*$/;

function queryString(route, query) {
  if (!query) return '';
  const parts = [];
  for (const [key, value] of Object.entries(query)) {
    if (value === undefined) continue;
    parts.push(`${queryText(route, 'the key', key)}=${queryText(route, key, value)}`);
  }
  return parts.length ? `?${parts.join('&')}` : '';
}

function queryText(route, key, value) {
  if (value instanceof Bytes) throw new QueryError(route, key, value, 'its bytes are not UTF-8 text');
  const text = String(value);
  if (QUERY_SAFE.test(text)) return text;
  const bad = [...text].find((c) => !QUERY_SAFE.test(c));
  throw new QueryError(route, key, value, `it holds ${characterName(bad)}`);
}

function characterName(c) {
  const code = c.codePointAt(0);
  const hex = `U+${code.toString(16).toUpperCase().padStart(4, '0')}`;
  if (c === ' ') return 'a space';
  if (code < 0x20 || code === 0x7f) return `a control character (${hex})`;
  if (code > 0x7f) return `${shown(c)} (${hex}), which browsers send percent-encoded`;
  const meaning = { '&': 'which separates query entries', '=': 'which separates a key from its value',
    '#': 'which ends the query', '%': 'which web servers may decode with what follows',
    '/': 'which moves where the switch cuts the path' };
  return `"${c}"${meaning[c] ? `, ${meaning[c]}` : ', which browsers send percent-encoded'}`;
}

// A value in a message, quoted; direction controls written out, so that a
// name cannot turn the rest of the message around.
function shown(value) {
  if (value instanceof Bytes) return `(bytes ${value.hex})`;
  return JSON.stringify(String(value))
    .replace(/[\u200e\u200f\u202a-\u202e\u2066-\u2069]/g, (c) => `\\u${c.charCodeAt(0).toString(16)}`);
}

function describeKey(key) {
  return Object.entries(key).map(([name, value]) => `${name} ${shown(value)}`).join(', ');
}

// JSON as the program's writer makes it: a text is copied byte for byte, so
// the answer may hold bytes that are not UTF-8. When the whole answer is
// UTF-8 it is read as it is; otherwise each text is read from its own bytes.
const strictUtf8 = new TextDecoder('utf-8', { fatal: true });

function parseJson(bytes) {
  let text = null;
  try {
    text = strictUtf8.decode(bytes);
  } catch {
    return JSON.parse(latin1(bytes), (_, value) => (typeof value === 'string' ? textOfBytes(value) : value));
  }
  return JSON.parse(text);
}

// One character per byte, 0 to 255 ("latin1" in TextDecoder is windows-1252,
// which maps 0x80 to 0x9F elsewhere).
function latin1(bytes) {
  let text = '';
  for (let i = 0; i < bytes.length; i += 8192) text += String.fromCharCode(...bytes.subarray(i, i + 8192));
  return text;
}

function textOfBytes(chars) {
  if (/[^\0-\xff]/.test(chars)) return chars; // an escape the program does not write
  const bytes = Uint8Array.from(chars, (c) => c.charCodeAt(0));
  try {
    return strictUtf8.decode(bytes);
  } catch {
    return new Bytes(bytes);
  }
}

// The body as bytes: texts as UTF-8, a Bytes as its own bytes.
function jsonBytes(value) {
  const utf8 = new TextEncoder();
  const text = JSON.stringify(value, (_, v) => {
    if (v instanceof Bytes) return latin1(v.bytes);
    return typeof v === 'string' ? latin1(utf8.encode(v)) : v;
  });
  return Uint8Array.from(text, (c) => c.charCodeAt(0));
}

function isEmptyKey(key) {
  return !key || Object.values(key).every((v) => v === '' || v === 0 || v === undefined || v === null);
}

function sameKey(a, b) {
  return Object.keys(a).every((k) => sameValue(a[k], b?.[k]));
}

function sameValue(a, b) {
  if (a instanceof Bytes || b instanceof Bytes) {
    return a instanceof Bytes && b instanceof Bytes && a.bytes.length === b.bytes.length
      && a.bytes.every((byte, i) => byte === b.bytes[i]);
  }
  return a === b;
}
