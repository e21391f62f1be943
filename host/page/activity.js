// The developer's view: every line that the host prints, as it happens.
import { Services, nameOf, quote } from './services.js';
import { el, say, showHealth, showLost, typed } from './view.js';

const MOST_LINES = 2000;
const SWEEP = 30; // seconds from one look of the agent for requests that ran out to the next
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
let entries = []; // { text, kind, at, ids, row }; `at` is null for what was before the page was open
let start = null; // { state, at, index }: the list when the page had caught up, and what came before
let isCaughtUp = false;
let isStale = false;
let isOwn = false; // within the lines of what this page itself asks
let paused = null; // how many lines have come since

const services = new Services({
  change() {
    showLost(null);
    offerServices();
  },
  lost(pause) {
    showLost(pause);
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
    [isStale, isCaughtUp, start] = [false, false, null];
  }
  if (text === '! replay-end') isCaughtUp = true;
  if (text.startsWith('! ')) return;
  if (text.startsWith('> ')) isOwn = text.startsWith('> ui ');
  if (!isOwn) add(text);
  else if (text.startsWith('answer <guest_services')) {
    start ??= { state: text.slice(7), at: Math.floor(services.now()), index: entries.length };
  }
}

/** The services that a line names. */
function idsOf(text) {
  const found = [...text.matchAll(/(?:<id>|\bid=\\?"?|\beventid: |\bid:INT=|^fire )(\d+)/g)];
  return found.map(([, id]) => (Number(id) > CANCEL_EVENTS ? Number(id) - CANCEL_EVENTS : Number(id)));
}

function add(text) {
  const [first] = text.split(' ', 1);
  const entry = { text, kind: KINDS[first] ?? OTHER, at: isCaughtUp ? services.now() : null, ids: idsOf(text) };
  const before = entries.at(-1);
  if (first !== '>' && before && entry.ids.length === 0) entry.ids = before.ids;
  // A step that names no service (it adds one) belongs to the one that its first line names.
  if (before?.text.startsWith('> ') && first !== '>' && before.ids.length === 0) before.ids = entry.ids;
  const time = entry.at === null ? 'earlier' : services.local(entry.at).toISOString().slice(11, 19);
  const rest = text.slice(first.length + 1);
  entry.row = el('li', {}, el('span', { className: 'time' }, time));
  entry.row.append(el('span', { className: 'kind' }, first === '>' ? 'step' : first));
  entry.row.append(el('code', { dir: 'ltr' }, rest));
  entry.row.dataset.kind = entry.kind;
  entries.push(entry);
  if (before) filter(before);
  filter(entry);
  if (paused === null) show(entry.row);
  else showPaused(paused + 1);
  if (entries.length > MOST_LINES) forgetFirst();
}

function forgetFirst() {
  entries.shift().row.remove();
  if (!start) return;
  start.index -= 1;
  start.isCut = start.index < 0;
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

/** "14m30s" as seconds. */
function secondsOf(duration) {
  const units = { h: 3600, m: 60, s: 1 };
  const parts = [...duration.matchAll(/(\d+)([hms])/g)];
  return parts.reduce((sum, [, count, unit]) => sum + count * units[unit], 0);
}

/**
 * What happened since the page was open, with the list and the time that it started from. Time passes
 * before the steps as it did; a lapse, which comes without a step, comes with the next sweep.
 */
function writeScenario() {
  const time = services.local(start.at).toISOString().slice(0, 19);
  const scenario = [`> clock ${time}`, `> restart state=${quote(start.state)}`];
  let [base, passed, firstSweep, stepped] = [start.at, 0, SWEEP, start.at];
  const pass = (seconds) => {
    if (seconds > passed) scenario.push(`> advance ${seconds - passed}s`);
    passed = Math.max(passed, seconds);
  };
  for (const { text, at } of entries.slice(start.index)) {
    const [, step, value] = /^> (\S+) ?(.*)/.exec(text) ?? [];
    const skipped = step === 'advance' ? secondsOf(value) : 0;
    if (step) stepped = at;
    if (step === 'clock') base = at - passed;
    else if (step) pass(Math.floor(at - base) - skipped);
    else if (text.startsWith('push <service_state_not_requested>') && at - stepped > 1) {
      pass(firstSweep + Math.ceil((at - base - firstSweep) / SWEEP) * SWEEP);
    }
    if (/^(restart|reload)$/.test(step)) firstSweep = passed + SWEEP;
    scenario.push(step === 'reload' ? '> restart' : text);
    passed += skipped;
  }
  return `${scenario.join('\n')}\n`;
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
byId('copy').onclick = async () => {
  if (!start) return say('There is nothing to copy yet.');
  if (start.isCut) return say('Too much has happened since the page was opened; open it anew.');
  try {
    await navigator.clipboard.writeText(writeScenario());
    return say('Copied: what happened since this page was opened, as a scenario.');
  } catch (error) {
    return say(`It could not be copied: ${error.message}`);
  }
};
offerServices();
