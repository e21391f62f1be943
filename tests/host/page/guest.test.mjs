// The guest's journeys.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { GRACE, card, expectSoon, expectText, open, press, startHost } from './support.mjs';

const THREE = [
  'ADD_SERVICE name=Towels icon=2 delay=60',
  'ADD_SERVICE name=Valet icon=3 delay=15 operarequest=VAL01',
  'ADD_SERVICE name=Privacy icon=6 delay=-1',
];

const state = (page, id) => card(page, id).locator('.state');
const main = (page, id) => card(page, id).locator('button.main');
const requests = (host) => host.lines.filter((line) => line.startsWith('> SEND_'));

test('one tap requests, the page says until when it is open by the clock of the host, two taps cancel, and a lapse is told apart', async () => {
  const host = await startHost('clock 2024-03-02T14:05:10', ...THREE, 'ADD_SERVICE type=shortcut shortcut_id=42');
  const page = await open(host);
  const shareOfRing = async () => Number.parseFloat(await card(page, 2).locator('.left').getAttribute('stroke-dasharray'));
  assert.equal(await card(page, 4).count(), 0, 'a shortcut cannot be requested');
  await main(page, 2).click();
  await expectText(state(page, 2), /^Requested at 14:05 · open until 14:20$/);
  await expectText(page.locator('#status'), /Valet.* is requested now/);
  assert.ok((await shareOfRing()) > 0.98);
  assert.deepEqual(requests(host), ['> SEND_REQUEST_EVENT id=2 operarequest=VAL01']);

  await host.run('advance 13m45s');
  await expectSoon(async () => (await shareOfRing()) < 0.1, /^true$/);
  await expectText(state(page, 2), /· open until 14:20$/);

  await press(page, /^Cancel .*Valet/);
  await press(page, /Keep it/);
  await press(page, /^Cancel .*Valet/);
  await page.waitForTimeout(GRACE);
  assert.equal(requests(host).length, 1, 'the first tap only asks');
  await main(page, 2).click();
  await expectText(state(page, 2), /cancelled/);
  assert.equal(requests(host).at(-1), '> SEND_CANCEL_EVENT id=2');
  await host.waitFor(/^fire 10002$/);

  await host.run('SEND_REQUEST_EVENT id=1', 'SEND_REQUEST_EVENT id=3', 'advance 60m30s');
  for (const [each, ended] of [[page, /^You cancelled/], [await open(host), /^No longer requested/]]) {
    await expectText(state(each, 1), /ran out of time/);
    await expectText(main(each, 1), /^Request /);
    await expectText(state(each, 2), ended);
    await expectText(state(each, 3), /open until it is cancelled/);
  }
  await main(page, 1).click();
  await expectText(state(page, 1), /^Requested at/);
});

test('a tap never lands on what has just come under the finger', async () => {
  const host = await startHost(...THREE);
  const page = await open(host, '/', { viewport: { width: 390, height: 900 }, reducedMotion: 'reduce' });
  const { x, y } = await main(page, 2).boundingBox();
  await page.mouse.move(x + 5, y + 5);
  await host.run('REMOVE_SERVICE id=1');
  await card(page, 1).waitFor({ state: 'detached' });
  assert.equal(await page.evaluate(([left, top]) => document.elementFromPoint(left, top).closest('li').dataset.id, [x + 5, y + 5]), '3');
  await page.mouse.click(x + 5, y + 5);
  await expectText(page.locator('#status'), /Please tap again/);
  assert.deepEqual(requests(host), []);

  await page.waitForTimeout(GRACE);
  await page.mouse.down();
  await host.run('REORDER_SERVICES order=3,2');
  await expectText(page.locator('#services > li').first(), /Privacy/);
  await page.mouse.up();
  await page.waitForTimeout(GRACE);
  assert.deepEqual(requests(host), [], 'pressed on one, released on another');

  await main(page, 2).dblclick();
  await expectText(main(page, 2), /^Cancel /);
  await page.waitForTimeout(GRACE);
  assert.equal(await card(page, 2).getAttribute('data-phase'), 'open', 'the second tap of two does nothing');
});

test('a tap on a message ends it, and reaches nothing under it', async () => {
  const host = await startHost(...THREE);
  const page = await open(host, '/', { viewport: { width: 360, height: 400 } });
  const status = page.locator('#status');
  await main(page, 1).click();
  await expectText(status, /Towels.* is requested now/);
  assert.equal(await status.getAttribute('class'), 'unseen', 'the card in view shows it');
  await host.run('ADD_SERVICE name=Linens');
  await expectText(status, /Linens.* is new/);
  const point = await page.evaluate(() => {
    const middle = (node) => node.getBoundingClientRect().top + node.getBoundingClientRect().height / 2;
    const button = document.querySelector('[data-id="2"] .main');
    window.scrollBy(0, middle(button) - middle(document.querySelector('#status')));
    return { x: button.getBoundingClientRect().left + 10, y: middle(button) };
  });
  await page.waitForTimeout(GRACE);
  const topmost = () => page.evaluate(({ x, y }) => document.elementFromPoint(x, y).id, point);
  assert.equal(await topmost(), 'status');
  await page.mouse.dblclick(point.x, point.y);
  await expectText(status, /^$/);
  assert.equal(requests(host).length, 1);
  await page.mouse.click(point.x, point.y);
  await expectText(state(page, 2), /^Requested/);
});

test('focus and place stay where they are when the list changes', async () => {
  const more = Array.from({ length: 12 }, (_, i) => `ADD_SERVICE name=More${i} delay=5`);
  const host = await startHost(...THREE, ...more);
  const page = await open(host, '/', { viewport: { width: 390, height: 500 } });
  await main(page, 7).focus();
  const before = await card(page, 7).boundingBox();
  await host.run('REMOVE_SERVICE id=2', `REORDER_SERVICES order=15,14,7,3,1,4,5,6,8,9,10,11,12,13`);
  await expectText(page.locator('#services > li').first(), /More11/);
  await page.waitForTimeout(GRACE);
  const focused = () => page.evaluate(() => [document.activeElement.tagName, document.activeElement.closest('li').dataset.id]);
  assert.deepEqual(await focused(), ['BUTTON', '7']);
  assert.ok(Math.abs((await card(page, 7).boundingBox()).y - before.y) < 2, 'it moved on the screen');

  await host.run('REMOVE_SERVICE id=7');
  await card(page, 7).waitFor({ state: 'detached' });
  assert.deepEqual(await focused(), ['LI', '3'], 'not on a button of another service');
  await page.keyboard.press('Enter');
  await host.run();
  assert.deepEqual(requests(host), []);
});
