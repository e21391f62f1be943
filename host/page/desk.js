// The front desk's view: the open requests, the oldest first, and what became of the others.
import { draw } from './icons.js';
import { Services, nameOf } from './services.js';
import { canSound, mark, ring, turnOn } from './signal.js';
import { ask, wait } from './taps.js';
import { createMore, el, endInWords, keepList, label, say } from './view.js';
import { sayChange, showLost, timeInWords, typed, unsettle } from './view.js';

const AGES = [10, 15]; // minutes from which on a request is late, and very late
const SHOWN_TIME = 12 * 3600; // seconds for which an ended request is shown
const ENDS = { done: 'Done', withdrawn: 'Withdrawn by the guest', lapsed: 'Lapsed', removed: 'Service removed' };
const BUTTONS = { asking: 'Yes, done', ending: 'Ending…' };
const NOTED = 'noted requests';

const byId = (id) => document.getElementById(id);
const list = byId('services');
const silenced = new Set(); // keys of requests whose tone was silenced
let shownAt; // when what is shown was true, while there is no connection

const services = new Services('desk', {
  change(what, service) {
    showLost(null);
    shownAt = undefined;
    render();
    if (what.startsWith('service_state_')) sayChange(what, service, list.querySelector(`[data-id="${service?.id}"]`));
  },
  health({ state }) {
    byId('health').textContent = /^(ok|none)$/.test(state) ? '' : 'Requests cannot be saved. Please tell the installer.';
  },
  lost(pause, isFull) {
    if (services.isKnown) shownAt ??= services.present;
    showLost(pause, isFull);
    render();
  },
});

/** What tells a request from an earlier one of the same service. */
const keyOf = ({ id, since }) => `${id}@${since.at}`;

function readNoted() {
  try {
    return new Set(JSON.parse(localStorage.getItem(NOTED)));
  } catch {
    return new Set(); // no storage, or something else in it
  }
}

let noted = readNoted(); // keys; kept over a reload, and shared by the browser's desks

function note(...requests) {
  noted = new Set([...readNoted(), ...noted, ...requests.map(keyOf)]);
  const keys = new Set(services.open.map(keyOf));
  noted = new Set([...noted].filter((key) => keys.has(key)));
  try {
    localStorage.setItem(NOTED, JSON.stringify([...noted]));
  } catch {
    // Then a reload signals them again.
  }
  render();
}

const isNew = (service) => !noted.has(keyOf(service));

function ageInWords(seconds) {
  const minutes = Math.max(0, Math.floor(seconds / 60));
  const hours = Math.floor(minutes / 60);
  if (hours >= 24) return `${Math.floor(hours / 24)} d ${hours % 24} h`;
  return hours > 0 ? `${hours} h ${minutes % 60} min` : `${minutes} min`;
}

function createRow({ id }) {
  const icon = el('div', { className: 'medallion' });
  const name = el('h2', { dir: 'auto' });
  const more = createMore();
  const state = el('p', { className: 'state' });
  const age = el('p', { className: 'age' });
  const fresh = el('span', { className: 'fresh' }, 'New');
  const main = el('button', { type: 'button', className: 'main', onclick: () => tap(row) });
  const keep = el('button', { type: 'button', onclick: () => ask(row, false, render) });
  const row = el('li', { className: 'card', tabIndex: -1 }, icon);
  row.append(el('div', { className: 'words' }, name, more, state), el('p', { className: 'ages' }, fresh, age));
  row.append(el('div', { className: 'actions' }, keep, main));
  row.dataset.id = id;
  row.update = (service) => {
    const phase = row.waiting ? 'ending' : row.isAsking ? 'asking' : 'open';
    const title = `${typed(nameOf(service))}, requested at ${timeInWords(services, service.since)}`;
    if (row.dataset.phase !== phase) unsettle(row);
    row.dataset.phase = phase;
    icon.replaceChildren(draw(service));
    name.textContent = nameOf(service);
    more.setTitle(title);
    keep.hidden = phase !== 'asking';
    label(main, BUTTONS[phase] ?? 'Done', title);
    label(keep, 'Not yet', title);
    row.tick(service);
  };
  row.tick = (service) => {
    const seconds = services.now() - service.since.at;
    const asker = ['guest', ''].includes(service.from) ? '' : ` · by the ${service.from}`;
    const end = service.until ? endInWords(services, service) : 'open until done';
    row.dataset.age = AGES.filter((minutes) => seconds >= 60 * minutes).length;
    age.textContent = ageInWords(seconds);
    fresh.hidden = !isNew(service);
    state.textContent = `Since ${timeInWords(services, service.since)}${asker} · ${end}`;
  };
  return row;
}

