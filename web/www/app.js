// The monitoring page: reads the switch through the client module and shows
// it. Counters are polled; everything else is read at load and on "Reload all".
import { Client, SessionError, NO_FURTHER_ROW } from './client.js';
import { takeSession, keepSession } from './session.js';

const POLL_SECONDS = 3;
// At most this many requests at once: each one is a CGI process on the switch.
const PARALLEL = 4;
const limitedFetch = limit(PARALLEL, (...args) => fetch(...args));
const connect = (session) => new Client(session, { fetch: limitedFetch });

// Positions in the interface-stats counter array (the counter identifiers).
const COUNTER = { rxBytes: 1, rxPackets: 51, rxErrors: 52, txBytes: 20, txPackets: 53, txErrors: 54 };

const $ = (selector, root = document) => root.querySelector(selector);

let api = connect(takeSession());
let ports = [];          // [{ ifNum, name }] of the switch's physical ports
let previous = new Map(); // ifNum -> { at, counters } of the last read
let timer = null;
let sessionLost = false;

// Every section loads on its own: a failure shows in its section only. A lost
// session stops everything and says how to get a new one.
async function section(id, load) {
  const problem = $(`#${id} .problem`);
  try {
    await load();
    problem.hidden = true;
  } catch (error) {
    if (error instanceof SessionError) return loseSession();
    problem.textContent = error.message;
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

async function loadAll() {
  if (!api.session) return loseSession();
  await Promise.all([
    section('system', loadSystem),
    section('interfaces', loadPorts).then(() => !sessionLost && section('interfaces', pollCounters)),
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
  $('#sys-name').textContent = name.sysName;
  $('#sys-contact').textContent = contact.sysContact;
  $('#sys-location').textContent = location.sysLocation;
  document.title = `${name.sysName} - switch monitoring`;
  $('#title').textContent = name.sysName;
}

// The one write of the page: the answer is shown as the switch gave it, and
// the table is read back rather than filled from the form.
async function saveLocation(event) {
  event.preventDefault();
  const output = $('#location-answer');
  output.textContent = 'saving...';
  try {
    const envelope = await api.request('PUT', 'snmp/sys-location', undefined,
      { sysLocation: $('#location-input').value });
    const { respCode, respMsg, status } = envelope.resp;
    output.textContent = `switch answered: ${respCode} ${respMsg} (${status})`;
    output.className = respCode === 0 ? 'ok' : 'failed';
    await section('system', loadSystem);
  } catch (error) {
    if (error instanceof SessionError) return loseSession();
    output.textContent = error.message;
    output.className = 'failed';
  }
}

async function loadPorts() {
  const { 'local-devices': devices } = await api.get('lldp/local-device');
  ports = devices.map((d) => ({ ifNum: d.interface, name: d['port-id'] || `#${d.interface}` }));
  previous = new Map();
  $('#interfaces tbody').replaceChildren(...ports.map(({ ifNum, name }) => {
    const row = document.createElement('tr');
    row.dataset.ifNum = ifNum;
    row.innerHTML = '<th></th>' + '<td class="num"></td>'.repeat(8);
    row.cells[0].textContent = name;
    return row;
  }));
}

// Polled reads carry the Refresh header (poll: true), so that the page does
// not keep its session alive by itself.
async function pollCounters() {
  const reads = await Promise.all(ports.map(async ({ ifNum }) => {
    const { counterArray } = await api.get('stats/interface-stats', { ifNum }, { poll: true });
    return { ifNum, at: performance.now(), counters: counterArray };
  }));
  for (const { ifNum, at, counters } of reads) {
    const row = $(`#interfaces tr[data-if-num="${ifNum}"]`);
    if (!row) continue; // the ports were read anew meanwhile
    const value = (name) => counters[COUNTER[name]] ?? 0;
    const last = previous.get(ifNum);
    const rate = (bytes, packets) => {
      if (!last) return '';
      const seconds = (at - last.at) / 1000;
      const perSecond = (name) => Math.max(0, value(name) - (last.counters[COUNTER[name]] ?? 0)) / seconds;
      return `${bits(perSecond(bytes) * 8)} · ${count(perSecond(packets))} pkt/s`;
    };
    const cells = [value('rxBytes'), value('rxPackets'), value('rxErrors'), rate('rxBytes', 'rxPackets'),
      value('txBytes'), value('txPackets'), value('txErrors'), rate('txBytes', 'txPackets')];
    cells.forEach((text, i) => { row.cells[i + 1].textContent = typeof text === 'number' ? grouped(text) : text; });
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
  const interfaces = await walkAll('GET', 'lldp/remote-intf-next', { ifNum: 0 }, (d) => ({ ifNum: d.nextIfNum }));
  const neighbours = [];
  for (const { nextIfNum: ifNum } of interfaces) {
    const found = await walkAll('GET', 'lldp/intf-remote-device-next', { remIndex: 0, timeStamp: 0 },
      (d) => ({ remIndex: d.remIndex, timeStamp: d.timeStamp }), { query: { ifNum } });
    neighbours.push(...found.map(({ remIndex, timeStamp }) => ({ ifNum, remIndex, timeStamp })));
  }
  const rows = await Promise.all(neighbours.map(async (key) => {
    const read = (what) => api.get(`lldp/intf-remote-device-${what}`, key);
    const [chassis, port, name, supported, enabled] = await Promise.all(
      ['chassis-id', 'port-id', 'system-name', 'sys-cap-supp', 'sys-cap-enabled'].map(read));
    return [portName(key.ifNum), chassis.chassisId, port.portId, name.systemName,
      `${supported.sysCapSupp} (${enabled.sysCapEnabled || 'none'})`];
  }));
  fillTable('neighbours', rows, 'No neighbours.');
}

async function loadReceivers() {
  const { count: receivers } = await api.get('sflow/rcvr-count');
  const rows = await Promise.all(range(1, receivers).map(async (index) => {
    const read = (what) => api.get(`sflow/rcvr-${what}`, { index });
    const [owner, address, port, size, left] = await Promise.all(
      ['owner', 'address', 'port', 'max-datagram-size', 'time-remaining'].map(read));
    return [index, owner.owner || '(free)', address.ipAddr || '-', port.port, size.size,
      owner.owner ? `${left.timeRemaining} s` : '-'];
  }));
  fillTable('receivers', rows, 'No receivers.');
}

async function loadCommunities() {
  const rows = await walkAll('POST', 'snmp/community-get-next', { communityName: '' },
    (d) => ({ communityName: d.nextCommunityName }));
  fillTable('communities', rows.map((c) => [c.nextCommunityName,
    c.accessType.replace('snmp_community_access_', ''), c.viewName, c.addr || 'any']), 'No communities.');
}

// The switch has four monitor sessions.
async function loadMonitorSessions() {
  const rows = await Promise.all(range(1, 4).map(async (sessionId) => {
    const s = await api.get('session/config', { sessionId });
    const sources = [...s.sources.interfaces.map((i) => `${i.interface} ${i.direction}`),
      ...s.sources.vlans.map((v) => `VLAN ${v}`)].join(', ');
    return [sessionId, s.mode, sources || '-', s.destination ?? '-',
      s.aclFilter ? `${s.aclFilter.type} ${s.aclFilter.aclName}` : '-'];
  }));
  fillTable('monitor-sessions', rows, 'No sessions.');
}

// A walk that ends anywhere but at the table's end is a failure to show.
async function walkAll(method, route, first, nextKey, options) {
  const { rows, end } = await api.walk(method, route, first, nextKey, options);
  if (end.respCode !== 0 && end.respCode !== NO_FURTHER_ROW) {
    throw new Error(`${route}: ${end.respMsg || 'failed'} (result code ${end.respCode})`);
  }
  return rows;
}

function fillTable(id, rows, empty) {
  const body = $(`#${id} tbody`);
  if (rows.length === 0) {
    body.innerHTML = `<tr><td class="empty" colspan="9"></td></tr>`;
    body.rows[0].cells[0].textContent = empty;
    return;
  }
  body.replaceChildren(...rows.map((cells) => {
    const row = document.createElement('tr');
    for (const text of cells) row.insertCell().textContent = text;
    return row;
  }));
}

function portName(ifNum) {
  return ports.find((p) => p.ifNum === ifNum)?.name ?? `#${ifNum}`;
}

// Runs fn at most n at a time, in the order of the calls.
function limit(n, fn) {
  let active = 0;
  const waiting = [];
  const start = () => {
    if (active >= n || waiting.length === 0) return;
    active += 1;
    const { args, resolve, reject } = waiting.shift();
    fn(...args).then(resolve, reject).finally(() => { active -= 1; start(); });
  };
  return (...args) => new Promise((resolve, reject) => { waiting.push({ args, resolve, reject }); start(); });
}

function range(from, to) {
  return Array.from({ length: Math.max(0, to - from + 1) }, (_, i) => from + i);
}

const grouped = (n) => n.toLocaleString('en-US');
const count = (n) => (n >= 1000 ? `${(n / 1000).toFixed(1)} k` : n.toFixed(n > 0 && n < 10 ? 1 : 0));

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
  keepSession($('#session-input').value.trim());
  api = connect(takeSession());
  sessionLost = false;
  $('#session-problem').hidden = true;
  document.body.classList.remove('stale');
  loadAll();
});
// The explorer gets the session the way the page got it.
$('#explorer').addEventListener('click', (event) => {
  if (api.session) event.currentTarget.href = `docs/#session=${encodeURIComponent(api.session)}`;
});

loadAll();
