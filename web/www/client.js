// A client of the switch's monitoring API (/api/v2/monitoring/), meant to be
// copied into any page of the switch's web interface: one module, no
// dependencies, nothing but fetch.
//
//   import { Client, SessionError, ApiError } from './client.js';
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
// - A missing, unknown or expired session, and a read-only user's write,
//   answer HTTP 403 with an empty body: a SessionError.
// - Selectors go in the query string for every method; new values go as a
//   JSON body, which POST and PUT always carry (at least an empty one, as the
//   web server refuses a POST without a length).

export const API_BASE = '/api/v2/monitoring/';

// The result code of a walk's end: the switch has no further row.
export const NO_FURTHER_ROW = 10023;

export class SessionError extends Error {
  constructor(route) {
    super('The session has expired or is missing (or does not allow this request).');
    this.name = 'SessionError';
    this.route = route;
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

export class Client {
  constructor(session, { base = API_BASE, fetch = globalThis.fetch.bind(globalThis) } = {}) {
    this.session = session;
    this.base = base;
    this.fetch = fetch;
  }

  get(route, query, opts) { return this.data('GET', route, query, undefined, opts); }
  post(route, body = {}, query, opts) { return this.data('POST', route, query, body, opts); }
  put(route, body = {}, query, opts) { return this.data('PUT', route, query, body, opts); }
  delete(route, query, opts) { return this.data('DELETE', route, query, undefined, opts); }

  // The data member of a successful answer ({} when the route answers none);
  // throws ApiError, SessionError or a plain Error for a broken answer.
  async data(method, route, query, body, opts) {
    const envelope = await this.request(method, route, query, body, opts);
    const { respCode, respMsg } = envelope.resp;
    if (respCode !== 0) throw new ApiError(route, respCode, respMsg);
    return dataOf(envelope) ?? {};
  }

  // The whole envelope, whatever its respCode: for callers that show the
  // switch's answer as it is, or that treat some codes as normal.
  async request(method, route, query, body, { poll = false } = {}) {
    const headers = { Session: this.session ?? '' };
    if (poll) headers.Refresh = '1';
    const init = { method, headers };
    if (method === 'POST' || method === 'PUT') {
      headers['Content-Type'] = 'application/json';
      init.body = JSON.stringify(body ?? {});
    }
    const answer = await this.fetch(this.base + route + queryString(query), init);
    if (answer.status === 403) throw new SessionError(route);
    if (!answer.ok) throw new Error(`${route}: the web server answered HTTP ${answer.status}`);
    const text = await answer.text();
    let envelope;
    try {
      envelope = JSON.parse(text);
    } catch {
      throw new Error(`${route}: ${text ? 'the answer is not JSON' : 'the switch answered nothing'}`);
    }
    if (typeof envelope?.resp?.respCode !== 'number') throw new Error(`${route}: the answer has no result code`);
    return envelope;
  }

  // Walks a get-next route: sends `first` as the key of the first request,
  // then nextKey(data) of each answer as the key of the next one. The key
  // travels in the body for POST and in the query for GET, beside `query`.
  // The walk ends at a non-zero result code or at an empty next key (every
  // member "" or 0); a key that does not advance, or `limit` rows, end it too,
  // so that no answer can keep it going for ever. Returns the rows (the data
  // of every answer that named a next key) and the resp that ended the walk:
  // end.respCode is NO_FURTHER_ROW when the table simply has no more.
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
      if (rows.length >= limit || sameKey(next, key)) {
        return { rows, end: { respCode: -1, respMsg: 'the walk did not advance', status: 'fail' } };
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

function queryString(query) {
  if (!query) return '';
  const text = new URLSearchParams(Object.entries(query).map(([k, v]) => [k, String(v)])).toString();
  return text ? `?${text}` : '';
}

function isEmptyKey(key) {
  return !key || Object.values(key).every((v) => v === '' || v === 0 || v === undefined || v === null);
}

function sameKey(a, b) {
  return Object.keys(a).every((k) => a[k] === b?.[k]);
}
