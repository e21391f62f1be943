// The developer's view: every line that the host prints, as it happens.
import { Services, nameOf } from './services.js';
import { el, say, showHealth, showLost, typed } from './view.js';

const MOST_LINES = 2000;
const CANCEL_EVENTS = 10000;

/** The kinds of lines by their first word. */
const KINDS = {
  '>': 'Steps', push: 'Pushes', bound: 'Bound calls', fire: 'Events', forward: 'Events',
  log: 'Log', assert: 'Log', answer: 'Answers', error: 'Errors',
};
const OTHER = 'Host';

const byId = (id) => document.getElementById(id);
const lines = byId('lines');
const hiddenKinds = new Set();
let entries = []; // { text, kind, ids, day, time, row }
let isStale = false;
let isOwn = false; // within the lines of what this page itself asks
let sender = ''; // of the step that comes next
let paused = null; // how many lines have come since

const services = new Services('activity', {
  change() {
    showLost(null);
    offerServices();
  },
  lost(pause, isFull) {
    showLost(pause, isFull);
    isStale = true;
  },
  line: take,
  health: showHealth,
});

function take(text) {
  if (isStale) {
    // The host says again what was last.
    entries = [];
    lines.replaceChildren();
    isStale = false;
  }
  if (text.startsWith('! from ')) [, , sender] = text.split(' ');
  if (text.startsWith('! ')) return;
  if (text.startsWith('> ')) isOwn = text.startsWith('> ui ');
  if (!isOwn) add(text);
}

/** The services that a line names. */
function idsOf(text) {
  const found = [...text.matchAll(/(?:<id>|\bid=\\?"?|\beventid: |\bid:INT=|^fire )(\d+)/g)];
  return found.map(([, id]) => (Number(id) > CANCEL_EVENTS ? Number(id) - CANCEL_EVENTS : Number(id)));
}

function add(text) {
  const [first] = text.split(' ', 1);
  const entry = { text, kind: KINDS[first] ?? OTHER, ids: idsOf(text) };
  const before = entries.at(-1);
  if (first !== '>' && before && entry.ids.length === 0) entry.ids = before.ids;
  // A step that names no service (it adds one) belongs to the one that its first line names.
  if (before?.text.startsWith('> ') && first !== '>' && before.ids.length === 0) before.ids = entry.ids;
  const rest = text.slice(first.length + 1);
  [entry.day, entry.time] = services.local(services.lineTime).toISOString().slice(0, 19).split('T');
  const shown = entry.day === before?.day ? entry.time : `${entry.day} ${entry.time}`;
  entry.row = el('li', {}, el('span', { className: 'time' }, shown));
  entry.row.append(el('span', { className: 'kind' }, first === '>' ? sender || 'step' : first));
  if (first === '>') sender = '';
  entry.row.append(el('code', { dir: 'ltr' }, rest));
  entry.row.dataset.kind = entry.kind;
  entries.push(entry);
  if (before) filter(before);
  filter(entry);
  if (paused === null) show(entry.row);
  else showPaused(paused + 1);
  if (entries.length > MOST_LINES) entries.shift().row.remove();
}

function show(...rows) {
  const printed = byId('printed');
  const isAtEnd = printed.scrollHeight - printed.scrollTop - printed.clientHeight < 40;
  lines.append(...rows);
  if (isAtEnd) printed.scrollTop = printed.scrollHeight;
}

function filter(entry) {
  const id = byId('service').value;
  entry.row.hidden = hiddenKinds.has(entry.kind) || (id !== '' && !entry.ids.includes(Number(id)));
}

function showPaused(count) {
  paused = count;
  const more = paused > 0 ? ` (${paused} more ${paused === 1 ? 'line' : 'lines'})` : '';
  byId('pause').textContent = paused === null ? 'Pause' : `Go on${more}`;
}

function offerServices() {
  const { value } = byId('service');
  const options = services.list.map((s) => el('option', { value: s.id }, `${s.id} ${typed(nameOf(s), 30)}`));
  byId('service').replaceChildren(el('option', { value: '' }, 'All'), ...options);
  byId('service').value = value;
  if (byId('service').selectedIndex < 0) byId('service').value = '';
  if (byId('service').value !== value) entries.forEach(filter);
}

byId('kinds').append(
  ...[...new Set([...Object.values(KINDS), OTHER])].map((kind) => {
    const input = el('input', { type: 'checkbox', checked: true });
    input.onchange = () => {
      if (input.checked) hiddenKinds.delete(kind);
      else hiddenKinds.add(kind);
      entries.forEach(filter);
    };
    return el('label', {}, input, kind);
  }),
);
byId('service').onchange = () => entries.forEach(filter);
byId('pause').onclick = () => {
  if (paused !== null) show(...entries.filter(({ row }) => !row.isConnected).map(({ row }) => row));
  showPaused(paused === null ? 0 : null);
};

/** The session so far, as the host writes it. */
async function fetchScenario() {
  const answer = await fetch('/session.txt');
  if (!answer.ok) throw new Error(await answer.text());
  return new Blob([await answer.text()], { type: 'text/plain' });
}

byId('copy').onclick = async () => {
  if (!navigator.clipboard) return say('Only over HTTPS or on this machine can it be copied. It is at /session.txt.');
  try {
    // The clipboard is given the promise: some browsers refuse what comes long after the click.
    await navigator.clipboard.write([new ClipboardItem({ 'text/plain': fetchScenario() })]);
    return say('Copied: the session so far, as a scenario.');
  } catch (error) {
    return say(`It could not be copied: ${error.message}`);
  }
};
offerServices();
