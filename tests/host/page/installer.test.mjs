// The installer's journeys.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { GRACE, card, expectSoon, expectText, open, press, shownOrder, startHost } from './support.mjs';

const NEVER = '<request_time YEAR="1970" MONTH="1" DAY="1" HOUR="0" MIN="0" SEC="0"/></guest_service>';

const editor = (page) => page.getByRole('dialog');

test('entries of both kinds are added, edited and removed with all their fields, by others meanwhile too', async () => {
  const host = await startHost();
  const page = await open(host, '/installer');
  await expectText(page.locator('#summary'), /no services yet/);
  await press(page, 'Add a service');
  const form = editor(page);
  assert.deepEqual(await form.locator('#types label').allTextContents(), [
    'Housekeeping', 'Bellman', 'Linens', 'Valet', 'Turndown', 'Rollaway', 'Privacy', 'Service room',
  ]);
  await form.getByText('Valet').click();
  assert.equal(await form.getByLabel('Name').inputValue(), 'Valet');
  await form.getByLabel('Description').fill('Your car,\nat the "front" door');
  await form.getByLabel('A request lapses').selectOption('after 45 minutes');
  await form.getByLabel('Request code').fill('VAL 01');
  await press(page, 'Save');
  await card(page, 1).waitFor();
  const valet = (fields) => `<guest_service id="1" name="Valet" description="Your car,&#10;at the &quot;front&quot; door" ${fields} state="0">${NEVER}`;
  assert.equal(await host.list(), `<guest_services>${valet('icon="3" delay="45" operarequest="VAL 01"')}</guest_services>`);

  await press(page, 'Add a service');
  await form.getByLabel('Shortcut').check();
  await form.getByLabel('Number of the item').fill('4294967295');
  await press(page, 'Save');
  await expectText(card(page, 2), /Shortcut to item 4294967295/);

  await press(page, /^Edit .*Valet/);
  assert.equal(await form.getByLabel('Description').inputValue(), 'Your car,\nat the "front" door');
  await form.getByLabel('Minutes (').fill('7');
  await form.getByLabel('Icon number').fill('-12');
  await form.getByLabel('Request code').fill('');
  await press(page, 'Save');
  await expectText(card(page, 1), /Lapses after 7 minutes · icon -12/);
  await press(page, /^Edit .*Item/);
  await form.getByLabel('Number of the item').fill('42');
  await press(page, 'Save');
  await expectText(card(page, 2), /Shortcut to item 42/);
  assert.equal(
    await host.list(),
    `<guest_services>${valet('icon="-12" delay="7" operarequest=""')}<shortcut id="2" shortcut_id="42"/></guest_services>`,
  );

  await press(page, /^Remove .*Valet/);
  await press(page, 'Keep it');
  await press(page, /^Remove .*Item 42/);
  await expectText(page.getByRole('heading', { name: /^Remove/ }), /Item 42/);
  await page.getByRole('button', { name: 'Remove', exact: true }).click();
  await card(page, 2).waitFor({ state: 'detached' });
  assert.deepEqual(await host.order(), [1]);

  await host.run('SEND_REQUEST_EVENT id=1');
  await press(page, /^Edit/);
  await host.run(`EDIT_SERVICE guest_service='<guest_service id="1" name="Parking" delay="5"/>'`);
  await expectText(page.locator('#editor-note'), /changed on another page/);
  await press(page, 'Save');
  await expectText(card(page, 1), /Valet.*after 7 minutes.*Open since/s);
  await press(page, /^Edit/);
  await host.run('REMOVE_SERVICE id=1');
  await form.waitFor({ state: 'hidden' });
  await expectText(page.locator('#status'), /removed on another page/);

  await host.run('ADD_SERVICE name=Linens delay=5');
  await press(page, /^Edit/);
  await form.getByLabel('Name').fill('Bed linen');
  await host.run('REMOVE_SERVICE id=1');
  await expectText(page.locator('#editor-note'), /removed on another page.*adds it again/);
  await press(page, 'Save');
  await expectText(card(page, 1), /Bed linen/);
});

test('delays are said in words, open requests with their time', async () => {
  const words = [
    [-1, 'never'], [0, 'at once'], [-5, 'at once'], [1, 'after 1 minute'], [15, 'after 15 minutes'],
    [60, 'after 1 hour'], [90, 'after 1 hour 30 minutes'], [1500, 'after 1 day 1 hour'],
  ];
  const host = await startHost(...words.map(([delay]) => `ADD_SERVICE name=S delay=${delay}`));
  const page = await open(host, '/installer');
  for (const [index, [delay, text]] of words.entries()) {
    await expectText(card(page, index + 1).locator('.facts'), new RegExp(`^Lapses ${text} ·`));
    await card(page, index + 1).getByRole('button', { name: /Edit/ }).click();
    assert.equal(await editor(page).getByLabel('Minutes (').inputValue(), String(delay));
    await press(page, 'Back');
  }
  await host.run('clock 2024-03-02T23:58:30', 'SEND_REQUEST_EVENT id=7', 'advance 20m');
  await expectText(card(page, 7).locator('.state'), /^Open since 23:58 on 2024-03-02 · open until 01:28$/);
  await expectText(page.locator('#summary'), /Open requests: .*S.* since 23:58 on 2024-03-02\./);
  await host.run('advance 1m', ...[1, 4, 5, 6, 8].map((id) => `SEND_REQUEST_EVENT id=${id}`));
  await expectText(page.locator('#summary'), /^8 entries\. Open requests: (.S. since [^,]*(, | )){3}and 3 more\.$/);
});

