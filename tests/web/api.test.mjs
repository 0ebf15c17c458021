// The API document (build/www/openapi.json) held against the program by tools
// that know nothing but the document: Redocly's linter, and Prism as a
// validating proxy in front of the web server, which holds every request and
// answer to its operation. Every route is called with the inputs the document
// gives as examples; then with requests made from the document's schemas
// alone: each choice's other words, each integer at both ends of its range,
// each GET's data written back by the PUT beside it, each required key left
// out.
import { test, describe, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, execFile } from 'node:child_process';
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { promisify, isDeepStrictEqual } from 'node:util';
import { root, startWorld, freePort } from './world.mjs';

const bin = (name) => join(root, 'web/node_modules/.bin', name);
const docPath = join(root, 'build/www/openapi.json');
const PREFIX = '/api/v2/monitoring/';
const METHODS = ['get', 'post', 'put', 'delete'];
const INVALID_ARGUMENT = 10003;

const doc = JSON.parse(await readFile(docPath, 'utf8').catch(() => {
  throw new Error(`${docPath} is missing: scripts/build writes it`);
}));
// Reads first, so that they see the switch before any write of the group.
const operations = Object.entries(doc.paths).flatMap(([path, item]) =>
  METHODS.filter((m) => item[m]).map((method) => ({ path, method, op: item[method], name: `${method.toUpperCase()} ${path}` })))
  .sort((a, b) => METHODS.indexOf(a.method) - METHODS.indexOf(b.method));

function resolve(ref) {
  return ref.slice(2).split('/').reduce((node, key) => node[key.replaceAll('~1', '/').replaceAll('~0', '~')], doc);
}
const deref = (node) => (node?.$ref ? resolve(node.$ref) : node);
const queryParameters = (op) => (op.parameters ?? []).map(deref).filter((p) => p.in === 'query');
const jsonBody = (op) => op.requestBody?.content?.['application/json'];

// The form of a schema that holds values of interest: of `anyOf` (a number
// or its digits, a value or null), the branch with words, a number, an
// object or a list.
function form(schema) {
  if (!schema?.anyOf) return schema ?? {};
  const { anyOf, ...outer } = schema;
  return anyOf.map((f) => ({ ...outer, ...f })).find((f) => f.enum || ['integer', 'object', 'array'].includes(f.type)) ?? schema;
}

// The envelope's forms: the data member's key and schema on success (null
// for a route that answers no data), and the result codes it lists.
function answerOf(op) {
  const schema = op.responses['200'].content['application/json'].schema;
  const forms = (schema.anyOf ?? [schema]).map(deref);
  const success = forms.find((f) => f.properties.resp.$ref === '#/components/schemas/Resp0');
  const [[dataKey, data] = [null, null]] = Object.entries(success?.properties ?? {}).filter(([key]) => key !== 'resp');
  const codes = forms.flatMap((f) => (f.properties.resp.oneOf ?? [f.properties.resp]))
    .map((r) => resolve(r.$ref).properties.respCode.const);
  return { dataKey, data, codes };
}

// The request the document gives as its example.
function exampleOf({ op }) {
  const query = {};
  const missing = [];
  for (const parameter of queryParameters(op)) {
    const example = parameter.example ?? parameter.schema?.example ?? parameter.schema?.default;
    if (example !== undefined) query[parameter.name] = example;
    else if (parameter.required) missing.push(parameter.name);
  }
  const content = jsonBody(op);
  const body = content ? structuredClone(content.example ?? content.schema?.example) : undefined;
  if (content && body === undefined) missing.push('body example');
  return { query, body, missing };
}

// Every value of the example request with its place (query or body, the
// path to it), its schema and whether it is required. Members of a nested
// object count where the example holds that object; of a list, its first
// element.
function valuesOf(op, example) {
  const values = queryParameters(op).map((p) => ({ where: 'query', path: [p.name], schema: p.schema, required: p.required, description: p.description }));
  const content = jsonBody(op);
  const visit = (schema, value, path) => {
    const f = form(schema);
    // A list's first element; a list of numbers or words may be empty.
    const item = form(f.items);
    if (f.type === 'array' && Array.isArray(value) && (value.length || item.enum || item.type === 'integer')) {
      values.push({ where: 'body', path: [...path, 0], schema: f.items, required: false, description: f.items.description ?? '' });
      visit(f.items, value[0], [...path, 0]);
    }
    if (f.type !== 'object' || value === null || typeof value !== 'object') return;
    for (const [key, member] of Object.entries(f.properties ?? {})) {
      const required = (f.required ?? []).includes(key);
      values.push({ where: 'body', path: [...path, key], schema: member, required, description: member.description ?? '' });
      if (key in value) visit(member, value[key], [...path, key]);
    }
  };
  if (content && example.body !== undefined) visit(content.schema, example.body, []);
  return values;
}

