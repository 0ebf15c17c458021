// The page as outside users meet it: a read-only session, SNMP communities
// whose names are any bytes, a phone's screen, and neighbours that send long
// or right-to-left texts. One switch for the file, changed once before the
// tests: communities created through the API, neighbours and a port's name
// through the simulator's state.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { stat, rm, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { startWorld, launchBrowser, artifacts, accessibilityProblems } from './world.mjs';

const RLO = '\u202e';
const LONG_PORT_ID = 'port-'.repeat(51); // 255 characters, no place to break
const LONG_IF_NAME = `Te1/0/25-${'uplink-to-the-distribution-switch-'.repeat(4)}`;
// Names as bytes: invalid UTF-8 among them, as a switch may hold them.
const COMMUNITIES = [
  Buffer.from([0xc0, 0x78]), Buffer.from('é1'), Buffer.from([0xff, 0xfe, 0xc0]), Buffer.from('a b'), Buffer.from('a-b')];

let world;
let browser;
let page;
const pageErrors = [];

before(async () => {
  world = await startWorld();
  const state = JSON.parse((await world.ctl('dump')).stdout);
  const [first] = state.lldp.neighbours;
  Object.assign(first, { portId: LONG_PORT_ID, systemName: `${RLO}phone-4117`, capSupported: `${RLO}bridge, telephone` });
  state.interfaces.find((i) => i.intIfNum === 25).name = LONG_IF_NAME;
  state.snmp.sysName = `${RLO}SIM-edge`;
  const file = join(world.sandbox, 'hostile-state.json');
  await writeFile(file, JSON.stringify(state));
  await world.ctl('load', file);
  for (const name of COMMUNITIES) {
    // The body as bytes: the name's own, whatever they are.
    const body = Buffer.concat([Buffer.from('{"communityName": "'), name,
      Buffer.from('", "accessType": "snmp_community_access_ro", "viewName": "Default"}')]);
    const answer = await api('POST', 'snmp/community', world.session, body);
    assert.equal(answer.resp.respCode, 0, `creating ${name.toString('hex')}`);
  }
  browser = await launchBrowser({ viewport: { width: 1280, height: 900 } });
});

// A tab of its own for each test: a link that differs in its fragment alone
// would not load the page again.
async function open(url) {
  await page?.close();
  page = await browser.context.newPage();
  page.on('pageerror', (error) => pageErrors.push(error.message));
  await page.goto(url);
}

after(async () => {
  await browser?.close();
  await world?.stop();
});

async function api(method, route, session, body) {
  const answer = await fetch(`${world.base}/api/v2/monitoring/${route}`, { method, headers: { Session: session }, body });
  return answer.json();
}

const until = (fn, arg, timeout = 10000) => page.waitForFunction(fn, arg, { timeout });
const cells = (section) => page.locator(`#${section} tbody tr`).evaluateAll(
  (trs) => trs.map((tr) => [...tr.cells].map((c) => c.innerText)));

test('a read-only session sees neighbours and counters, is told what needs a read-write session, and expires as any other', async () => {
  const session = await world.login('bob', 'ro');
  const sessionFile = join(world.sandbox, 'tmp/session', session);
  await open(`${world.base}/#session=${session}`);
  await until(() => document.querySelectorAll('#neighbours tbody tr').length === 4
    && document.querySelector('#interfaces-when').textContent !== ''
    && !document.querySelector('#communities .problem').hidden);
  assert.equal(await page.locator('#session-problem').isHidden(), true);
  assert.equal((await cells('neighbours'))[1][3], 'db01.example.net');
  assert.match((await cells('interfaces'))[0][1], /^[\d,]+$/);
  assert.match(await page.locator('#communities .problem').innerText(), /^Needs a read-write session/);
  assert.equal(await page.locator('#location-form button').isDisabled(), true);
  assert.match(await page.locator('#location-note').innerText(), /needs a read-write session/);
  assert.deepEqual(await accessibilityProblems(page), []);

  // The client itself: a POST is refused to a live session, and asking why
  // keeps the session's time stamp as it was.
  const touched = (await stat(sessionFile)).mtimeMs;
  const refusal = () => page.evaluate(async (id) => {
    const { Client } = await import('/client.js');
    return new Client(id).post('snmp/community-get-next', { communityName: '' }).then(() => 'accepted', (e) => e.name);
  }, session);
  assert.equal(await refusal(), 'PermissionError');
  assert.equal((await stat(sessionFile)).mtimeMs, touched);
  await rm(sessionFile);
  assert.equal(await refusal(), 'SessionError');
  await page.click('#reload');
  await until(() => !document.querySelector('#session-problem').hidden);
});

