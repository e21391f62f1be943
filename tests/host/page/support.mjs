// What the browser tests share: the live host, driven on its console, and pages that look at it.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import path from 'node:path';
import readline from 'node:readline';
import { after, afterEach, before } from 'node:test';
import { setTimeout as sleep } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

export const ROOT = fileURLToPath(new URL('../../../', import.meta.url));
const HOST = path.join(ROOT, 'build/release/bin/guest-services-host');
// From the folder above the host's; the page shows it, and so do the pictures.
const PLUGIN = 'lib/guest-services/guest-services-agent.so';
// A busy machine may take its time.
const PATIENCE = 30000;
// The page holds back taps on what has just changed.
export const GRACE = 700;
// A proxy's site, and its address.
export const SITE = 'guests.hotel.example';
export const PROXY = '127.0.0.10';

/** A live host with a state file of its own. `lines` is all that its console printed. */
class Host {
  lines = [];
  #marks = 0;

  constructor(folder) {
    this.folder = folder;
    this.state = path.join(folder, 'state.xml');
  }

  /** Starts it, the second time at the same address. */
  async start() {
    const listen = this.url ? new URL(this.url).host : '127.0.0.1:0';
    this.process = spawn(HOST, ['run', '--plugin', PLUGIN, '--state', this.state, '--listen', listen, '--allow-host', SITE], {
      cwd: path.dirname(path.dirname(HOST)),
      stdio: ['pipe', 'pipe', 'inherit'],
      env: { ...process.env, TZ: 'UTC' },
    });
    const from = this.lines.length;
    readline.createInterface({ input: this.process.stdout }).on('line', (line) => this.lines.push(line));
    [, this.url] = await this.waitFor(/^! page .*(http.*)/, from);
  }

  /** The match of the first line from `from` on that matches. */
  waitFor(pattern, from = 0) {
    return expectSoon(() => this.lines.slice(from).join('\n'), new RegExp(pattern, 'm'));
  }

  /** Carries out steps on the console; the lines that were printed meanwhile. */
  async run(...steps) {
    const from = this.lines.length;
    const mark = `# ${(this.#marks += 1)}`;
    this.process.stdin.write(`${[...steps, mark].join('\n')}\n`);
    await this.waitFor(new RegExp(`^(> )?${mark}$`), from);
    return this.lines.slice(from).filter((line) => !line.endsWith(mark));
  }

  /** The list as the agent answers it. */
  async list() {
    return (await this.run('ui GET_ALL_SERVICES')).join('\n').match(/^answer (.*)/m)[1];
  }

  /** The ids in the agent's order. */
  async order() {
    return [...(await this.list()).matchAll(/<(?:guest_service|shortcut) id="(\d+)"/g)].map(([, id]) => Number(id));
  }

  async kill() {
    if (this.process.exitCode !== null || this.process.signalCode !== null) return;
    const gone = once(this.process, 'exit');
    this.process.kill('SIGKILL');
    await gone;
  }
}

/** Replays a scenario file; shows the difference, if there is one, and fails. */
export const replay = (file) => execFileSync(HOST, ['replay', file], { stdio: 'inherit' });

// A browser for all tests of a file; after each test, what it has opened and started is gone.
let browser;
export const cleanUp = [];
before(async () => (browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: [`--host-resolver-rules=MAP ${SITE} ${PROXY}`] })));
after(() => browser.close());
afterEach(async () => {
  const problems = [];
  while (cleanUp.length > 0) await cleanUp.pop()().catch((error) => problems.push(error));
  assert.deepEqual(problems, []);
});

/** A live host in a fresh folder, at which these steps have been carried out. */
export async function startHost(...steps) {
  const folder = await mkdtemp(path.join(tmpdir(), 'guest-services-'));
  const host = new Host(folder);
  cleanUp.push(() => rm(folder, { recursive: true }), () => host.kill());
  await host.start();
  await host.run(...steps);
  return host;
}

/** A page in a browser profile of its own. In the end it must have met no error and no script of a name. */
export async function open(host, place = '/', options = {}) {
  const context = await browser.newContext({ viewport: { width: 1000, height: 800 }, ...options });
  const page = await context.newPage();
  const problems = [];
  page.setDefaultTimeout(PATIENCE);
  page.on('pageerror', (error) => problems.push(error.stack));
  page.on('dialog', (dialog) => problems.push(`dialog: ${dialog.message()}`));
  page.on('console', (message) => {
    const isOutage = /WebSocket connection to .* failed/.test(message.text()) || /\/ws\/\w+$/.test(message.location().url);
    if (message.type() === 'error' && !isOutage) problems.push(message.text());
  });
  cleanUp.push(async () => {
    await context.close();
    assert.deepEqual(problems, []);
  });
  await page.goto(new URL(place, host.url).href);
  await expectText(page.locator(place === '/activity' ? '#health' : '#summary'), /^(?!One moment|Waiting)./);
  await page.waitForTimeout(GRACE);
  return page;
}

/** The card of the service with that id. */
export const card = (page, id) => page.locator(`#services > li[data-id="${id}"]`);

/** Presses the button, once the page takes what has just changed for seen. */
export async function press(page, name) {
  await page.waitForTimeout(GRACE);
  await page.getByRole('button', { name }).click();
}

/** Waits until what `read` gives matches. */
export async function expectSoon(read, pattern) {
  const deadline = Date.now() + PATIENCE;
  let text = String(await read());
  while (!pattern.test(text) && Date.now() < deadline) {
    await sleep(20);
    text = String(await read());
  }
  assert.match(text, pattern);
  return text.match(pattern);
}

/** Waits until the element has a text that matches. */
export const expectText = (locator, pattern) => expectSoon(() => locator.textContent(), pattern);

/** The ids in the order in which a view shows them. */
export const shownOrder = (page) => page.evaluate(() => [...document.querySelectorAll('#services > li')].map((li) => li.dataset.id).join());