const valueAt = (request, { where, path }) => path.reduce((node, key) => node?.[key], where === 'query' ? request.query : request.body);
const placeName = ({ where, path }) => `${where} ${path.join('.')}`;

// The example request with one value replaced, or left out (`undefined`).
function varied(example, { where, path }, value) {
  const request = { query: { ...example.query }, body: structuredClone(example.body) };
  let holder = where === 'query' ? request.query : request.body;
  for (const key of path.slice(0, -1)) holder = holder[key];
  if (value === undefined) delete holder[path.at(-1)];
  else holder[path.at(-1)] = value;
  return request;
}

// The ends of an integer's range, as the schema gives them: its minimum
// and maximum, or the next value in when the schema excludes that one.
function endsOf(schema) {
  const f = form(schema);
  if (f.type !== 'integer' || f.minimum === undefined || f.maximum === undefined) return null;
  const excluded = f.not?.const;
  return [f.minimum === excluded ? f.minimum + 1 : f.minimum, f.maximum === excluded ? f.maximum - 1 : f.maximum];
}

// Characters that reach the program unchanged inside a query value, as the
// client module has them: a URL's query characters less the separators, "/"
// (the program cuts the operation at the last one) and "'" (encoded by fetch).
const QUERY_SAFE = /^[A-Za-z0-9\-._~!$()*+,;:@?]*$/;

// Sends requests as the program reads them: query values as they stand (it
// decodes neither %XX nor +), the body as JSON where the operation takes
// one and empty otherwise (the web server wants a length on every POST and
// PUT). Resolves to the envelope; anything but 200 (Prism's list of
// violations among them) rejects with its text.
function sender(base, session) {
  return async ({ path, method }, { query, body }) => {
    const unsafe = Object.entries(query).find(([, value]) => !QUERY_SAFE.test(String(value)));
    if (unsafe) throw new Error(`query ${unsafe[0]} ${JSON.stringify(unsafe[1])} cannot go in a query unchanged`);
    const search = Object.entries(query).map(([key, value]) => `${key}=${value}`).join('&');
    const init = { method: method.toUpperCase(), headers: { Session: session } };
    if (method === 'post' || method === 'put') {
      init.headers['Content-Type'] = 'application/json';
      init.body = body === undefined ? '' : JSON.stringify(body);
    }
    const answer = await fetch(`${base}${path}${search ? `?${search}` : ''}`, init);
    const text = await answer.text();
    if (answer.status !== 200) throw new Error(`HTTP ${answer.status} ${text.slice(0, 2000)}`);
    return JSON.parse(text);
  };
}

// The PUTs that take back what the GET beside them reads: every input of the
// PUT is named by the GET, as a query key or a member of its data (body
// members matched ignoring case, as the program matches them), and one at
// least is data. The GET's data member is under dataKey.
const writeBacks = operations.filter((o) => o.method === 'put' && doc.paths[o.path].get).flatMap((put) => {
  const get = operations.find((o) => o.path === put.path && o.method === 'get');
  const { dataKey, data } = answerOf(get.op);
  const dataMembers = Object.keys(form(data).properties ?? {}).map((k) => k.toLowerCase());
  const named = new Set([...queryParameters(get.op).map((p) => p.name.toLowerCase()), ...dataMembers]);
  const inputs = [...queryParameters(put.op).map((p) => p.name), ...Object.keys(jsonBody(put.op)?.schema.properties ?? {})]
    .map((name) => name.toLowerCase());
  const takesBack = inputs.every((name) => named.has(name)) && inputs.some((name) => dataMembers.includes(name));
  return takesBack ? [{ get, put, dataKey, dataMembers }] : [];
});

