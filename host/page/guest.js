// The guest's view: the services, each to be requested with one tap and cancelled with two.
import { draw, drawRing } from './icons.js';
import { Services, nameOf } from './services.js';
import { createMore, el, endInWords, keepList, label, say } from './view.js';
import { sayChange, showLost, timeInWords, typed, unsettle } from './view.js';

const ANSWER_TIME = 5000;
const QUESTION_TIME = 8000;

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
  cancelled: 'This request was cancelled.',
  lapsed: 'Your request ran out of time. Please ask again.',
};

function phaseOf(row, service) {
  if (service.isOpen) return row.waiting === 'cancel' ? 'cancelling' : row.isAsking ? 'asking' : 'open';
  return row.waiting === 'request' ? 'sending' : (services.outcomes.get(service.id) ?? 'idle');
}

const BUTTONS = { open: 'Cancel', asking: 'Yes, cancel', cancelling: 'Cancelling…', sending: 'Sending…' };

function createRow({ id }) {
  const icon = el('div', { className: 'medallion' });
  const ring = drawRing();
  const name = el('h2', { dir: 'auto' });
  const description = el('p', { className: 'description', dir: 'auto' });
  const state = el('p', { className: 'state' });
  const main = el('button', { type: 'button', className: 'main', onclick: () => tap(row) });
  const keep = el('button', { type: 'button', onclick: () => ask(row, false) });
  const row = el('li', { className: 'card', tabIndex: -1 }, icon);
  row.append(el('div', { className: 'words' }, name, description, createMore()));
  row.append(el('div', { className: 'foot' }, state, el('div', { className: 'actions' }, keep, main)));
  row.dataset.id = id;
  row.update = (service) => {
    const phase = phaseOf(row, service);
    if (row.dataset.phase !== phase) unsettle(row);
    row.dataset.phase = phase;
    icon.replaceChildren(ring, draw(service));
    name.textContent = nameOf(service);
    description.textContent = service.description;
    keep.hidden = phase !== 'asking';
    label(main, BUTTONS[phase] ?? 'Request', typed(nameOf(service)));
    label(keep, 'Keep it', typed(nameOf(service)));
    row.tick(service);
  };
  row.tick = (service) => {
    const left = services.secondsLeft(service);
    if (service.isOpen) {
      ring.setShare(left === Infinity ? 1 : left / (60 * Math.max(service.delay, 0.5)));
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

function ask(row, isAsking) {
  clearTimeout(row.asked);
  row.isAsking = isAsking;
  if (isAsking) row.asked = setTimeout(() => ask(row, false), QUESTION_TIME);
  // The button that was pressed is about to go.
  else if (row.contains(document.activeElement)) row.querySelector('.main').focus();
  render();
}

function tap(row) {
  const service = services.find(Number(row.dataset.id));
  if (row.waiting) return undefined;
  if (service.isOpen && !row.isAsking) return ask(row, true);
  const problem = service.isOpen ? services.cancel(service) : services.request(service);
  if (problem) return say(problem);
  row.waiting = service.isOpen ? 'cancel' : 'request';
  clearTimeout(row.unanswered);
  row.unanswered = setTimeout(() => {
    if (!row.waiting) return;
    row.waiting = null;
    say('The host has not answered. Please try again.');
    render();
  }, ANSWER_TIME);
  return render();
}

setInterval(() => {
  for (const row of list.children) row.tick(services.find(Number(row.dataset.id)));
}, 1000);
render();
