// What page and host owe each other: one truth for all, after an outage too.
import assert from 'node:assert/strict';
import { writeFile } from 'node:fs/promises';
import path from 'node:path';
import { test } from 'node:test';
import { GRACE, card, expectSoon, expectText, open, press, replay, shownOrder, startHost } from './support.mjs';

test('after an outage the page shows the truth again, without a reload', async () => {
  const host = await startHost('ADD_SERVICE name=Towels delay=60', 'ADD_SERVICE name=Valet delay=15', 'SEND_REQUEST_EVENT id=1');
  const page = await open(host);
  const attempts = [];
  page.on('console', (message) => /WebSocket/.test(message.text()) && attempts.push(Date.now()));
  await page.evaluate(() => (window.isSamePage = true));
  await host.kill();
  await expectText(page.locator('#connection'), /connection to the host is lost.*Trying again/);
  await card(page, 2).getByRole('button').click();
  await expectText(page.locator('#status'), /no connection/);
  await expectSoon(() => attempts.length, /^[4-9]$/);
  const pauses = attempts.slice(1).map((time, i) => time - attempts[i]);
  assert.ok(pauses.every((pause, i) => pause > 900 * 2 ** i), `pauses of ${pauses} ms do not double`);

  await host.start();
  await host.run('REMOVE_SERVICE id=2', 'ADD_SERVICE name=Turndown delay=5', 'SEND_CANCEL_EVENT id=1');
  await expectText(page.locator('#connection'), /^$/);
  await expectText(card(page, 1).locator('.state'), /No longer requested/);
  await expectText(card(page, 2), /Turndown/);
  assert.equal(await page.evaluate(() => window.isSamePage), true);
  await page.waitForTimeout(GRACE);
  await card(page, 2).getByRole('button').click();
  await expectText(card(page, 2).locator('.state'), /^Requested/);
});

test('all browsers show the same', async () => {
  const host = await startHost('clock 2024-03-02T14:05:10', ...['A', 'B', 'C', 'D'].map((name) => `ADD_SERVICE name=${name} delay=15`));
  const guests = [await open(host), await open(host)];
  const installers = [await open(host, '/installer'), await open(host, '/installer')];
  await card(guests[0], 1).getByRole('button').click();
  await card(guests[1], 2).getByRole('button').click();
  await installers[0].locator('.handle').first().press('End');
  await installers[1].locator('.handle').last().press('ArrowUp');
  await host.run('REMOVE_SERVICE id=3', 'SEND_CANCEL_EVENT id=2', 'ADD_SERVICE name=E');
  for (const page of [...guests, ...installers]) await expectText(page.locator('#services > li').last(), /E/);
  const order = (await host.order()).join();
  for (const pages of [[...guests, await open(host)], [...installers, await open(host, '/installer')]]) {
    for (const page of pages) assert.equal(await shownOrder(page), order);
    const read = () => Promise.all(pages.map((page) => page.locator('main').innerText()));
    await expectSoon(async () => new Set(await read()).size, /^1$/);
  }

  const time = '<request_time YEAR="2147483647" MONTH="-1" DAY="0" HOUR="0" MIN="0" SEC="0"/>';
  await host.run(`restart state='<guest_services><guest_service id="7" name="Linens" state="1" delay="5">${time}</guest_service></guest_services>'`);
  for (const page of [guests[0], installers[0]]) await expectSoon(() => shownOrder(page), /^7$/);
  await host.run('reload');
  await expectText(card(guests[0], 7), /Linens/);
});

const LONG = 'Long '.repeat(2000);
const HOSTILE = [
  '<script>alert(1)</script>', '<img src=x onerror=alert(1)>', '"><svg onload=alert(1)>', `'";--\\ &amp; &lt;`,
  '\u202Egnihtemos\u202C', 'שירות חדרים', '{{7*7}} ${7*7}', ' \t\n ', '🛎️ e\u0301', LONG,
];

test('names and descriptions are text in every view, also with markup in them', async () => {
  const host = await startHost(...HOSTILE.map((text) => {
    const quoted = JSON.stringify(text); // escapes these as a step does
    return `ADD_SERVICE name=${quoted} description=${quoted} operarequest=${quoted} icon=1 delay=-1`;
  }));
  const before = await host.list();
  await host.run(...HOSTILE.map((_, i) => `SEND_REQUEST_EVENT id=${i + 1}`));
  for (const view of ['/', '/installer', '/activity']) {
    const page = await open(host, view, { viewport: { width: 390, height: 800 } });
    if (view === '/activity') await expectText(page.locator('#lines'), /&lt;script>|&lt;script&gt;/);
    for (const [i, text] of view === '/activity' ? [] : HOSTILE.entries()) {
      assert.equal(await card(page, i + 1).locator('h2').textContent(), text);
      assert.equal(await card(page, i + 1).locator('.description').textContent(), text);
    }
    assert.equal(await page.locator('main script, main img, #lines svg').count(), 0);
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth), `${view} is wider than the screen`);
  }
  // Edited and saved as they are, they stay as they are.
  await host.run(...HOSTILE.map((_, i) => `SEND_CANCEL_EVENT id=${i + 1}`));
  const page = await open(host, '/installer');
  for (const i of HOSTILE.keys()) {
    await card(page, i + 1).getByRole('button', { name: /^Edit/ }).click();
    await press(page, 'Save');
    await host.waitFor(new RegExp(`^bound 100 SERVICE_CHANGED id:INT=${i + 1}$`));
  }
  const withoutTimes = (xml) => xml.replace(/<request_time [^>]*>/g, '');
  assert.ok(withoutTimes(await host.list()) === withoutTimes(before), 'saved as it was, an entry has changed');
});