// The PUT's request from the GET's query and the data it answered; `missing`
// names the inputs the answer did not give.
function writtenBack(put, query, data) {
  const request = { query: {}, body: jsonBody(put.op) ? {} : undefined, missing: [] };
  const give = (holder, name, place) => {
    const read = lookup(data, name);
    const value = read === undefined ? query[name] : read;
    if (value === undefined) request.missing.push(`${place}${name}`);
    else holder[name] = value;
  };
  for (const { name } of queryParameters(put.op)) give(request.query, name, 'query ');
  for (const name of Object.keys(jsonBody(put.op)?.schema.properties ?? {})) give(request.body, name, '');
  return request;
}

// The GET's example request reading where a PUT wrote: its selectors as the
// PUT's request gives them.
function readerOf(get, written) {
  const request = exampleOf(get);
  for (const name of Object.keys(request.query)) {
    const value = lookup(written.query, name) ?? lookup(written.body ?? {}, name);
    if (value !== undefined) request.query[name] = value;
  }
  return request;
}

// A member by its name ignoring case, as the program finds body members.
function lookup(object, name) {
  const key = Object.keys(object).find((k) => k.toLowerCase() === name.toLowerCase());
  return key === undefined ? undefined : object[key];
}

test('Redocly lints the document with no error', async () => {
  const lint = promisify(execFile)(bin('redocly'), ['lint', '--format=stylish', docPath],
    { env: { ...process.env, REDOCLY_TELEMETRY: 'off', REDOCLY_SUPPRESS_UPDATE_NOTICE: 'true' }, maxBuffer: 1 << 24 });
  // Redocly exits non-zero when it found an error; its report says which,
  // among the warnings, which are left to the document's authors.
  await lint.catch((failure) => assert.fail(`redocly lint failed:\n${`${failure.stdout}${failure.stderr}`
    .split('\n').filter((line) => /\berror\b|failed/i.test(line)).join('\n')}`));
});

test('the document lists the 366 routes as clients know them, each taking Refresh and answering the envelope or an empty 403', async () => {
  assert.match(doc.openapi, /^3\.1\./);
  // Clients are written against these paths, methods and operationIds
  // (operations.txt): one that changes breaks them, and must be meant.
  const known = (await readFile(join(import.meta.dirname, 'operations.txt'), 'utf8')).trim().split('\n');
  const listed = operations.map(({ path, method, op }) => `${method.toUpperCase()} ${path} ${op.operationId}`);
  assert.deepEqual(listed.filter((o) => !known.includes(o)), [], 'operations that clients do not know');
  assert.deepEqual(known.filter((o) => !listed.includes(o)), [], 'operations that clients know and the document lost');
  assert.equal(operations.length, 366);
  const ids = new Set(operations.map((o) => o.op.operationId));
  assert.equal(ids.size, operations.length, 'operationIds are unique');
  const incomplete = operations.filter(({ op }) =>
    !deref(op.responses?.['200'])?.content?.['application/json']?.schema || !deref(op.responses?.['403'])
    || deref(op.responses['403']).content || !op.parameters?.some((p) => p.$ref === '#/components/parameters/Refresh'));
  assert.deepEqual(incomplete.map((o) => o.name), []);
  const put = doc.paths[`${PREFIX}snmp/sys-location`].put;
  assert.deepEqual([put.summary, put.requestBody.required], ['Sets the system location (sysLocation)', true]);
});