const show = keepList(list, createRow);

function render() {
  for (const row of list.children) {
    if (!services.isCurrent || !services.find(Number(row.dataset.id))?.isOpen) row.waiting = null;
  }
  show(services.open.toSorted((a, b) => a.since.at - b.since.at || a.id - b.id));
  showEnded();
  showSignal();
  byId('summary').textContent = summary();
}

function summary() {
  if (shownAt) return `Out of date: this is how it was at ${timeInWords(services, shownAt)}.`;
  if (!services.isCurrent) return 'Waiting for the host.';
  const { length } = services.open;
  if (length === 0) return 'No request is open.';
  const oldest = Math.min(...services.open.map(({ since }) => since.at));
  return `${length === 1 ? 'One request' : `${length} requests`}, the oldest ${ageInWords(services.now() - oldest)} old.`;
}

function showEnded() {
  const ended = services.ended.filter(({ end }) => services.now() - end.at < SHOWN_TIME);
  byId('past').hidden = ended.length === 0;
  byId('ended').replaceChildren(...ended.toReversed().map(({ id, since, end, how }) => {
    const service = services.find(id);
    const times = `${timeInWords(services, end)}, requested at ${timeInWords(services, since)}`;
    const name = el('span', { dir: 'auto', className: 'name' }, typed(service ? nameOf(service) : `Service ${id}`, 60));
    return el('li', {}, name, el('span', { className: 'how' }, `${ENDS[how] ?? how} at ${times}`));
  }));
}

function showSignal() {
  const fresh = services.open.filter(isNew);
  const isLoud = fresh.some((service) => !silenced.has(keyOf(service)));
  const words = fresh.length === 1 ? 'One new request.' : `${fresh.length} new requests.`;
  const tone = canSound() ? '' : 'The tone for new requests is off.';
  byId('signal').hidden = fresh.length === 0 && canSound();
  byId('signal').classList.toggle('loud', fresh.length > 0);
  byId('news').textContent = [fresh.length > 0 ? words : '', tone].join(' ').trim();
  byId('tone').hidden = canSound();
  byId('silence').hidden = !canSound() || !isLoud;
  byId('noted').hidden = fresh.length === 0;
  mark(fresh.length);
  ring(canSound() && isLoud);
}

function tap(row) {
  const service = services.find(Number(row.dataset.id));
  if (row.waiting) return undefined;
  note(service);
  if (!row.isAsking) return ask(row, true, render);
  const problem = services.cancel(service);
  row.isAsking = false;
  return problem ? say(problem) : wait(row, 'cancel', render);
}

/** A button that works on the signal, and may be gone then. */
function onPress(id, act) {
  byId(id).onclick = async () => {
    await act();
    render();
    if (byId(id).checkVisibility()) return;
    const next = [...document.querySelectorAll('#signal button')].find((button) => button.checkVisibility());
    (next ?? document.querySelector('h1')).focus({ preventScroll: true });
  };
}

onPress('tone', () => turnOn(render));
onPress('silence', () => services.open.filter(isNew).forEach((service) => silenced.add(keyOf(service))));
onPress('noted', () => note(...services.open));
window.addEventListener('storage', () => {
  noted = readNoted();
  render();
});
setInterval(() => {
  for (const row of list.children) row.tick(services.find(Number(row.dataset.id)));
  byId('summary').textContent = summary();
}, 1000);
render();
