// The monitoring page and the explorer in Chromium, against the default
// simulated switch, checked as a person would look at them. The tests run in
// order on one page: the session is removed last.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { stat, rm } from 'node:fs/promises';
import { join } from 'node:path';
import { startWorld, launchBrowser, artifacts, accessibilityProblems } from './world.mjs';

let world;
let browser;
let page;
const consoleErrors = [];
const pageErrors = [];

before(async () => {
  world = await startWorld();
  browser = await launchBrowser({ viewport: { width: 1280, height: 1000 } });
  page = await browser.context.newPage();
  page.on('console', (message) => { if (message.type() === 'error') consoleErrors.push(message.text()); });
  page.on('pageerror', (error) => pageErrors.push(error.message));
  await page.goto(world.pageUrl);
});

after(async () => {
  await browser?.close();
  await world?.stop();
});

const text = (selector) => page.locator(selector).innerText();
const rows = (section) => page.locator(`#${section} tbody tr`).evaluateAll(
  (trs) => trs.map((tr) => [...tr.cells].map((c) => c.innerText)));
const until = (fn, arg, timeout = 10000) => page.waitForFunction(fn, arg, { timeout });
const counters = async (name) => (await rows('interfaces')).find((r) => r[0] === name);
const number = (cell) => Number(cell.replaceAll(',', ''));

test('opens on live data with the session of the link, which leaves the address bar', async () => {
  await until(() => document.querySelector('#sys-name').textContent !== '');
  assert.equal(await text('#sys-name'), 'SIM-2428X-5A3BC0');
  assert.equal(new URL(page.url()).hash, '');
  assert.equal(await page.evaluate(() => sessionStorage.getItem('monitoring.session')), world.session);
});

test('lists the neighbours, receivers, communities and monitor sessions of the default switch', async () => {
  await until(() => document.querySelectorAll('#neighbours tbody tr').length === 4
    && document.querySelectorAll('#receivers tbody tr').length === 8
    && document.querySelectorAll('#communities tbody tr').length === 2
    && document.querySelectorAll('#monitor-sessions tbody tr').length === 4);
  assert.deepEqual(await rows('neighbours'), [
    ['1/0/5', '192.168.20.57', '00:04:F2:8C:1A:3E', 'phone-4117', 'bridge, telephone (telephone)'],
    ['1/0/9', '3C:EC:EF:1A:27:5E', '3C:EC:EF:1A:27:5F', 'db01.example.net', 'bridge, router, station (station)'],
    ['1/0/12', '00:1E:C9:A2:44:10', '1/0/48', 'access-sw2', 'bridge, router (bridge)'],
    ['1/0/25', '00:25:90:7C:1E:00', 'Te1/0/1', 'dist-sw1', 'bridge, router (bridge, router)'],
  ]);
  assert.deepEqual((await rows('receivers'))[0], ['1', '(free)', '-', '6343', '1400', '-']);
  assert.deepEqual(await rows('communities'), [
    ['private', 'rw', 'Default', 'any'], ['public', 'ro', 'Default', 'any']]);
  assert.deepEqual((await rows('monitor-sessions'))[0], ['1', 'disable', '1/0/1 both, 1/0/2 rx', '1/0/24', '-']);
  assert.deepEqual(await accessibilityProblems(page), []);
});

// Polling sends Refresh, so the session file is not rewritten by it.
test('the counters of a busy port grow between two refreshes, without keeping the session alive', async () => {
  const sessionFile = join(world.sandbox, 'tmp/session', world.session);
  // Rates need two reads: start from the first one, not from the empty table.
  await until(() => document.querySelector('#interfaces-when').textContent !== '');
  const before = await counters('1/0/1');
  const touched = (await stat(sessionFile)).mtimeMs;
  const read = await text('#interfaces-when');
  await until((last) => document.querySelector('#interfaces-when').textContent !== last, read);
  const after = await counters('1/0/1');
  for (const column of [1, 2, 5, 6]) assert.ok(number(after[column]) > number(before[column]), `column ${column}: ${before} -> ${after}`);
  assert.match(after[4], /^[1-9][\d.]* [kMG]?bit\/s · [\d.]+ k? ?pkt\/s$/);
  assert.deepEqual((await counters('1/0/17')).slice(1, 4), ['0', '0', '0'], 'a port without link counts nothing');
  assert.equal((await stat(sessionFile)).mtimeMs, touched, 'a polled read rewrote the session');
});

