// What the views share: making elements, saying what happened, and lists that keep their place.
import { nameOf } from './services.js';

const byId = (id) => document.getElementById(id);

/** An element with properties (or attributes, where it has no such property) and children. */
export function el(tag, properties = {}, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name in node) node[name] = value;
    else node.setAttribute(name, value);
  }
  node.append(...children);
  return node;
}

/** A text that a person typed, at most so long, that leaves the direction around it alone. */
export function typed(text, most = 60) {
  const characters = [...text.replace(/[\u202a-\u202e\u2066-\u2069]/g, '')];
  const short = characters.slice(0, most).join('') + (characters.length > most ? '…' : '');
  return `\u2068${short}\u2069`;
}

/** Labels a button with a text or a drawing, and a rest that only a screen reader needs. */
export function label(button, text, rest) {
  if (button.dataset.label === text + rest) return;
  button.dataset.label = text + rest;
  button.replaceChildren(text, el('span', { className: 'unseen' }, ` ${rest}`));
}

// As long as it takes to see that something moved and to hold back a tap.
const GRACE = 600;
const SAID_TIME = 8000;

let fading;
/** Ends the message. Its place still takes taps for a moment: they were meant for the message. */
function fade() {
  clearTimeout(fading);
  byId('status').classList.add('fading');
  fading = setTimeout(() => byId('status').replaceChildren(), GRACE);
}

/** Says something in the status line, for a while; only to a screen reader if `isShown` is false. */
export function say(text, isShown = true) {
  const status = byId('status');
  const isOverOther = status.textContent !== '' && !status.classList.contains('unseen');
  clearTimeout(fading);
  status.className = isShown || isOverOther ? '' : 'unseen';
  status.textContent = text;
  status.onclick = fade;
  fading = setTimeout(fade, SAID_TIME);
}

const HAPPENED = {
  service_added: 'is new in the list.',
  service_changed: 'was changed.',
  service_removed: 'is no longer offered.',
  service_state_requested: 'is requested now.',
  service_state_canceled: 'is no longer requested.',
  service_state_not_requested: 'is no longer requested: the request ran out of time.',
};

/** Says what a push told. A message shows nothing new where `row` shows the state. */
export function sayChange(what, service, row) {
  if (what === 'services_reordered') say('The services are in another order now.');
  if (!service || !(what in HAPPENED)) return;
  say(`${typed(nameOf(service), 30)} ${HAPPENED[what]}`, !(what.startsWith('service_state_') && isInView(row)));
}

function isInView(row) {
  const { top, bottom } = row?.getBoundingClientRect() ?? { top: -1 };
  return top >= 0 && bottom <= window.innerHeight;
}

let counting;
const LOST = 'The connection to the host is lost. What you see may be out of date. Trying again';
const FULL = 'The host is there, but too many pages are open. Close one that is not needed. Trying again';

/** Shows that there is no connection until the next attempt, and that it is back with `null`. */
export function showLost(pause, isFull = false) {
  const banner = byId('connection');
  clearInterval(counting);
  document.body.classList.toggle('lost', pause !== null);
  if (pause === null) {
    banner.replaceChildren();
    return;
  }
  const until = performance.now() + pause;
  const seconds = el('span', { 'aria-hidden': 'true' });
  const count = () => {
    const left = Math.ceil((until - performance.now()) / 1000);
    seconds.textContent = left > 0 ? ` in ${left} s` : ' now';
  };
  // Said once, however many attempts there are.
  const words = isFull ? FULL : LOST;
  if (banner.firstChild?.data !== words) banner.replaceChildren(words);
  banner.querySelector('span')?.remove();
  banner.append(seconds);
  count();
  counting = setInterval(count, 250);
}

/** Shows the health of state file and plug-in, and what else a person must know. */
export function showHealth({ state = 'unknown', plugin = 'unknown', notices }) {
  const isBad = !/^(ok|none)$/.test(state);
  const words = { ok: 'State file: saved', none: 'State file: none, nothing is kept' };
  byId('health').replaceChildren(
    el('span', { className: isBad ? 'bad' : '' }, words[state] ?? `State file: ${state}`),
    el('span', {}, `Plug-in: ${plugin}`),
    ...notices.map((notice) => el('span', { className: 'bad' }, notice)),
  );
}

/** A number of minutes in words. */
export function minutesInWords(minutes) {
  const units = [['day', 1440], ['hour', 60], ['minute', 1]];
  const words = [];
  let rest = minutes;
  for (const [unit, size] of units) {
    const count = Math.floor(rest / size);
    rest %= size;
    if (count > 0) words.push(`${count} ${unit}${count > 1 ? 's' : ''}`);
  }
  return words.join(' ');
}

