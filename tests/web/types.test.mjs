// The client's types, generated from the API document, held to what they
// promise: the page's app.js type-checks under tsc --checkJs --strict, and
// the same code with one name misspelt does not, wherever the name is (the
// route, a query key, a body member, a data member).
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { cp, mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { promisify } from 'node:util';
import { root, artifacts } from './world.mjs';

const www = join(root, 'build/www');
const tsc = join(root, 'web/node_modules/.bin/tsc');
// The declarations are not checked in themselves (--skipLibCheck: the
// generated ones are openapi-typescript's, and client.d.ts shows its faults
// at the calls below); that halves the time.
const FLAGS = ['--noEmit', '--allowJs', '--checkJs', '--strict', '--skipLibCheck', '--target', 'es2022',
  '--module', 'esnext', '--moduleResolution', 'bundler', '--lib', 'es2022,dom,dom.iterable', '--pretty', 'false'];

// Each plant: the text in app.js, the text put in its place, the name tsc
// must complain about.
const PLANTS = {
  'query-key': ["{ ifNum }, { poll: true }", "{ ifNumber: ifNum }, { poll: true }", 'ifNumber'],
  route: ["api.get('snmp/sys-contact')", "api.get('snmp/sys-contacts')", 'snmp/sys-contacts'],
  'body-member': ['{ sysLocation: input(', '{ sysLocaton: input(', 'sysLocaton'],
  'data-member': ['name.sysName)', 'name.sysNmae)', 'sysNmae'],
  'walk-key': ["(d) => ({ communityName: d.nextCommunityName })", "(d) => ({ community: d.nextCommunityName })", 'community'],
};

// The README's example, as a web developer would write it beside the module.
const EXAMPLE = `import { Client } from './client.js';
const api = new Client('session');
/** @type {number} */
export const value = (await api.get('stats/stat', { ifNum: 1, counterId: 'ctr_rx_64' })).counterValue;
`;

test('app.js type-checks against the generated types, and a misspelt name anywhere fails the check', async () => {
  const dir = join(artifacts, 'types');
  await rm(dir, { recursive: true, force: true });
  await mkdir(dir, { recursive: true });
  for (const name of ['client.js', 'client.d.ts', 'session.js', 'types']) await cp(join(www, name), join(dir, name), { recursive: true });
  const app = await readFile(join(www, 'app.js'), 'utf8');
  // Every plant in one copy (one tsc run): each a one-line change, so each
  // keeps its line.
  let misspelt = app;
  const lines = {};
  for (const [name, [from, to]] of Object.entries(PLANTS)) {
    const at = misspelt.indexOf(from);
    assert.ok(at >= 0, `app.js no longer holds ${from}: choose another place for the ${name} plant`);
    lines[name] = misspelt.slice(0, at).split('\n').length;
    misspelt = misspelt.slice(0, at) + to + misspelt.slice(at + from.length);
  }
  const files = { 'app.js': app, 'example.js': EXAMPLE, 'misspelt.js': misspelt };
  for (const [name, text] of Object.entries(files)) await writeFile(join(dir, name), text);

  const run = promisify(execFile)(tsc, [...FLAGS, ...Object.keys(files)], { cwd: dir, maxBuffer: 1 << 24 });
  const output = await run.then(({ stdout }) => stdout, (failure) => failure.stdout);
  const errors = [...output.matchAll(/^(\S+)\((\d+),\d+\): error (TS\d+: .*)$/gm)]
    .map(([, file, line, message]) => ({ file, line: Number(line), message }));
  assert.deepEqual(errors.filter((e) => e.file !== 'misspelt.js'), [], 'app.js as it is, and the README\'s example');
  for (const [name, [, , word]] of Object.entries(PLANTS)) {
    assert.ok(errors.some((e) => e.line === lines[name] && e.message.includes(word)),
      `${name}: no error naming ${word} on line ${lines[name]}:\n${output}`);
  }
});