test('the location form writes through the API, shows the answer and the table shows the new value', async () => {
  const location = `Lab B, rack ${Date.now() % 1000}`;
  await page.fill('#location-input', location);
  await page.click('#location-form button');
  await until((want) => document.querySelector('#sys-location').textContent === want, location);
  assert.equal(await text('#location-answer'), 'switch answered: 0 Success (success)');
  const answer = await fetch(`${world.base}/api/v2/monitoring/snmp/sys-location`, { headers: { Session: world.session } });
  assert.equal((await answer.json()).snmp.sysLocation, location);
  await page.screenshot({ path: join(artifacts, 'page.png'), fullPage: true });
});

test('a route that answers a failure shows its message in its section', async (t) => {
  const cases = [
    { op: 'openapiSnmpSysContactGet', section: 'system', message: 'snmp/sys-contact: General Failed (result code 10000)' },
    { op: 'openapiSnmpCommunityGetNext', section: 'communities', message: 'snmp/community-get-next: General Failed (result code 10000)' },
    { op: 'openapiSflowRcvrPortGet', section: 'receivers', message: 'sflow/rcvr-port: General Failed (result code 10000)' },
  ];
  for (const { op, section, message } of cases) {
    await t.test(op, async () => {
      await world.ctl('fault', op, '-1');
      try {
        await page.click('#reload');
        await until((s) => !document.querySelector(`#${s} .problem`).hidden, section);
        assert.equal(await text(`#${section} .problem`), message);
      } finally {
        await world.ctl('fault', 'clear');
      }
      await page.click('#reload');
      await until((s) => document.querySelector(`#${s} .problem`).hidden, section);
    });
  }
});

test('the browser console shows no error', () => {
  assert.deepEqual([...pageErrors, ...consoleErrors], []);
});

// What the development server adds to every answer, and the size it takes.
test('the page, the explorer and the answers carry the security headers; a body above 64 KiB is refused', async () => {
  const api = `${world.base}/api/v2/monitoring`;
  const session = { Session: world.session };
  const answers = {
    page: await fetch(`${world.base}/`),
    module: await fetch(`${world.base}/client.js`),
    explorer: await fetch(`${world.base}/docs/`),
    document: await fetch(`${world.base}/openapi.json`),
    answer: await fetch(`${api}/snmp/sys-name`, { headers: session }),
    refusal: await fetch(`${api}/snmp/sys-name`),
  };
  for (const [what, answer] of Object.entries(answers)) {
    const header = (name) => answer.headers.get(name) ?? '';
    assert.match(header('content-security-policy'), /^default-src 'self';/, what);
    assert.match(header('content-security-policy'), /frame-ancestors 'none'/, what);
    assert.doesNotMatch(header('content-security-policy'), /https?:|\*/, `${what}: nothing from elsewhere`);
    assert.deepEqual([header('x-content-type-options'), header('referrer-policy'), header('x-frame-options')],
      ['nosniff', 'no-referrer', 'DENY'], what);
  }
  assert.equal(answers.refusal.status, 403);

  // A read that takes a body, padded with white space to the size.
  const post = (size) => fetch(`${api}/snmp/community-get-next`, { method: 'POST',
    headers: { ...session, 'Content-Type': 'application/json' }, body: '{"communityName": ""}'.padEnd(size) });
  assert.equal((await post(64 * 1024)).status, 200);
  assert.equal((await post(64 * 1024 + 1)).status, 413);
});