/** When a request with that delay lapses. */
export function delayInWords(delay) {
  if (delay === -1) return 'never';
  return delay <= 0 ? 'at once' : `after ${minutesInWords(delay)}`;
}

/** A moment's local time of day at the host, with the day if it is another one. */
export function timeInWords(services, { at, zone }) {
  const then = new Date((at + zone) * 1000).toISOString();
  const today = services.local(services.now()).toISOString().slice(0, 10);
  const time = then.slice(11, 16);
  return then.startsWith(today) ? time : `${time} on ${then.slice(0, 10)}`;
}

/** Until when the open request stays so. */
export function endInWords(services, service) {
  const left = services.secondsLeft(service);
  if (left === Infinity) return 'open until it is cancelled';
  return left > 0 ? `open until ${timeInWords(services, service.until)}` : 'about to run out';
}

/** Has taps within the row held back for a moment: what they would do has just changed. */
export function unsettle(row) {
  row.changedAt = performance.now();
}

function holdBackTaps(event) {
  const row = event.target.closest('li');
  // A click without a pointer (detail 0) goes where the focus is, which has not moved.
  if (!row || event.detail === 0 || !(performance.now() - row.changedAt < GRACE)) return;
  event.stopPropagation();
  event.preventDefault();
  if (event.detail === 1) say('That changed just now. Please tap again.');
}

/**
 * A button that shows the whole of the texts around it, which are cut after some lines, or not.
 * `setTitle(text)` says to a screen reader whose texts.
 */
export function createMore() {
  const more = el('button', { type: 'button', className: 'more', hidden: true, ariaExpanded: 'false' });
  let title = '';
  more.setTitle = (text) => {
    title = text;
    label(more, more.ariaExpanded === 'true' ? 'Less' : 'More', title);
  };
  more.onclick = () => {
    more.ariaExpanded = String(more.closest('li').classList.toggle('whole'));
    more.setTitle(title);
  };
  return more;
}

/** Offers that button in the rows where a text is cut. All are measured first: the layout is made once. */
function offerRest(list) {
  const buttons = [...list.querySelectorAll('.more')];
  const isCut = (text) => text.scrollHeight > text.clientHeight + 1;
  const isOffered = buttons.map((more) => more.ariaExpanded === 'true' || [...more.parentElement.children].some(isCut));
  buttons.forEach((more, index) => (more.hidden = !isOffered[index]));
}

/**
 * Makes `list` show services, one row each: `create(service)` makes a row, an `li` with a function
 * `update(service)`. Returns a function that shows a list. Rows stay the same as long as their
 * service is there; what the reader looks at keeps its place, and the focus stays with its service.
 */
export function keepList(list, create) {
  const rows = new Map();
  list.addEventListener('click', holdBackTaps, true);
  new ResizeObserver(() => offerRest(list)).observe(list);

  function arrange(services) {
    const ids = new Set(services.map(({ id }) => id));
    for (const [id, row] of rows) {
      if (ids.has(id)) continue;
      row.remove();
      rows.delete(id);
    }
    services.forEach((service, index) => {
      const row = rows.get(service.id) ?? create(service);
      if (!rows.has(service.id)) unsettle(row);
      rows.set(service.id, row);
      row.update(service);
      if (list.children[index] !== row) list.insertBefore(row, list.children[index] ?? null);
    });
  }

  function slide(row, before) {
    const now = row.getBoundingClientRect();
    const [x, y] = [before.x - now.x, before.y - now.y];
    if (Math.abs(x) + Math.abs(y) < 2) return;
    unsettle(row);
    if (matchMedia('(prefers-reduced-motion: reduce)').matches) return;
    const from = { transform: `translate(${x}px, ${y}px)` };
    row.animate([from, { transform: 'none' }], { duration: 250, easing: 'ease-out' });
  }

  return (services) => {
    const focused = document.activeElement;
    const focusedRow = focused.closest('li');
    const index = [...list.children].indexOf(focusedRow);
    const places = new Map([...list.children].map((row) => [row, row.getBoundingClientRect()]));
    const isSeen = (row) => places.get(row).bottom > 0 && rows.has(Number(row.dataset.id));
    for (const row of rows.values()) row.getAnimations().forEach((animation) => animation.cancel());
    arrange(services);
    const kept = [focusedRow, ...places.keys()].find((row) => places.has(row) && row.isConnected && isSeen(row));
    if (kept) window.scrollBy(0, kept.getBoundingClientRect().y - places.get(kept).y);
    offerRest(list);
    for (const [row, before] of places) if (row.isConnected) slide(row, before);
    if (index < 0 || document.activeElement === focused) return;
    // Never to a button of another service, where the next key press would work.
    const next = list.children[Math.min(index, list.children.length - 1)];
    const heir = focused.isConnected ? focused : (next ?? document.querySelector('h1'));
    heir.focus({ preventScroll: true });
  };
}
