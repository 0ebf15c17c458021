// The client's types, generated from the API document, held to what they
// promise: the page's app.js and families.js (a call of every family, the
// words "disable" and "both" written, a monitor session read, changed and
// written back) type-check under tsc --checkJs --strict, and the same code
// with one name or word misspelt does not, wherever it is (the route, a
// query key, a body member, a data member, a choice's word). families.js
// then runs on a simulated switch, its answers held to the document.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { cp, mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { promisify } from 'node:util';
import { root, artifacts, startWorld } from './world.mjs';

const www = join(root, 'build/www');
const tsc = join(root, 'web/node_modules/.bin/tsc');
// The declarations are not checked in themselves (--skipLibCheck: the
// generated ones are openapi-typescript's, and client.d.ts shows its faults
// at the calls below); that halves the time.
const FLAGS = ['--noEmit', '--allowJs', '--checkJs', '--strict', '--skipLibCheck', '--target', 'es2022',
  '--module', 'esnext', '--moduleResolution', 'bundler', '--lib', 'es2022,dom,dom.iterable', '--pretty', 'false'];

// Each plant, by file: the text there, the text put in its place, the name
// tsc must complain about.
const PLANTS = {
  'app.js': {
    'query-key': ["{ ifNum }, { poll: true }", "{ ifNumber: ifNum }, { poll: true }", 'ifNumber'],
    route: ["api.get('snmp/sys-contact')", "api.get('snmp/sys-contacts')", 'snmp/sys-contacts'],
    'body-member': ['{ sysLocation: input(', '{ sysLocaton: input(', 'sysLocaton'],
    'data-member': ['name.sysName)', 'name.sysNmae)', 'sysNmae'],
    'walk-key': ["(d) => ({ communityName: d.nextCommunityName })", "(d) => ({ community: d.nextCommunityName })", 'community'],
  },
  'families.js': {
    'mode word': ["mode: 'disable' }", "mode: 'disabled' }", 'disabled'],
    'direction word': ["direction: 'both'", "direction: 'all'", 'all'],
    'session member': ["mode: asRead.mode === 'enable'", "mode: asRead.mdoe === 'enable'", 'mdoe'],
  },
};

// The README's example, as a web developer would write it beside the module.
const EXAMPLE = `import { Client } from './client.js';
const api = new Client('session');
/** @type {number} */
export const value = (await api.get('stats/stat', { ifNum: 1, counterId: 'ctr_rx_64' })).counterValue;
`;

test('app.js and families.js type-check against the generated types, a misspelt name or word fails, '
  + 'and families.js runs as the document says', async () => {
  // The switch starts while tsc works.
  const starting = startWorld();
  starting.catch(() => {});
  let world;
  try {
    const dir = join(artifacts, 'types');
    await rm(dir, { recursive: true, force: true });
    await mkdir(dir, { recursive: true });
    for (const name of ['client.js', 'client.d.ts', 'session.js', 'types']) await cp(join(www, name), join(dir, name), { recursive: true });
    const files = { 'example.js': EXAMPLE };
    const lines = {};
    for (const [file, plants] of Object.entries(PLANTS)) {
      const text = await readFile(file === 'app.js' ? join(www, file) : join(import.meta.dirname, file), 'utf8');
      // Every plant of a file in one copy (one tsc run): each a one-line
      // change, so each keeps its line.
      let misspelt = text;
      for (const [name, [from, to]] of Object.entries(plants)) {
        const at = misspelt.indexOf(from);
        assert.ok(at >= 0, `${file} no longer holds ${from}: choose another place for the ${name} plant`);
        lines[name] = { file: `misspelt-${file}`, line: misspelt.slice(0, at).split('\n').length };
        misspelt = misspelt.slice(0, at) + to + misspelt.slice(at + from.length);
      }
      files[file] = text;
      files[`misspelt-${file}`] = misspelt;
    }
    for (const [name, text] of Object.entries(files)) await writeFile(join(dir, name), text);

    const run = promisify(execFile)(tsc, [...FLAGS, ...Object.keys(files)], { cwd: dir, maxBuffer: 1 << 24 });
    const output = await run.then(({ stdout }) => stdout, (failure) => failure.stdout);
    const errors = [...output.matchAll(/^(\S+)\((\d+),\d+\): error (TS\d+: .*)$/gm)]
      .map(([, file, line, message]) => ({ file, line: Number(line), message }));
    assert.deepEqual(errors.filter((e) => !e.file.startsWith('misspelt-')), [], 'app.js and families.js as they are, and the README\'s example');
    for (const [file, plants] of Object.entries(PLANTS)) {
      for (const [name, [, , word]] of Object.entries(plants)) {
        const at = lines[name];
        assert.ok(errors.some((e) => e.file === at.file && e.line === at.line && e.message.includes(word)),
          `${file} ${name}: no error naming ${word} on line ${at.line}:\n${output}`);
      }
    }

    world = await starting;
    await runFamilies(dir, world);
  } finally {
    world ??= await starting.catch(() => undefined);
    await world?.stop();
  }
});

// families.js on a switch of its own, through the client module it was
// checked against: each data member of the type the document gives, the
// words written read back, the changed session read back as sent, and the
// families this switch lacks answering a result the document lists.
async function runFamilies(dir, world) {
  const doc = JSON.parse(await readFile(join(www, 'openapi.json'), 'utf8'));
  const { Client } = await import(pathToFileURL(join(dir, 'client.js')).href);
  const { everyFamily } = await import(pathToFileURL(join(dir, 'families.js')).href);
  const got = await everyFamily(new Client(world.session, { base: `${world.base}/api/v2/monitoring/` }));
  const dataType = (route, member) => {
    const schema = doc.paths[`/api/v2/monitoring/${route}`].get.responses['200'].content['application/json'].schema;
    const success = (schema.anyOf ?? [schema]).find((f) => f.properties.resp.$ref === '#/components/schemas/Resp0');
    const data = Object.entries(success.properties).find(([key]) => key !== 'resp')[1];
    return { integer: 'number' }[data.properties[member].type] ?? data.properties[member].type;
  };
  const members = { counterValue: 'stats/stat', hold: 'lldp/tx-hold', sysName: 'snmp/sys-name', port: 'sflow/rcvr-port', mac: 'instru-nos/mac-addr' };
  for (const [member, route] of Object.entries(members)) assert.equal(typeof got[member], dataType(route, member), `${route} ${member}`);
  assert.deepEqual([got.enabled, got.disabled, got.direction], ['enable', 'disable', 'both']);
  assert.notEqual(got.sent.mode, got.before.mode);
  assert.deepEqual(got.after, got.sent);
  for (const [route, resp] of Object.entries(got.lacking)) {
    const schema = doc.paths[`/api/v2/monitoring/${route}`].get.responses['200'].content['application/json'].schema;
    const listed = (schema.anyOf ?? [schema]).flatMap((f) => f.properties.resp.oneOf ?? [f.properties.resp]).map((r) => r.$ref);
    assert.ok(listed.includes(`#/components/schemas/Resp${resp.respCode}`), `${route} answered ${resp.respCode}, which it does not list`);
  }
}
