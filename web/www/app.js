// The monitoring page: reads the switch through the client module and shows
// it. Counters are polled; everything else is read at load and on "Reload all".
import { Client, SessionError, PermissionError, NO_FURTHER_ROW, Bytes } from './client.js';
import { takeSession, keepSession } from './session.js';

const POLL_SECONDS = 3;
// At most this many requests at once: each one is a CGI process on the switch.
const PARALLEL = 4;
const limitedFetch = limit(PARALLEL, (/** @type {Parameters<typeof fetch>} */ ...args) => fetch(...args));
const connect = (/** @type {string | null} */ session) => new Client(session, { fetch: limitedFetch });

// Positions in the interface-stats counter array (the counter identifiers).
const COUNTER = { rxBytes: 1, rxPackets: 51, rxErrors: 52, txBytes: 20, txPackets: 53, txErrors: 54 };

/**
 * @template {HTMLElement} [T=HTMLElement]
 * @param {string} selector
 * @param {ParentNode} [root]
 * @returns {T}
 */
function $(selector, root = document) {
  const found = root.querySelector(selector);
  if (!found) throw new Error(`the page has no ${selector}`);
  return /** @type {T} */ (found);
}

const input = (/** @type {string} */ selector) => /** @type {HTMLInputElement} */ ($(selector));

let api = connect(takeSession());
/** @type {{ ifNum: number, name: string }[]} the switch's physical ports */
let ports = [];
/** @type {Map<number, { at: number, counters: number[] }>} the last read of each port */
let previous = new Map();
/** @type {ReturnType<typeof setTimeout> | undefined} */
let timer;
let sessionLost = false;

// Every section loads on its own: a failure shows in its section only. A lost
// session stops everything and says how to get a new one; a read-only
// session shows what it may read and says what it may not.
/** @param {string} id @param {() => Promise<void>} load */
async function section(id, load) {
  const problem = $(`#${id} .problem`);
  try {
    await load();
    problem.hidden = true;
  } catch (error) {
    if (error instanceof SessionError) return loseSession();
    problem.className = 'problem';
    if (error instanceof PermissionError) {
      readOnly();
      problem.textContent = 'Needs a read-write session: the switch gives this only to POST requests, '
        + 'which a read-only session may not make.';
      problem.classList.add('needs-rw');
      if (document.querySelector(`#${id} tbody`)) emptyTable(id, 'Not shown to a read-only session.');
    } else {
      problem.textContent = error instanceof Error ? error.message : String(error);
    }
    problem.hidden = false;
  }
}

function loseSession() {
  if (sessionLost) return;
  sessionLost = true;
  clearTimeout(timer);
  $('#session-link').textContent = `${location.origin}/#session=ID`;
  $('#session-problem').hidden = false;
  document.body.classList.add('stale');
}

// The session may read (GET) but not write: Save says so instead of failing.
function readOnly() {
  const save = $('#location-form button');
  save.setAttribute('disabled', '');
  $('#location-note').hidden = false;
}

async function loadAll() {
  if (!api.session) return loseSession();
  await Promise.all([
    section('system', loadSystem),
    section('interfaces', loadPorts).then(async () => { if (!sessionLost) await section('interfaces', pollCounters); }),
    section('neighbours', loadNeighbours),
    section('receivers', loadReceivers),
    section('communities', loadCommunities),
    section('monitor-sessions', loadMonitorSessions),
  ]);
  if (!sessionLost) schedulePoll();
}

async function loadSystem() {
  const [name, contact, location] = await Promise.all([
    api.get('snmp/sys-name'), api.get('snmp/sys-contact'), api.get('snmp/sys-location')]);
  showText($('#sys-name'), name.sysName);
  showText($('#sys-contact'), contact.sysContact);
  showText($('#sys-location'), location.sysLocation);
  document.title = `${isolated(name.sysName)} - switch monitoring`;
  showText($('#title'), name.sysName);
}

