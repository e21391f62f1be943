// The looks: axe-core finds nothing in any view and colour scheme, and the pictures for the README.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import path from 'node:path';
import { test } from 'node:test';
import { GRACE, ROOT, card, expectText, open, press, startHost } from './support.mjs';

// Those of the README are only made anew on demand: PICTURES=docs/pictures scripts/test browser
const IN_README = ['guest-light', 'guest-dark', 'desk-light', 'installer-light', 'activity-dark'];
const folderOf = (name) => path.resolve(ROOT, (IN_README.includes(name) && process.env.PICTURES) || 'build/pictures');
const AXE = await readFile(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

const PROPERTY = [
  'clock 2024-03-02T21:05:10',
  'ADD_SERVICE name=Housekeeping description="Fresh towels, a made bed and a tidy room." icon=0 delay=60 operarequest=HK01',
  'ADD_SERVICE name="Luggage help" description="A bellman carries your bags to the lobby or to your room." icon=1 delay=30',
  'ADD_SERVICE name="Valet parking" description="Your car at the front door." icon=3 delay=15 operarequest=VAL01',
  'ADD_SERVICE name=Turndown description="The bed prepared for the night." icon=4 delay=120',
  'ADD_SERVICE name="Privacy, please" description="No knock until you say so." icon=6 delay=-1',
  'ADD_SERVICE name="Room service" description="Dinner and drinks, served in your room." icon=7 delay=5',
  'ADD_SERVICE type=shortcut shortcut_id=42',
  'SEND_REQUEST_EVENT id=4', 'SEND_CANCEL_EVENT id=4', 'SEND_REQUEST_EVENT id=6', 'advance 6m',
  'SEND_REQUEST_EVENT id=3 operarequest=VAL01', 'SEND_REQUEST_EVENT id=5', 'advance 4m',
];

const DESKTOP = { width: 1000, height: 700 };
const PHONE = { width: 390, height: 760 };

/** What can be seen where: a view, and what is done there first. */
const LOOKS = [
  { name: 'guest', place: '/', viewport: PHONE, act: (page) => expectText(card(page, 3), /open until 21:26/) },
  {
    name: 'guest-asked', place: '/', viewport: DESKTOP,
    act: async (page) => {
      await card(page, 3).locator('button.main').click();
      await expectText(card(page, 3), /Yes, cancel/);
    },
  },
  { name: 'desk-phone', place: '/desk', viewport: PHONE, act: (page) => page.getByRole('button', { name: 'Noted' }).click() },
  { name: 'installer', place: '/installer', viewport: DESKTOP, act: (page) => expectText(card(page, 3), /Open since/) },
  { name: 'installer-edit', place: '/installer', viewport: DESKTOP, act: (page) => page.getByRole('button', { name: /^Edit .*Valet/ }).click() },
  { name: 'installer-remove', place: '/installer', viewport: PHONE, act: (page) => page.getByRole('button', { name: /^Remove .*Valet/ }).click() },
  { name: 'activity', place: '/activity', viewport: DESKTOP, act: (page, host) => host.run('SEND_CANCEL_EVENT id=5', 'REORDER_SERVICES order=3,1,2,4,5,6,7', 'ui GET_SERVICE id=3') },
  {
    name: 'desk', place: '/desk', viewport: { width: 1280, height: 800 },
    act: async (page, host) => {
      await host.run('SEND_REQUEST_EVENT id=5', 'advance 5m');
      const guest = await open(host);
      await press(guest, /^Request .*Turndown/);
      await host.run('advance 6m');
      await press(guest, /^Request .*Luggage/);
      await host.run('advance 5m30s');
      await press(page, /^Done .*Turndown/);
      await page.locator('#status').click();
    },
  },
];

for (const colorScheme of ['light', 'dark']) {
  test(`axe-core finds nothing in the views, ${colorScheme}`, async () => {
    const host = await startHost(...PROPERTY);
    for (const { name, place, viewport, act } of LOOKS) {
      const page = await open(host, place, { viewport, colorScheme });
      await act(page, host);
      await page.waitForTimeout(GRACE);
      const picture = `${name}-${colorScheme}`;
      await page.screenshot({ path: path.join(folderOf(picture), `${picture}.png`), animations: 'disabled' });
      await page.evaluate(AXE);
      const { violations, passes } = await page.evaluate(() => window.axe.run());
      assert.ok(passes.some(({ id }) => id === 'color-contrast'), 'the contrast was not looked at');
      const found = violations.map(({ id, nodes }) => `${id}: ${nodes[0].html.slice(0, 200)}`);
      assert.equal(found.join('\n'), '', `${name} has violations`);
    }
  });
}

const LONG_NAME = 'A very long name of a service that does not fit into two lines of any card, however wide the card may be. '.repeat(3);

/** What reaches over the edge of the screen, or is cut by its own box. */
const overflowing = () => [...document.querySelectorAll('body *')].filter((node) => {
  const { right, left, width } = node.getBoundingClientRect();
  if (width === 0 || node.closest('.unseen, option')) return false;
  const isCut = node.matches('button, nav a, label') && node.scrollWidth > node.clientWidth + 1 && node.clientWidth > 0;
  return isCut || right > window.innerWidth + 1 || left < -1;
}).map((node) => node.outerHTML.slice(0, 100));

test('with text of twice the size nothing runs off a phone, and long texts can be read in full', async () => {
  const host = await startHost(...PROPERTY, `ADD_SERVICE name="${LONG_NAME}" description="Short." delay=60`, 'SEND_REQUEST_EVENT id=8');
  for (const [place, size] of [['/', 16], ['/', 32], ['/desk', 32], ['/installer', 32], ['/activity', 32]]) {
    const page = await open(host, place, { viewport: { width: 360, height: 740 } });
    const browser = await page.context().newCDPSession(page);
    await browser.send('Page.setFontSizes', { fontSizes: { standard: size, fixed: size } });
    await page.waitForTimeout(GRACE);
    const look = async (name) => {
      await page.screenshot({ path: path.join(folderOf(''), `large-${name}-${size}.png`) });
      assert.deepEqual(await page.evaluate(overflowing), [], `${place} ${name} at ${size}`);
    };
    await look(place.slice(1) || 'guest');
    if (place === '/activity') continue;
    const name = card(page, 8).locator('h2');
    const isCut = () => name.evaluate((node) => node.scrollHeight > node.clientHeight + 1);
    assert.equal(await isCut(), true);
    await card(page, 8).getByRole('button', { name: /^More .*A very long name/ }).click();
    assert.equal(await isCut(), false);
    await look('whole');
    if (place !== '/installer') continue;
    await page.getByRole('button', { name: /^Edit .*Valet/ }).click();
    await look('form');
  }
});

test('the current page is marked in forced colours too', async () => {
  const page = await open(await startHost(...PROPERTY), '/installer', { forcedColors: 'active' });
  await page.screenshot({ path: path.join(folderOf(''), 'forced-colours.png') });
  const link = page.getByRole('link', { name: 'Installer' });
  const marked = await link.screenshot();
  await link.evaluate((node) => node.removeAttribute('aria-current'));
  assert.ok(!marked.equals(await link.screenshot()), 'it looks like any other');
});
