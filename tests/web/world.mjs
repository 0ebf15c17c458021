// The world of the web tests, as ./run makes it: scripts/serve on a free
// port with a sandbox of its own, the simulated switch's control tool, and
// Debian's Chromium.
import { spawn, execFile } from 'node:child_process';
import { mkdtemp, rm, mkdir } from 'node:fs/promises';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join, resolve } from 'node:path';
import { promisify } from 'node:util';
import { createRequire } from 'node:module';

export const root = resolve(import.meta.dirname, '../..');
export const artifacts = join(root, 'build/web-test');
const require = createRequire(join(root, 'web/package.json'));

export function freePort() {
  return new Promise((done, fail) => {
    const server = createServer().once('error', fail).listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => done(port));
    });
  });
}

// Starts scripts/serve and waits for its addresses. Returns the base URL,
// the page's address with its session, the session, the sandbox, opensimctl
// bound to this world's switch, login(user, priv) for another session, and
// stop().
export async function startWorld() {
  const sandbox = await mkdtemp(join(tmpdir(), 'mon-web-'));
  const port = await freePort();
  const serve = spawn(join(root, 'scripts/serve'), [sandbox, String(port)], { stdio: ['ignore', 'pipe', 'pipe'] });
  let out = '';
  let err = '';
  const exited = new Promise((done) => serve.once('exit', done));
  // Ready once the four addresses are on stdout and the notes, which name
  // the simulator's socket, on stderr.
  await new Promise((ready, fail) => {
    const timer = setTimeout(() => fail(new Error(`scripts/serve gave no addresses in 20 s: ${err}`)), 20000);
    const check = () => {
      if (out.split('\n').length > 4 && /Ctrl-C stops/.test(err)) { clearTimeout(timer); ready(); }
    };
    serve.stdout.on('data', (chunk) => { out += chunk; check(); });
    serve.stderr.on('data', (chunk) => { err += chunk; check(); });
    serve.once('exit', (code) => { clearTimeout(timer); fail(new Error(`scripts/serve exited ${code}: ${err}`)); });
  });
  const pageUrl = out.split('\n')[0];
  const session = /#session=(\w+)/.exec(pageUrl)[1];
  const socket = /OPEN_RPC_SOCKET=(\S+)/.exec(err)[1];
  const run = promisify(execFile);
  return {
    base: `http://127.0.0.1:${port}`,
    pageUrl,
    session,
    sandbox,
    ctl: (...args) => run(join(root, 'build/bin/opensimctl'), args, { env: { ...process.env, OPEN_RPC_SOCKET: socket } }),
    login: async (...args) => (await run(join(root, 'scripts/login'), ['--root', sandbox, ...args])).stdout.trim(),
    async stop() {
      serve.kill('SIGTERM');
      await exited;
      await rm(sandbox, { recursive: true, force: true });
    },
  };
}

// Headless Chromium as Debian ships it, on a fresh profile; the flags keep
// it off the network, which this machine does not have (it would retry
// refused connections). Returns the browser context and close().
export async function launchBrowser(options = {}) {
  const { chromium } = require('playwright-core');
  const profile = await mkdtemp(join(tmpdir(), 'mon-chromium-'));
  const context = await chromium.launchPersistentContext(profile, {
    executablePath: '/usr/bin/chromium',
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
      '--disable-background-networking', '--disable-component-update', '--disable-sync'],
    ...options,
  });
  await mkdir(artifacts, { recursive: true });
  return {
    context,
    async close() {
      await context.close();
      await rm(profile, { recursive: true, force: true });
    },
  };
}

// axe-core's findings on what the page shows now that are critical or
// serious, one line each: rule, impact, how many elements, the first of
// them and why.
export async function accessibilityProblems(page) {
  const { AxeBuilder } = require('@axe-core/playwright');
  const { violations } = await new AxeBuilder({ page }).analyze();
  return violations.filter((v) => v.impact === 'critical' || v.impact === 'serious').map((v) =>
    `${v.id} (${v.impact}, ${v.nodes.length}): ${v.nodes[0].target.join(' ')}: ${v.nodes[0].failureSummary.replaceAll('\n', ' ')}`);
}