// The one write of the page: the answer is shown as the switch gave it, and
// the table is read back rather than filled from the form.
/** @param {SubmitEvent} event */
async function saveLocation(event) {
  event.preventDefault();
  const output = $('#location-answer');
  output.textContent = 'saving...';
  output.className = '';
  try {
    const envelope = await api.request('PUT', 'snmp/sys-location', undefined,
      { sysLocation: input('#location-input').value });
    const { respCode, respMsg, status } = envelope.resp;
    output.textContent = `switch answered: ${respCode} ${respMsg} (${status})`;
    output.className = respCode === 0 ? 'ok' : 'failed';
    await section('system', loadSystem);
  } catch (error) {
    if (error instanceof SessionError) return loseSession();
    if (error instanceof PermissionError) {
      readOnly();
      output.textContent = '';
      return;
    }
    output.textContent = error instanceof Error ? error.message : String(error);
    output.className = 'failed';
  }
}

async function loadPorts() {
  const { 'local-devices': devices } = await api.get('lldp/local-device');
  ports = devices.map((d) => ({ ifNum: d.interface, name: d['port-id'] || `#${d.interface}` }));
  previous = new Map();
  $('#interfaces tbody').replaceChildren(...ports.map(({ ifNum, name }) => {
    const row = document.createElement('tr');
    row.dataset.ifNum = String(ifNum);
    row.innerHTML = '<th></th>' + '<td class="num"></td>'.repeat(8);
    row.cells[0].append(text(name, 'cut'));
    return row;
  }));
}

// Polled reads carry the Refresh header (poll: true), so that the page does
// not keep its session alive by itself.
async function pollCounters() {
  const reads = await Promise.all(ports.map(async ({ ifNum }) => {
    const { counterArray = [] } = await api.get('stats/interface-stats', { ifNum }, { poll: true });
    return { ifNum, at: performance.now(), counters: counterArray };
  }));
  for (const { ifNum, at, counters } of reads) {
    const row = document.querySelector(`#interfaces tr[data-if-num="${ifNum}"]`);
    if (!(row instanceof HTMLTableRowElement)) continue; // the ports were read anew meanwhile
    /** @param {keyof typeof COUNTER} name */
    const value = (name) => counters[COUNTER[name]] ?? 0;
    const last = previous.get(ifNum);
    /** @param {keyof typeof COUNTER} bytes @param {keyof typeof COUNTER} packets */
    const rate = (bytes, packets) => {
      if (!last) return '';
      const seconds = (at - last.at) / 1000;
      /** @param {keyof typeof COUNTER} name */
      const perSecond = (name) => Math.max(0, value(name) - (last.counters[COUNTER[name]] ?? 0)) / seconds;
      return `${bits(perSecond(bytes) * 8)} · ${count(perSecond(packets))} pkt/s`;
    };
    const cells = [value('rxBytes'), value('rxPackets'), value('rxErrors'), rate('rxBytes', 'rxPackets'),
      value('txBytes'), value('txPackets'), value('txErrors'), rate('txBytes', 'txPackets')];
    cells.forEach((shown, i) => { row.cells[i + 1].textContent = typeof shown === 'number' ? grouped(shown) : shown; });
    previous.set(ifNum, { at, counters });
  }
  $('#interfaces-when').textContent = `read at ${new Date().toLocaleTimeString()}, every ${POLL_SECONDS} s`;
}

function schedulePoll() {
  clearTimeout(timer);
  timer = setTimeout(async () => {
    await section('interfaces', pollCounters);
    if (!sessionLost) schedulePoll();
  }, POLL_SECONDS * 1000);
}

