// The API document (build/www/openapi.json) held against the program by tools
// that know nothing but the document: Redocly's linter, and Prism as a
// validating proxy in front of the web server, which holds every request and
// answer to its operation. Each route is called once with the inputs the
// document gives as its examples.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn, execFile } from 'node:child_process';
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { promisify } from 'node:util';
import { root, startWorld, freePort } from './world.mjs';

const bin = (name) => join(root, 'web/node_modules/.bin', name);
const docPath = join(root, 'build/www/openapi.json');
const METHODS = ['get', 'post', 'put', 'delete'];

let doc;
let operations;
before(async () => {
  const text = await readFile(docPath, 'utf8').catch(() => assert.fail(`${docPath} is missing: scripts/build writes it`));
  doc = JSON.parse(text);
  operations = Object.entries(doc.paths).flatMap(([path, item]) =>
    METHODS.filter((m) => item[m]).map((method) => ({ path, method, op: item[method] })));
});

test('Redocly lints the document with no error', async () => {
  const lint = promisify(execFile)(bin('redocly'), ['lint', '--format=stylish', docPath],
    { env: { ...process.env, REDOCLY_TELEMETRY: 'off', REDOCLY_SUPPRESS_UPDATE_NOTICE: 'true' }, maxBuffer: 1 << 24 });
  // Redocly exits non-zero when it found an error; its report says which,
  // among the warnings, which are left to the document's authors.
  await lint.catch((failure) => assert.fail(`redocly lint failed:\n${`${failure.stdout}${failure.stderr}`
    .split('\n').filter((line) => /\berror\b|failed/i.test(line)).join('\n')}`));
});

test('the document lists the 366 routes, each taking Refresh and answering the envelope or an empty 403', () => {
  assert.match(doc.openapi, /^3\.1\./);
  assert.equal(operations.length, 366);
  const ids = new Set(operations.map((o) => o.op.operationId));
  assert.equal(ids.size, operations.length, 'operationIds are unique');
  const response = (op, status) => {
    const r = op.responses?.[status];
    return r?.$ref ? resolve(r.$ref) : r;
  };
  const incomplete = operations.filter(({ op }) =>
    !response(op, '200')?.content?.['application/json']?.schema || !response(op, '403') || response(op, '403').content
    || !op.parameters?.some((p) => p.$ref === '#/components/parameters/Refresh'));
  assert.deepEqual(incomplete.map((o) => `${o.method} ${o.path}`), []);
  const put = doc.paths['/api/v2/monitoring/snmp/sys-location'].put;
  assert.deepEqual([put.summary, put.requestBody.required], ['Sets the system location (sysLocation)', true]);
});

// The request an outside client would build from the document alone.
function requestOf({ path, method, op }) {
  const query = new URLSearchParams();
  const missing = [];
  for (const p of op.parameters ?? []) {
    const parameter = p.$ref ? resolve(p.$ref) : p;
    if (parameter.in !== 'query') continue;
    const example = parameter.example ?? parameter.schema?.example ?? parameter.schema?.default;
    if (example !== undefined) query.append(parameter.name, String(example));
    else if (parameter.required) missing.push(parameter.name);
  }
  const content = op.requestBody?.content?.['application/json'];
  const body = content ? JSON.stringify(content.example ?? content.schema?.example ?? {}) : '';
  if (content && content.example === undefined && content.schema?.example === undefined) missing.push('body example');
  const headers = { Session: '', ...(body || method === 'post' || method === 'put' ? { 'Content-Type': 'application/json' } : {}) };
  const search = query.toString();
  return { url: path + (search ? `?${search}` : ''), init: { method: method.toUpperCase(), headers, body: method === 'get' || method === 'delete' ? undefined : body }, missing };
}

function resolve(ref) {
  return ref.slice(2).split('/').reduce((node, key) => node[key.replaceAll('~1', '/').replaceAll('~0', '~')], doc);
}

// Writes come after every read, so that reads see the default switch.
test('every route answers as its operation describes, to Prism', async (t) => {
  const world = await startWorld();
  const prismPort = await freePort();
  // --errors: a request or answer that does not fit its operation is answered
  // 4xx or 500 with Prism's list of violations instead.
  const prism = spawn(bin('prism'), ['proxy', docPath, world.base, '--port', String(prismPort), '--host', '127.0.0.1', '-v', 'warn', '--errors'],
    { stdio: ['ignore', 'pipe', 'pipe'] });
  let prismLog = '';
  prism.stdout.on('data', (chunk) => { prismLog += chunk; });
  prism.stderr.on('data', (chunk) => { prismLog += chunk; });
  try {
    await waitForPrism(prismPort, () => prismLog);
    const problems = [];
    let succeeded = 0;
    const order = ['get', 'post', 'put', 'delete'];
    const sorted = [...operations].sort((a, b) => order.indexOf(a.method) - order.indexOf(b.method));
    for (const operation of sorted) {
      const name = `${operation.method.toUpperCase()} ${operation.path}`;
      const { url, init, missing } = requestOf(operation);
      if (missing.length) problems.push(`${name}: the document gives no example for ${missing.join(', ')}`);
      init.headers.Session = world.session;
      const answer = await fetch(`http://127.0.0.1:${prismPort}${url}`, init);
      const text = await answer.text();
      if (answer.status !== 200) {
        problems.push(`${name}: HTTP ${answer.status} ${text.slice(0, 2000)}`);
        continue;
      }
      // Prism let it through, so it is JSON that fits the operation.
      if (JSON.parse(text).resp?.respCode === 0) succeeded += 1;
    }
    t.diagnostic(`${sorted.length} routes called, ${succeeded} answered success`);

    // Without a session every route answers 403 with an empty body (straight
    // to the server: Prism itself refuses a request that lacks the header).
    const refused = await fetch(`${world.base}/api/v2/monitoring/snmp/sys-name`);
    const refusedBody = await refused.text();
    if (refused.status !== 403 || refusedBody !== '') {
      problems.push(`GET /api/v2/monitoring/snmp/sys-name without a session: HTTP ${refused.status} ${refusedBody.slice(0, 200)}`);
    }
    if (problems.length) assert.fail(`${problems.length} mismatches:\n${problems.join('\n')}`);
  } finally {
    prism.kill('SIGTERM');
    await world.stop();
  }
});

async function waitForPrism(port, log) {
  for (let i = 0; i < 300; i += 1) {
    if (await fetch(`http://127.0.0.1:${port}/`).then(() => true, () => false)) return;
    await new Promise((done) => setTimeout(done, 100));
  }
  throw new Error(`Prism did not start in 30 s:\n${log()}`);
}
