// The front desk's journeys.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { card, expectSoon, expectText, open, press, shownOrder, startHost } from './support.mjs';

const FOUR = [
  'clock 2024-03-02T23:40:10', 'ADD_SERVICE name=Towels delay=60', 'ADD_SERVICE name=Valet delay=15',
  'ADD_SERVICE name=Privacy delay=-1', 'ADD_SERVICE name=Turndown delay=30',
];

const state = (page, id) => card(page, id).locator('.state');
const ended = (page) => page.locator('#ended li').allTextContents().then((texts) => texts.join('; ').replace(/[\u2068\u2069]/g, ''));
const answer = async (page, name) => {
  await press(page, new RegExp(`^${name} .*Towels`));
  await press(page, new RegExp(`^Yes, .*Towels`));
};

test('open requests stand with their age and end, the oldest first, and what ended below, with how', async () => {
  const host = await startHost(...FOUR, 'SEND_REQUEST_EVENT id=3', 'advance 6m', 'SEND_REQUEST_EVENT id=2');
  const [desk, guest, other] = [await open(host, '/desk'), await open(host), await open(host)];
  await press(guest, /^Request .*Towels/);
  await expectSoon(() => shownOrder(desk), /^3,2,1$/);
  await expectText(state(desk, 1), /^Since 23:46 · open until 00:46 on 2024-03-03$/);
  await expectText(state(desk, 2), /^Since 23:46 · by the console · open until 00:01 on 2024-03-03$/);
  await expectText(state(desk, 3), /^Since 23:40 · by the console · open until done$/);
  for (const [minutes, ages] of [[0, '0,0,0'], [4, '1,0,0'], [5, '2,0,0'], [1, '2,1,1']]) {
    await host.run(`advance ${minutes}m`);
    await expectSoon(() => desk.locator('#services > li').evaluateAll((rows) => rows.map((row) => row.dataset.age).join()), new RegExp(`^${ages}$`));
  }
  await expectText(card(desk, 3).locator('.age'), /^16 min$/);
  await expectText(desk.locator('#summary'), /^3 requests, the oldest 16 min old\.$/);

  await answer(desk, 'Done');
  for (const page of [guest, other]) await expectText(state(page, 1), /^No longer requested\.$/);
  await press(guest, /^Request .*Towels/);
  await answer(guest, 'Cancel');
  await expectText(state(guest, 1), /^You cancelled this request\.$/);
  await expectText(state(other, 1), /^No longer requested\.$/);
  await host.run('advance 10m', 'SEND_REQUEST_EVENT id=4', 'REMOVE_SERVICE id=4');
  const all = /^Service 4Service removed at 00:06.*; ValetLapsed at 00:0\d, requested at 23:46 on 2024-03-02; TowelsWithdrawn by the guest at 23:56.*; TowelsDone at 23:56/;
  await expectSoon(() => ended(desk), all);
  await desk.reload();
  await expectSoon(() => ended(desk), all);
  await host.run('restart');
  await expectText(state(desk, 3), /^Since 23:40 on 2024-03-02 · open until done$/);
});

test('a new request is signalled by count, icon and tone until it is noted', async () => {
  const host = await startHost(...FOUR);
  const desk = await open(host, '/desk');
  const countTones = () => desk.evaluate(() => {
    window.tones = 0;
    const { start } = OscillatorNode.prototype;
    OscillatorNode.prototype.start = function begin(...when) {
      window.tones += 0.5; // of two notes
      return start.apply(this, when);
    };
  });
  const tones = () => desk.evaluate(() => window.tones);
  const icon = () => desk.locator('link[rel=icon]').evaluate((link) => decodeURIComponent(link.href));
  const expectMark = async (title, image) => {
    await expectSoon(() => desk.title(), title);
    await expectSoon(icon, image);
  };
  await countTones();
  await expectText(desk.locator('#news'), /^The tone for new requests is off\.$/);
  await press(desk, 'Turn the tone on');
  await expectSoon(tones, /^1$/);
  await desk.locator('#signal').waitFor({ state: 'hidden' });
  await host.run('SEND_REQUEST_EVENT id=1', 'SEND_REQUEST_EVENT id=3');
  await expectText(desk.locator('#news'), /^2 new requests\.$/);
  await expectMark(/^\(2\) Front desk/, />2<\/text>/);
  await expectSoon(tones, /^3$/); // it repeats
  await press(desk, 'Silence the tone');
  const silent = await tones();
  await desk.waitForTimeout(6000);
  assert.equal(await tones(), silent);
  await expectMark(/^\(2\) /, />2</);
  await host.run('SEND_CANCEL_EVENT id=3', 'SEND_REQUEST_EVENT id=3');
  await expectSoon(tones, new RegExp(`^${silent + 1}$`));

  await press(desk, 'Noted');
  assert.equal(await desk.evaluate(() => document.activeElement.tagName), 'H1');
  await expectMark(/^Front desk/, /icon\.svg$/);
  await host.run('SEND_REQUEST_EVENT id=4');
  await expectMark(/^\(1\) /, />1</);
  await desk.reload();
  await expectMark(/^\(1\) /, />1</);
  assert.deepEqual(await desk.locator('.fresh:visible').count(), 1, 'a reload knows what was noted');
  await press(desk, /^Done .*Turndown/);
  await expectMark(/^Front desk/, /icon\.svg$/);
});

test('200 requests are handled with the keyboard, and marked as old without a connection', async () => {
  const many = Array.from({ length: 200 }, (_, i) => i + 1);
  const host = await startHost(...many.map((id) => `ADD_SERVICE name=S${id} delay=60`), ...many.map((id) => `SEND_REQUEST_EVENT id=${id}`));
  const desk = await open(host, '/desk', { viewport: { width: 1920, height: 1080 } });
  await expectText(desk.locator('#summary'), /^200 requests/);
  assert.ok((await card(desk, 1).locator('h2').evaluate((node) => Number.parseFloat(getComputedStyle(node).fontSize))) > 44, 'too small for three metres');
  await card(desk, 5).locator('button.main').focus();
  await desk.keyboard.press('Enter');
  await desk.keyboard.press('Enter');
  await card(desk, 5).waitFor({ state: 'detached' });
  assert.equal(await desk.evaluate(() => document.activeElement.dataset.id), '6', 'the focus is at the next row');
  await host.kill();
  await expectText(desk.locator('#summary'), /^Out of date: this is how it was at \d\d:\d\d\.$/);
  await press(desk, /^Done .*S199/);
  await press(desk, /^Yes, done .*S199/);
  await expectText(desk.locator('#status'), /no connection/);
  await host.start();
  await expectText(desk.locator('#summary'), /^199 requests/);
});