// Interfaces with neighbours, then the neighbours of each: two get-next walks.
async function loadNeighbours() {
  const problems = [];
  const interfaces = await api.walk('GET', 'lldp/remote-intf-next', { ifNum: 0 }, (d) => ({ ifNum: d.nextIfNum }));
  problems.push(walkProblem('lldp/remote-intf-next', interfaces));
  /** @type {{ ifNum: number, remIndex: number, timeStamp: number }[]} */
  const neighbours = [];
  for (const { nextIfNum: ifNum } of interfaces.rows) {
    const found = await api.walk('GET', 'lldp/intf-remote-device-next', { remIndex: 0, timeStamp: 0 },
      (d) => ({ remIndex: d.remIndex, timeStamp: d.timeStamp }), { query: { ifNum } });
    problems.push(walkProblem('lldp/intf-remote-device-next', found));
    neighbours.push(...found.rows.map(({ remIndex, timeStamp }) => ({ ifNum, remIndex, timeStamp })));
  }
  const rows = await Promise.all(neighbours.map(async (key) => {
    const [chassis, port, name, supported, enabled] = await Promise.all([
      api.get('lldp/intf-remote-device-chassis-id', key), api.get('lldp/intf-remote-device-port-id', key),
      api.get('lldp/intf-remote-device-system-name', key), api.get('lldp/intf-remote-device-sys-cap-supp', key),
      api.get('lldp/intf-remote-device-sys-cap-enabled', key)]);
    return [text(portName(key.ifNum), 'cut'), chassis.chassisId, port.portId, name.systemName,
      joined(supported.sysCapSupp, ' (', enabled.sysCapEnabled || 'none', ')')];
  }));
  fillTable('neighbours', rows, 'No neighbours.');
  reportProblems(problems);
}

async function loadReceivers() {
  const { count: receivers } = await api.get('sflow/rcvr-count');
  const rows = await Promise.all(range(1, receivers).map(async (index) => {
    const [owner, address, port, size, left] = await Promise.all([
      api.get('sflow/rcvr-owner', { index }), api.get('sflow/rcvr-address', { index }),
      api.get('sflow/rcvr-port', { index }), api.get('sflow/rcvr-max-datagram-size', { index }),
      api.get('sflow/rcvr-time-remaining', { index })]);
    // The document types an address as text of one of several formats.
    return [index, owner.owner || '(free)', String(address.ipAddr || '-'), port.port, size.size,
      owner.owner ? `${left.timeRemaining} s` : '-'];
  }));
  fillTable('receivers', rows, 'No receivers.');
}

// A POST walk: a read-only session gets a PermissionError here.
async function loadCommunities() {
  const walk = await api.walk('POST', 'snmp/community-get-next', { communityName: '' },
    (d) => ({ communityName: d.nextCommunityName }));
  fillTable('communities', walk.rows.map((c) => [c.nextCommunityName,
    c.accessType.replace('snmp_community_access_', ''), c.viewName, String(c.addr || 'any')]), 'No communities.');
  reportProblems([walkProblem('snmp/community-get-next', walk)]);
}

// The switch has four monitor sessions.
async function loadMonitorSessions() {
  const rows = await Promise.all(range(1, 4).map(async (sessionId) => {
    const s = await api.get('session/config', { sessionId });
    const sources = [...s.sources.interfaces.map((i) => `${i.interface} ${i.direction}`),
      ...s.sources.vlans.map((v) => `VLAN ${v}`)].join(', ');
    return [sessionId, s.mode, sources || '-', s.destination ?? '-',
      s.aclFilter ? joined(s.aclFilter.type, ' ', s.aclFilter.aclName) : '-'];
  }));
  fillTable('monitor-sessions', rows, 'No sessions.');
}

// A walk that ends anywhere but at the table's end is a failure to show,
// below the rows it did read.
/** @param {string} route @param {{ end: import('./client.js').Resp, stopped?: Error }} walk */
function walkProblem(route, { end, stopped }) {
  if (stopped) return stopped;
  if (end.respCode === 0 || end.respCode === NO_FURTHER_ROW) return null;
  return new Error(`${route}: ${end.respMsg || 'failed'} (result code ${end.respCode})`);
}

/** @param {(Error | null)[]} problems */
function reportProblems(problems) {
  const found = problems.filter((p) => p !== null);
  if (found.length) throw new Error(found.map((p) => p.message).join('\n'));
}

/** @typedef {string | number | String | Node} Cell */

/** @param {string} id @param {Cell[][]} rows @param {string} empty */
function fillTable(id, rows, empty) {
  if (rows.length === 0) return emptyTable(id, empty);
  $(`#${id} tbody`).replaceChildren(...rows.map((cells) => {
    const row = document.createElement('tr');
    for (const cell of cells) row.insertCell().append(cell instanceof Node ? cell : text(cell));
    return row;
  }));
}