test('every community is listed, its name as the switch has it, also when it is not UTF-8', async () => {
  await open(world.pageUrl);
  await until(() => document.querySelectorAll('#communities tbody tr').length === 7);
  const names = (await cells('communities')).map((row) => row[0]);
  assert.deepEqual(names.sort(), ['a b', 'a-b', 'private', 'public', 'é1', '\ufffdx', '\ufffd\ufffd\ufffd'].sort());
  const titles = await page.locator('#communities tbody tr td:first-child bdi[title]').evaluateAll((b) => b.map((e) => e.title));
  assert.deepEqual(titles.sort(), ['bytes c0 78 (not UTF-8)', 'bytes ff fe c0 (not UTF-8)']);
  assert.equal(await page.locator('#communities .problem').isHidden(), true);
});

test('the client deletes community a-b, and refuses "a b" with the reason before sending anything', async () => {
  const { sent, outcomes } = await page.evaluate(async (id) => {
    const { Client } = await import('/client.js');
    const requests = [];
    const api = new Client(id, { fetch: (url, init) => { requests.push(url); return fetch(url, init); } });
    const outcome = (name) => api.delete('snmp/community', { communityName: name })
      .then(() => 'deleted', (e) => `${e.name}: ${e.message}`);
    return { outcomes: [await outcome('a-b'), await outcome('a b')], sent: requests };
  }, world.session);
  assert.deepEqual(sent, ['/api/v2/monitoring/snmp/community?communityName=a-b']);
  assert.equal(outcomes[0], 'deleted');
  assert.match(outcomes[1], /^QueryError: snmp\/community: communityName "a b" cannot be sent: it holds a space.*command line/);
  await page.click('#reload');
  await until(() => document.querySelectorAll('#communities tbody tr').length === 6);
  const names = (await cells('communities')).map((row) => row[0]);
  assert.ok(names.includes('a b') && !names.includes('a-b'), names.join(' | '));
});

// Widths of the whole page, whatever the tables hold; the interface table
// scrolls in its own box on a phone.
test('on a phone and a desktop the page keeps the screen\'s width; long names wrap or are cut; network texts stay isolated', async (t) => {
  for (const width of [390, 1280]) {
    await t.test(`${width} px`, async () => {
      await open(world.pageUrl);
      await page.setViewportSize({ width, height: 844 });
      await until(() => document.querySelectorAll('#neighbours tbody tr').length === 4
        && document.querySelector('#interfaces-when').textContent !== '');
      const measured = await page.evaluate(() => {
        const box = document.querySelector('#interfaces .scroll');
        const portId = [...document.querySelectorAll('#neighbours tbody bdi')].find((b) => b.textContent.startsWith('port-port-'));
        return { page: document.documentElement.scrollWidth, box: box.scrollWidth - box.clientWidth, title: portId.title,
          lines: portId.getBoundingClientRect().height / parseFloat(getComputedStyle(portId).lineHeight) };
      });
      assert.ok(measured.page <= width, `the page is ${measured.page} px wide`);
      if (width === 390) assert.ok(measured.box > 0, 'the interface table scrolls in its box');
      assert.ok(measured.lines <= 3.01, `the 255-character port id takes ${measured.lines} lines`);
      assert.equal(measured.title, LONG_PORT_ID);
      await page.screenshot({ path: join(artifacts, `page-${width}.png`), fullPage: true });
    });
  }

  const cut = page.locator('#interfaces tbody bdi.cut', { hasText: 'Te1/0/25-' });
  assert.equal(await cut.getAttribute('title'), LONG_IF_NAME);
  assert.ok(await cut.evaluate((e) => e.scrollWidth > e.clientWidth), 'the interface name is cut');

  // An override that is not closed stays inside its own text: the brackets
  // after it keep their order on the screen, and the window title isolates
  // the name.
  const order = await page.locator('#neighbours tbody tr').first().locator('td').last().evaluate((cell) => {
    const where = (character) => {
      const walker = document.createTreeWalker(cell, NodeFilter.SHOW_TEXT);
      for (let node = walker.nextNode(); node; node = walker.nextNode()) {
        const at = node.data.lastIndexOf(character);
        if (at < 0) continue;
        const range = document.createRange();
        range.setStart(node, at);
        range.setEnd(node, at + 1);
        return range.getBoundingClientRect().left;
      }
      return NaN;
    };
    return { open: where('('), close: where(')') };
  });
  assert.ok(order.open < order.close, `"(" at ${order.open} px, ")" at ${order.close} px`);
  assert.equal(await page.title(), `\u2068${RLO}SIM-edge\u2069 - switch monitoring`);
  assert.equal(await page.locator('#neighbours tbody tr').first().locator('td').nth(3).locator('bdi').count(), 1);
  assert.deepEqual(pageErrors, []);
});
