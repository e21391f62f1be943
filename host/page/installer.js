// The installer's view: adding, editing, removing and ordering the services.
import { orderByDragging } from './dragging.js';
import { edit, noteChange } from './editor.js';
import { draw, drawHandle } from './icons.js';
import { ask } from './question.js';
import { Services, nameOf } from './services.js';
import { createMore, delayInWords, el, endInWords, keepList, label, say } from './view.js';
import { sayChange, showHealth, showLost, timeInWords, typed } from './view.js';

const MOST_NAMES = 3;

const byId = (id) => document.getElementById(id);
const list = byId('services');
let moved; // the id of the entry whose new place is to be said
const services = new Services('installer', {
  change(what, service) {
    showLost(null);
    render();
    if (what === 'services_reordered' && moved !== undefined) sayPlace();
    else sayChange(what, service, list.querySelector(`[data-id="${service?.id}"]`));
    noteChange(services, what, service);
  },
  line(text) {
    if (text.startsWith('error ')) say(`The host reports: ${typed(text.slice(6), 200)}`);
  },
  health: showHealth,
  lost: showLost,
});

function factsOf(service) {
  if (service.isShortcut) return `Shortcut to item ${service.shortcut_id} of the project · id ${service.id}`;
  const code = service.operarequest ? ` · code ${typed(service.operarequest, 30)}` : '';
  return `Lapses ${delayInWords(service.delay)}${code} · icon ${service.icon} · id ${service.id}`;
}

function createRow({ id }) {
  const current = () => services.find(id);
  const handle = el('button', { type: 'button', className: 'handle', 'aria-describedby': 'moving' });
  const icon = el('div', { className: 'medallion' });
  const name = el('h2', { dir: 'auto' });
  const description = el('p', { className: 'description', dir: 'auto' });
  const facts = el('p', { className: 'facts' });
  const more = createMore();
  const state = el('p', { className: 'state' });
  const change = el('button', { type: 'button', onclick: () => edit(services, current()) });
  const remove = el('button', { type: 'button', onclick: () => askToRemove(current()) });
  const row = el('li', { className: 'card', tabIndex: -1 }, handle, icon);
  row.append(el('div', { className: 'words' }, name, description, more, facts, state));
  row.append(el('div', { className: 'actions' }, change, remove));
  row.dataset.id = id;
  handle.onkeydown = (event) => {
    const by = { ArrowUp: -1, ArrowDown: 1, Home: -Infinity, End: Infinity }[event.key];
    if (by === undefined) return;
    event.preventDefault();
    move(id, services.list.indexOf(current()) + by);
  };
  row.update = (service) => {
    const title = typed(nameOf(service));
    icon.replaceChildren(draw(service));
    name.textContent = nameOf(service);
    description.textContent = service.isShortcut ? '' : service.description;
    facts.textContent = factsOf(service);
    label(handle, drawHandle(), `Move ${title}`);
    more.setTitle(title);
    label(change, 'Edit', title);
    label(remove, 'Remove', title);
    row.tick(service);
  };
  row.tick = (service) => {
    row.classList.toggle('open', service.isOpen);
    const since = service.isOpen ? timeInWords(services, service.since) : '';
    state.textContent = since && `Open since ${since} · ${endInWords(services, service)}`;
  };
  return row;
}

const show = keepList(list, createRow);

function render() {
  show(services.list);
  byId('summary').textContent = summary();
}

function summary() {
  if (!services.isCurrent) return 'Waiting for the host.';
  const { length } = services.list;
  if (length === 0) return 'There are no services yet.';
  const { open } = services;
  const oldest = open.toSorted((a, b) => a.since.at - b.since.at).slice(0, MOST_NAMES);
  const names = oldest.map((s) => `${typed(nameOf(s), 30)} since ${timeInWords(services, s.since)}`).join(', ');
  const more = open.length > MOST_NAMES ? ` and ${open.length - MOST_NAMES} more` : '';
  const requests = open.length > 0 ? `Open requests: ${names}${more}.` : 'No request is open.';
  return `${length === 1 ? 'One entry' : `${length} entries`}. ${requests}`;
}

/** Moves an entry to a place in the list as it is now. */
function move(id, place) {
  const ids = services.list.map((service) => service.id);
  const from = ids.indexOf(id);
  const to = Math.max(0, Math.min(ids.length - 1, place));
  if (from < 0) return;
  moved = id;
  if (from === to) return sayPlace();
  ids.splice(from, 1);
  ids.splice(to, 0, id);
  const problem = services.reorder(ids);
  if (problem) say(problem);
}

function sayPlace() {
  const service = services.find(moved);
  moved = undefined;
  if (!service) return;
  const place = services.list.indexOf(service) + 1;
  say(`${typed(nameOf(service), 30)} is at place ${place} of ${services.list.length}.`);
}

orderByDragging(list, move);

function askToRemove(service) {
  const open = service.isOpen ? 'Its open request ends without a word to the guest. ' : '';
  const rest = 'The programming that belongs to it is removed as well. This cannot be undone.';
  ask(`Remove ${typed(nameOf(service))}?`, open + rest, 'Keep it', 'Remove', () => services.remove(service));
}

byId('add').onclick = () => edit(services);
setInterval(() => {
  byId('summary').textContent = summary();
  for (const row of list.children) row.tick(services.find(Number(row.dataset.id)));
}, 1000);
render();