/** @param {string} id @param {string} message */
function emptyTable(id, message) {
  const body = /** @type {HTMLTableSectionElement} */ ($(`#${id} tbody`));
  body.innerHTML = '<tr><td class="empty" colspan="9"></td></tr>';
  body.rows[0].cells[0].textContent = message;
}

// Texts from the switch and its neighbours are isolated, so that a
// right-to-left override in a name cannot reorder the page around it. A
// text that is not UTF-8 shows its bytes on hover; a long or cut one its
// whole text.
const LONG_TEXT = 40;

/** @param {unknown} value @param {'cut'} [cut] */
function text(value, cut) {
  const element = document.createElement('bdi');
  const shown = String(value);
  element.textContent = shown;
  if (cut || shown.length > LONG_TEXT) {
    element.className = cut ?? 'long';
    element.title = shown;
  }
  if (value instanceof Bytes) element.title = `bytes ${value.hex} (not UTF-8)`;
  return element;
}

// Texts and separators in one cell, each text isolated on its own.
/** @param {...(string | String)} parts texts at even positions, separators at odd */
function joined(...parts) {
  const fragment = document.createDocumentFragment();
  parts.forEach((part, i) => fragment.append(i % 2 === 0 ? text(part) : String(part)));
  return fragment;
}

/** @param {HTMLElement} element @param {string | String} value */
function showText(element, value) {
  element.replaceChildren(text(value));
}

// For plain-text places such as the window title: first strong isolate.
/** @param {string | String} value */
function isolated(value) {
  return `\u2068${String(value).replace(/[\u2066-\u2069]/g, '')}\u2069`;
}

/** @param {number} ifNum */
function portName(ifNum) {
  return ports.find((p) => p.ifNum === ifNum)?.name ?? `#${ifNum}`;
}

// Runs fn at most n at a time, in the order of the calls.
/**
 * @template {unknown[]} A
 * @template R
 * @param {number} n
 * @param {(...args: A) => Promise<R>} fn
 * @returns {(...args: A) => Promise<R>}
 */
function limit(n, fn) {
  let active = 0;
  /** @type {{ args: A, resolve: (value: R) => void, reject: (reason: unknown) => void }[]} */
  const waiting = [];
  const start = () => {
    const next = active < n ? waiting.shift() : undefined;
    if (!next) return;
    active += 1;
    fn(...next.args).then(next.resolve, next.reject).finally(() => { active -= 1; start(); });
  };
  return (...args) => new Promise((resolve, reject) => { waiting.push({ args, resolve, reject }); start(); });
}

/** @param {number} from @param {number} to */
function range(from, to) {
  return Array.from({ length: Math.max(0, to - from + 1) }, (_, i) => from + i);
}

const grouped = (/** @type {number} */ n) => n.toLocaleString('en-US');
const count = (/** @type {number} */ n) => (n >= 1000 ? `${(n / 1000).toFixed(1)} k` : n.toFixed(n > 0 && n < 10 ? 1 : 0));

/** @param {number} perSecond */
function bits(perSecond) {
  const units = ['bit/s', 'kbit/s', 'Mbit/s', 'Gbit/s'];
  let i = 0;
  while (perSecond >= 1000 && i < units.length - 1) { perSecond /= 1000; i += 1; }
  return `${perSecond.toFixed(perSecond > 0 && perSecond < 10 ? 1 : 0)} ${units[i]}`;
}

$('#reload').addEventListener('click', () => { if (!sessionLost) loadAll(); });
$('#location-form').addEventListener('submit', saveLocation);
$('#session-form').addEventListener('submit', (event) => {
  event.preventDefault();
  keepSession(input('#session-input').value.trim());
  api = connect(takeSession());
  sessionLost = false;
  $('#session-problem').hidden = true;
  $('#location-form button').removeAttribute('disabled');
  $('#location-note').hidden = true;
  document.body.classList.remove('stale');
  loadAll();
});
// The explorer gets the session the way the page got it.
$('#explorer').addEventListener('click', (event) => {
  if (api.session && event.currentTarget instanceof HTMLAnchorElement) {
    event.currentTarget.href = `docs/#session=${encodeURIComponent(api.session)}`;
  }
});

loadAll();