test('the explorer lists the families as people look for them, its filter finds an operation, and Try it out answers', async () => {
  const doc = await (await fetch(`${world.base}/openapi.json`)).json();
  const explorer = await browser.context.newPage();
  const errors = [];
  explorer.on('pageerror', (error) => errors.push(error.message));
  explorer.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
  await explorer.goto(`${world.base}/docs/#session=${world.session}`);
  await explorer.locator('.opblock-tag').first().waitFor();
  const families = await explorer.locator('.opblock-tag').evaluateAll((tags) => tags.map((t) => t.dataset.tag));
  assert.deepEqual([...families].sort(), doc.tags.map((t) => t.name).sort());
  assert.equal(families[0], 'stats');
  const firstPlaceholder = families.findIndex((f) => f.startsWith('instru-'));
  assert.ok(families.slice(firstPlaceholder).every((f) => f.startsWith('instru-')), families.join(' '));

  // The filter matches paths and summaries, not only family names.
  await explorer.fill('.operation-filter-input', 'snmp/sys-');
  await explorer.waitForFunction(() => document.querySelectorAll('.opblock-tag').length === 1);
  await explorer.locator('.opblock-tag').click();
  const paths = await explorer.locator('.opblock-summary-path').evaluateAll((ops) => ops.map((o) => o.dataset.path));
  assert.ok(paths.length >= 4 && paths.every((p) => p.startsWith('/api/v2/monitoring/snmp/sys-')), paths.join(' '));
  const operation = explorer.locator('.opblock-get:has(.opblock-summary-path[data-path="/api/v2/monitoring/snmp/sys-name"])');
  await operation.locator('.opblock-summary').click();
  await operation.locator('button.execute').click();
  const body = operation.locator('.responses-wrapper .live-responses-table .microlight').first();
  await body.waitFor();
  assert.match(await body.innerText(), /"sysName": "SIM-2428X-5A3BC0"/);
  // The session left the address bar, which now links to the operation.
  const { operationId, tags: [family] } = doc.paths['/api/v2/monitoring/snmp/sys-name'].get;
  assert.equal(new URL(explorer.url()).hash, `#/${family}/${operationId}`);
  // With a body to write as well, ready to try out.
  await explorer.locator('.opblock-put:has(.opblock-summary-path[data-path="/api/v2/monitoring/snmp/sys-location"]) .opblock-summary').click();
  await explorer.locator('.opblock-put .body-param textarea').waitFor();
  assert.deepEqual(await accessibilityProblems(explorer), []);
  assert.deepEqual(errors, []);
  await explorer.close();
});

test('a link to an operation opens the explorer on it', async () => {
  const { paths } = await (await fetch(`${world.base}/openapi.json`)).json();
  const { operationId, tags: [family] } = paths['/api/v2/monitoring/snmp/sys-location'].put;
  const explorer = await browser.context.newPage();
  const errors = [];
  explorer.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
  await explorer.goto(`${world.base}/docs/#/${family}/${operationId}`);
  const linked = explorer.locator(`#operations-${family}-${operationId}`);
  await linked.locator('.opblock-body textarea').waitFor();
  assert.equal(await linked.locator('.opblock-summary-path').getAttribute('data-path'), '/api/v2/monitoring/snmp/sys-location');
  assert.deepEqual(errors, [], 'nothing the content security policy refused');
  await explorer.close();
});

test('a session removed on disk, none at all, or a link cut short turns the page into the expired-session message', async () => {
  await rm(join(world.sandbox, 'tmp/session', world.session));
  const bare = await browser.context.newPage();
  await bare.goto(world.base);
  const broken = await browser.context.newPage();
  const brokenErrors = [];
  broken.on('pageerror', (error) => brokenErrors.push(error.message));
  await broken.goto(`${world.base}/#session=%E0%A4%A`);
  for (const tab of [page, bare, broken]) {
    await tab.waitForFunction(() => !document.querySelector('#session-problem').hidden, null, { timeout: 10000 });
    assert.match(await tab.locator('#session-problem').innerText(),
      /session has expired or is missing[\s\S]*scripts\/login --root build\/run admin/);
  }
  assert.equal(new URL(broken.url()).hash, '');
  assert.deepEqual(await accessibilityProblems(page), []);
  assert.deepEqual([...pageErrors, ...brokenErrors], []);
});
