// The monitoring page and the explorer in Chromium, against the default
// simulated switch, checked as a person would look at them. The tests run in
// order on one page: the session is removed last.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { stat, rm } from 'node:fs/promises';
import { join } from 'node:path';
import { startWorld, launchBrowser, artifacts } from './world.mjs';

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

test('the explorer loads the document with the session authorised, and Try it out answers', async () => {
  const explorer = await browser.context.newPage();
  const errors = [];
  explorer.on('pageerror', (error) => errors.push(error.message));
  explorer.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
  await explorer.goto(`${world.base}/docs/#session=${world.session}`);
  // Swagger UI draws only the operations in view: scroll down to the one.
  const operation = explorer.locator('.opblock-get:has(.opblock-summary-path[data-path="/api/v2/monitoring/snmp/sys-name"])');
  await explorer.locator('.opblock').first().waitFor();
  for (let i = 0; i < 200 && await operation.count() === 0; i += 1) await explorer.mouse.wheel(0, 400);
  await operation.locator('.opblock-summary').click();
  await operation.locator('button.execute').click();
  const body = operation.locator('.responses-wrapper .live-responses-table .microlight').first();
  await body.waitFor();
  assert.match(await body.innerText(), /"sysName": "SIM-2428X-5A3BC0"/);
  assert.equal(new URL(explorer.url()).hash, '');
  assert.deepEqual(errors, []);
  await explorer.close();
});

test('a session removed on disk, or none at all, turns the page into the expired-session message', async () => {
  await rm(join(world.sandbox, 'tmp/session', world.session));
  const bare = await browser.context.newPage();
  await bare.goto(world.base);
  for (const tab of [page, bare]) {
    await tab.waitForFunction(() => !document.querySelector('#session-problem').hidden, null, { timeout: 10000 });
    assert.match(await tab.locator('#session-problem').innerText(),
      /session has expired or is missing[\s\S]*scripts\/login --root build\/run admin/);
  }
  assert.deepEqual(pageErrors, []);
});