test('the order is changed by dragging, with a finger too, and with the keyboard', async () => {
  const host = await startHost(...['A', 'B', 'C', 'D'].map((name) => `ADD_SERVICE name=${name}`));
  const page = await open(host, '/installer', { viewport: { width: 390, height: 900 }, hasTouch: true });
  const handle = (id) => card(page, id).locator('.handle');
  const expectOrder = async (order) => {
    await expectSoon(() => shownOrder(page), new RegExp(`^${order}$`));
    assert.deepEqual(await host.order(), order);
    await page.waitForTimeout(GRACE);
  };
  const middle = async (id) => {
    const { x, y, width, height } = await handle(id).boundingBox();
    return { x: x + width / 2, y: y + height / 2 };
  };

  const drag = async (from, to) => {
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    await page.mouse.move(to.x, to.y + 20, { steps: 4 });
  };

  await drag(await middle(1), await middle(3));
  await page.mouse.up();
  await expectOrder([2, 3, 1, 4]);

  const touch = await page.context().newCDPSession(page);
  const [from, to] = [await middle(4), await middle(2)];
  const send = (type, ...touchPoints) => touch.send('Input.dispatchTouchEvent', { type, touchPoints });
  await send('touchStart', from);
  await send('touchMove', { x: to.x, y: to.y - 10 });
  await send('touchMove', { x: to.x, y: to.y - 20 });
  await send('touchEnd');
  await expectOrder([4, 2, 3, 1]);

  assert.equal(await page.getByRole('button', { name: /^Move / }).count(), 4, 'a handle is called by what it does');
  await handle(3).focus();
  for (const [key, order] of [['ArrowUp', [4, 3, 2, 1]], ['End', [4, 2, 1, 3]], ['ArrowDown', [4, 2, 1, 3]], ['Home', [3, 4, 2, 1]]]) {
    await page.keyboard.press(key);
    await expectOrder(order);
    await expectText(page.locator('#status'), new RegExp(`C.* is at place ${order.indexOf(3) + 1} of 4\\.`));
    assert.equal(await page.evaluate(() => document.activeElement.closest('li').dataset.id), '3', key);
  }

  await drag(await middle(3), await middle(1));
  await page.keyboard.press('Escape');
  await page.mouse.up();
  await expectOrder([3, 4, 2, 1]);
});

test('the form refuses what makes no sense, and asks before it discards what was entered', async () => {
  const host = await startHost('ADD_SERVICE name=" " delay=-5');
  const page = await open(host, '/installer');
  const form = editor(page).first();
  const refused = [['Name', ' \u00a0\t ', 'Linens'], ['Minutes (', '-2', '-1']];
  await press(page, 'Add a service');
  for (const [field, , good] of refused) await form.getByLabel(field).fill(good);
  for (const [field, bad, good] of refused) {
    await form.getByLabel(field).fill(bad);
    await press(page, 'Save');
    assert.equal(await form.locator(':is(input, textarea):invalid').count(), 1, `${field} ${bad} is taken`);
    await form.getByLabel(field).fill(good);
  }
  const isThere = /Discard what you entered/;
  await page.keyboard.press('Escape');
  await expectText(page.locator('#question[open] h2'), isThere);
  await page.keyboard.press('Escape');
  await page.locator('#question').waitFor({ state: 'hidden' });
  assert.equal(await form.getByLabel('Name').inputValue(), 'Linens');
  await press(page, 'Back');
  await press(page, 'Discard');
  await form.waitFor({ state: 'hidden' });
  assert.deepEqual(await host.order(), [1]);

  await press(page, /^Edit/);
  await form.getByLabel('Request code').fill('X');
  await press(page, 'Save');
  await expectText(card(page, 1).locator('.facts'), /^Lapses at once · code .X/);
  await press(page, /^Edit/);
  await page.keyboard.press('Escape');
  await form.waitFor({ state: 'hidden' });
});

test('both views can be used with the keyboard alone', async () => {
  const host = await startHost();
  const page = await open(host, '/installer');
  const tabTo = async (name) => {
    for (let i = 0; i < 30; i += 1) {
      await page.keyboard.press('Tab');
      if (await page.evaluate((text) => document.activeElement.matches(':focus-visible') && (document.activeElement.name === text || document.activeElement.textContent.startsWith(text)), name)) return;
    }
    assert.fail(`Tab does not lead to ${name}`);
  };
  await tabTo('Add a service');
  await page.keyboard.press('Enter');
  await tabTo('name');
  await page.keyboard.type('Turndown');
  await page.keyboard.press('Enter');
  await card(page, 1).waitFor();
  await tabTo('Remove');
  await page.keyboard.press('Enter');
  await page.keyboard.press('Escape');
  assert.ok(await page.evaluate(() => document.activeElement.textContent.startsWith('Remove')), 'the focus is back');

  await tabTo('Guest');
  await page.keyboard.press('Enter');
  await card(page, 1).waitFor();
  await tabTo('Request');
  await page.keyboard.press('Enter');
  await expectText(card(page, 1).locator('.state'), /^Requested/);
  await page.keyboard.press('Space');
  await page.keyboard.press('Space');
  await expectText(card(page, 1).locator('.state'), /cancelled/);
  assert.equal(await page.evaluate(() => document.activeElement.className), 'main');
});