test('a full host is told apart from a lost one', async () => {
  const host = await startHost('ADD_SERVICE name=Towels');
  const page = await open(host);
  await page.evaluate(() => {
    window.others = Array.from({ length: 31 }, () => new WebSocket('/ws/guest'));
    return Promise.all(window.others.map((socket) => new Promise((resolve) => (socket.onopen = resolve))));
  });
  const late = await page.context().newPage();
  await late.goto(host.url);
  await expectText(late.locator('#connection'), /too many pages are open/);
  await page.evaluate(() => window.others.forEach((socket) => socket.close()));
  await expectText(late.locator('#connection'), /^$/);
  await expectText(card(late, 1), /Towels/);
  assert.equal(await late.locator('a').count(), 0, 'the guest\'s page leads to the staff\'s');
});

test('what the host puts in quotes is read as it was', async () => {
  const page = await open(await startHost());
  const cases = [
    [String.raw`"a b"`, 'a b'], [String.raw`"\"\\"`, '"\\'], [String.raw`"\n\t\\n"`, '\n\t\\n'],
    [String.raw`"\x07\x7F"`, '\x07\x7f'], [String.raw`"\xC3\xA9\xFF"`, 'é\ufffd'],
  ];
  const read = await page.evaluate(async (texts) => texts.map((await import('/services.js')).unquote), cases.map(([text]) => text));
  assert.deepEqual(read, cases.map(([, text]) => text));
});

test('the activity can be filtered and paused, tells of trouble, and can be copied as a scenario that replays', async () => {
  const host = await startHost('clock 2024-03-02T23:58:00', 'ADD_SERVICE name=Valet delay=1', 'ADD_SERVICE name=Towels');
  const page = await open(host, '/activity');
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
  const shown = () => page.locator('#lines li:visible').evaluateAll((rows) => rows.map((row) => row.lastChild.textContent));
  await expectText(page.locator('#health'), /State file: saved.*Plug-in: .*guest-services-agent\.so/);
  await host.run('SEND_REQUEST_EVENT id=1', 'SEND_REQUEST_EVENT id=2', 'advance 2m', 'REORDER_SERVICES order=2,1', 'SEND_REQUEST_EVENT id=1');
  await expectSoon(async () => (await shown()).length, /^31$/);
  const times = () => page.locator('#lines .time').allTextContents();
  const before = await times();
  assert.match(before.join(), /^2024-03-02 23:58:0\d,23.*,2024-03-03 00:00:0\d,/);
  await page.reload();
  await expectSoon(async () => (await shown()).length, /^31$/);
  assert.equal((await times()).join(), before.join(), 'the times after a reload');

  await page.getByLabel('Service').selectOption('1 \u2068Valet\u2069');
  for (const kind of ['Pushes', 'Bound calls', 'Log']) await page.getByLabel(kind).uncheck();
  assert.deepEqual(await shown(), ['ADD_SERVICE name=Valet delay=1', 'SEND_REQUEST_EVENT id=1', '1', 'SEND_REQUEST_EVENT id=1', '1']);
  await press(page, 'Pause');
  await host.run('SEND_CANCEL_EVENT id=1');
  await expectText(page.locator('#pause'), /^Go on \(5 more lines\)$/);
  assert.equal((await shown()).length, 5);
  await press(page, /Go on/);
  assert.deepEqual((await shown()).slice(-2), ['SEND_CANCEL_EVENT id=1', '10001']);

  await press(page, 'Copy as scenario');
  await expectText(page.locator('#status'), /^Copied/);
  const scenario = await page.evaluate(() => navigator.clipboard.readText());
  assert.match(scenario, /^> restart state=.*^> ADD_SERVICE name=Valet delay=1$.*^fire 10001$/ms);
  assert.doesNotMatch(scenario, /^> ui /m, 'what pages ask is no part of it');
  const file = path.join(host.folder, 'copied.txt');
  await writeFile(file, scenario);
  await replay(file);

  await host.kill();
  await writeFile(host.state, 'no state at all');
  await host.start();
  await expectText(page.locator('#health'), /holds no readable state; it is now .*state\.xml\.unreadable-/);
  assert.ok((await page.locator('#health .bad').count()) > 0);
});