describe('through Prism, which knows only the document', () => {
  let world;
  let prism;
  let call;
  let direct;
  before(async () => {
    world = await startWorld();
    const port = await freePort();
    // --errors: a request or answer that does not fit its operation is
    // answered 4xx or 500 with Prism's list of violations instead.
    prism = spawn(bin('prism'), ['proxy', docPath, world.base, '--port', String(port), '--host', '127.0.0.1', '-v', 'warn', '--errors'],
      { stdio: ['ignore', 'pipe', 'pipe'] });
    let log = '';
    prism.stdout.on('data', (chunk) => { log += chunk; });
    prism.stderr.on('data', (chunk) => { log += chunk; });
    await waitForPrism(port, () => log);
    call = sender(`http://127.0.0.1:${port}`, world.session);
    direct = sender(world.base, world.session);
  });
  after(async () => {
    prism?.kill('SIGTERM');
    await world?.stop();
  });

  // Calls each request in turn, and then() with each answer that Prism let
  // through (it fits its operation); returns the problems and how many
  // answered success.
  async function run(requests) {
    const problems = [];
    let succeeded = 0;
    for (const { operation, request, what, then } of requests) {
      const envelope = await call(operation, request).catch((error) => {
        problems.push(`${operation.name}${what ? ` (${what})` : ''}: ${error.message}`);
      });
      if (!envelope) continue;
      if (envelope.resp.respCode === 0) succeeded += 1;
      await then?.(envelope, problems);
    }
    return { problems, succeeded };
  }
  const report = (problems) => {
    if (problems.length) assert.fail(`${problems.length} mismatches:\n${problems.join('\n')}`);
  };

  test('every route answers its example request as its operation describes', async (t) => {
    const missing = operations.filter((o) => exampleOf(o).missing.length)
      .map((o) => `${o.name}: the document gives no example for ${exampleOf(o).missing.join(', ')}`);
    const { problems, succeeded } = await run(operations.map((operation) => ({ operation, request: exampleOf(operation) })));
    t.diagnostic(`${operations.length} routes called, ${succeeded} answered success`);
    // Without a session every route answers 403 with an empty body (straight
    // to the server: Prism itself refuses a request that lacks the header).
    const refused = await fetch(`${world.base}${PREFIX}snmp/sys-name`);
    const refusedBody = await refused.text();
    if (refused.status !== 403 || refusedBody !== '') {
      problems.push(`GET ${PREFIX}snmp/sys-name without a session: HTTP ${refused.status} ${refusedBody.slice(0, 200)}`);
    }
    report([...missing, ...problems]);
  });

  test("a GET's data written back by the PUT beside it is taken and reads back the same", async (t) => {
    await world.ctl('reset');
    const problems = [];
    const send = (operation, request, what = operation.name) =>
      call(operation, request).catch((error) => { problems.push(`${what}: ${error.message}`); return null; });
    const skipped = [];
    let sent = 0;
    let taken = 0;
    for (const { get, put, dataKey } of writeBacks) {
      // The PUT's example first: when the switch takes it, the GET reads a
      // value that this PUT wrote, and the switch must take it once more.
      const written = exampleOf(put);
      const set = await send(put, written);
      const example = readerOf(get, written);
      const read = await send(get, example);
      if (read?.resp.respCode !== 0) {
        skipped.push(`${put.name} (the GET answered ${read?.resp.respCode})`);
        continue;
      }
      const data = read[dataKey];
      const request = writtenBack(put, example.query, data);
      if (request.missing.length) {
        skipped.push(`${put.name} (the GET gave no ${request.missing.join(', ')})`);
        continue;
      }
      const what = `${put.name} with ${JSON.stringify(request.query)} ${JSON.stringify(request.body)}`;
      const answer = await send(put, request, what);
      sent += 1;
      if (!answer) continue;
      if (set?.resp.respCode !== 0) {
        skipped.push(`${put.name} (its example answered ${set?.resp.respCode}, the data read ${answer.resp.respCode})`);
        continue;
      }
      if (answer.resp.respCode !== 0) {
        problems.push(`${what}: answered ${answer.resp.respCode} ${answer.resp.respMsg}`);
        continue;
      }
      taken += 1;
      const again = await send(get, example, `${get.name} again`);
      if (again && !isDeepStrictEqual(again[dataKey], data)) {
        problems.push(`${get.name} after ${what}: read ${JSON.stringify(again[dataKey])}, before ${JSON.stringify(data)}`);
      }
    }
    t.diagnostic(`${writeBacks.length} PUTs take their GET's data: ${sent} written back, ${taken} of them `
      + 'after the switch took their example, and those taken again and read back the same');
    if (skipped.length) t.diagnostic(`not held to success: ${skipped.join(', ')}`);
    assert.ok(taken > 0, 'no data of a GET was written back');
    report(problems);
  });

  test('each required key left out is refused with 10003, as its operation says', async (t) => {
    const refusal = resolve(`#/components/schemas/Resp${INVALID_ARGUMENT}`).properties;
    const expected = { resp: { respCode: INVALID_ARGUMENT, respMsg: refusal.respMsg.const, status: refusal.status.const } };
    const problems = [];
    let sent = 0;
    for (const operation of operations) {
      const example = exampleOf(operation);
      const required = valuesOf(operation.op, example).filter((v) => v.required && valueAt(example, v) !== undefined);
      if (!required.length) continue;
      if (!answerOf(operation.op).codes.includes(INVALID_ARGUMENT)) {
        problems.push(`${operation.name}: requires ${required.map(placeName).join(', ')} but lists no ${INVALID_ARGUMENT}`);
      }
      for (const value of required) {
        const what = `${operation.name} without ${placeName(value)}`;
        if (!value.description.includes(String(INVALID_ARGUMENT))) problems.push(`${what}: its description does not say ${INVALID_ARGUMENT}`);
        // Straight to the web server: Prism refuses the request itself, as
        // the document says it should.
        sent += 1;
        const answer = await direct(operation, varied(example, value, undefined)).catch((error) => ({ error: error.message }));
        if (!isDeepStrictEqual(answer, expected)) problems.push(`${what}: ${JSON.stringify(answer).slice(0, 300)}`);
      }
    }
    t.diagnostic(`${sent} requests without a required key`);
    report(problems);
  });

  test('every other word of each choice passes, and a word the switch took reads back', async (t) => {
    await world.ctl('reset');
    const pairs = new Map(writeBacks.map((pair) => [pair.put, pair]));
    let readBack = 0;
    const requests = operations.flatMap((operation) => {
      const example = exampleOf(operation);
      return valuesOf(operation.op, example).flatMap((value) => {
        const now = valueAt(example, value);
        const paired = pairs.get(operation);
        const shows = value.where === 'body' && value.path.length === 1 && paired?.dataMembers.includes(value.path[0].toLowerCase());
        const pair = shows ? paired : undefined;
        return (form(value.schema).enum ?? []).filter((word) => word !== now).map((word) => {
          const request = varied(example, value, word);
          const what = `${placeName(value)} ${JSON.stringify(word)}`;
          // A member that the GET beside the PUT shows reads back the word
          // written, once the switch took it.
          const then = pair && (async (envelope, problems) => {
            if (envelope.resp.respCode !== 0) return;
            const read = await call(pair.get, readerOf(pair.get, request))
              .catch((error) => { problems.push(`${pair.get.name} after ${operation.name} (${what}): ${error.message}`); });
            if (!read) return;
            readBack += 1;
            const shown = read.resp.respCode === 0 ? lookup(read[pair.dataKey], value.path[0]) : `result ${read.resp.respCode}`;
            if (shown !== word) problems.push(`${pair.get.name} after ${operation.name} (${what}): reads ${JSON.stringify(shown)}`);
          });
          return { operation, request, what, then };
        });
      });
    });
    const { problems, succeeded } = await run(requests);
    t.diagnostic(`${requests.length} requests with another word, ${succeeded} answered success, ${readBack} read back`);
    report(problems);
  });

  test('each integer at both ends of its range passes and is answered as described', async (t) => {
    await world.ctl('reset');
    const unbounded = [];
    const requests = operations.flatMap((operation) => {
      const example = exampleOf(operation);
      return valuesOf(operation.op, example).flatMap((value) => {
        if (form(value.schema).type !== 'integer') return [];
        const ends = endsOf(value.schema);
        if (!ends) {
          unbounded.push(`${operation.name} ${placeName(value)}`);
          return [];
        }
        return ends.map((end) => ({ operation, request: varied(example, value, end), what: `${placeName(value)} ${end}` }));
      });
    });
    const { problems, succeeded } = await run(requests);
    t.diagnostic(`${requests.length} requests at the end of a range, ${succeeded} answered success`);
    // The program reads every integer into a type of its own (ifNum 4294967297 would read port 1).
    assert.deepEqual(unbounded, [], 'the integers the document gives no range');
    report(problems);
  });
});

async function waitForPrism(port, log) {
  for (let i = 0; i < 300; i += 1) {
    if (await fetch(`http://127.0.0.1:${port}/`).then(() => true, () => false)) return;
    await new Promise((done) => setTimeout(done, 100));
  }
  throw new Error(`Prism did not start in 30 s:\n${log()}`);
}
