// The guest's view: the services, each to be requested with one tap and cancelled with two.
import { draw, drawRing } from './icons.js';
import { Services, nameOf } from './services.js';
import { ask, wait } from './taps.js';
import { createMore, el, endInWords, keepList, label, say } from './view.js';
import { sayChange, showLost, timeInWords, typed, unsettle } from './view.js';

const services = new Services('guest', {
  change(what, service) {
    showLost(null);
    render();
    if (!service?.isShortcut) sayChange(what, service, list.querySelector(`[data-id="${service?.id}"]`));
  },
  lost(pause, isFull) {
    showLost(pause, isFull);
    render();
  },
});

const ENDED = {
  withdrawn: 'You cancelled this request.',
  cancelled: 'No longer requested.',
  lapsed: 'Your request ran out of time. Please ask again.',
};

function phaseOf(row, service) {
  if (service.isOpen) return row.waiting === 'cancel' ? 'cancelling' : row.isAsking ? 'asking' : 'open';
  if (row.waiting === 'request') return 'sending';
  const outcome = services.outcomes.get(service.id) ?? 'idle';
  return outcome === 'cancelled' && row.isWithdrawn ? 'withdrawn' : outcome;
}

const BUTTONS = { open: 'Cancel', asking: 'Yes, cancel', cancelling: 'Cancelling…', sending: 'Sending…' };

function createRow({ id }) {
  const icon = el('div', { className: 'medallion' });
  const ring = drawRing();
  const name = el('h2', { dir: 'auto' });
  const description = el('p', { className: 'description', dir: 'auto' });
  const more = createMore();
  const state = el('p', { className: 'state' });
  const main = el('button', { type: 'button', className: 'main', onclick: () => tap(row) });
  const keep = el('button', { type: 'button', onclick: () => ask(row, false, render) });
  const row = el('li', { className: 'card', tabIndex: -1 }, icon);
  row.append(el('div', { className: 'words' }, name, description, more));
  row.append(el('div', { className: 'foot' }, state, el('div', { className: 'actions' }, keep, main)));
  row.dataset.id = id;
  row.update = (service) => {
    const phase = phaseOf(row, service);
    if (row.dataset.phase !== phase) unsettle(row);
    row.dataset.phase = phase;
    icon.replaceChildren(ring, draw(service));
    name.textContent = nameOf(service);
    description.textContent = service.description;
    more.setTitle(typed(nameOf(service)));
    keep.hidden = phase !== 'asking';
    label(main, BUTTONS[phase] ?? 'Request', typed(nameOf(service)));
    label(keep, 'Keep it', typed(nameOf(service)));
    row.tick(service);
  };
  row.tick = (service) => {
    const left = services.secondsLeft(service);
    if (service.isOpen) {
      ring.setShare(left === Infinity ? 1 : left / Math.max(service.until.at - service.since.at, 30));
      state.textContent = `Requested at ${timeInWords(services, service.since)} · ${endInWords(services, service)}`;
    } else {
      state.textContent = ENDED[row.dataset.phase] ?? '';
    }
  };
  return row;
}

const list = document.getElementById('services');
const show = keepList(list, createRow);

/** The services for a guest: a shortcut cannot be requested. */
const offered = () => services.list.filter((service) => !service.isShortcut);

function render() {
  for (const row of list.children) {
    const service = services.find(Number(row.dataset.id));
    const isDone = service && row.waiting && service.isOpen === (row.waiting === 'request');
    if (isDone || service?.isOpen) row.isWithdrawn = isDone && row.waiting === 'cancel';
    if (isDone || !services.isCurrent) row.waiting = null;
    if (!service?.isOpen) row.isAsking = false;
  }
  show(offered());
  document.getElementById('summary').textContent = summary();
}

function summary() {
  const { length } = offered();
  if (length === 0) return services.isCurrent ? 'No services are offered yet.' : 'One moment, please.';
  const count = services.open.length;
  if (count === 0) return 'Choose a service. One tap is enough.';
  return count === 1 ? 'One request is open.' : `${count} requests are open.`;
}

function tap(row) {
  const service = services.find(Number(row.dataset.id));
  if (row.waiting) return undefined;
  if (service.isOpen && !row.isAsking) return ask(row, true, render);
  const problem = service.isOpen ? services.cancel(service) : services.request(service);
  return problem ? say(problem) : wait(row, service.isOpen ? 'cancel' : 'request', render);
}

setInterval(() => {
  for (const row of list.children) row.tick(services.find(Number(row.dataset.id)));
}, 1000);
render();
