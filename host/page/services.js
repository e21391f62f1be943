// The property's services as the agent has them: its list, kept up to date by what it pushes.
import { connect } from './connection.js';

const REQUESTED = 1;
const MOST_ENDED = 200;
const LAST_MOMENT = 8.64e12; // that a Date can have, in seconds

function parse(xml) {
  return new DOMParser().parseFromString(xml, 'application/xml').documentElement;
}

const unsigned = (text) => Number(text) >>> 0;

/** A value as a step takes it, in quotes where it has to be. */
function quote(value) {
  const text = String(value);
  if (/^[\w,.-]+$/.test(text)) return text;
  const escapes = { '"': '\\"', '\\': '\\\\', '\n': '\\n', '\t': '\\t' };
  const hex = (c) => `\\x${c.charCodeAt(0).toString(16).padStart(2, '0')}`;
  return `"${text.replace(/["\\\x00-\x1f\x7f]/g, (c) => escapes[c] ?? hex(c))}"`;
}

/** What the host put in quotes. */
export function unquote(text) {
  const letters = { n: '\n', t: '\t' };
  const decode = (run) => {
    const bytes = run.split('\\x').slice(1).map((hex) => Number.parseInt(hex, 16));
    return new TextDecoder('utf-8', { ignoreBOM: true }).decode(new Uint8Array(bytes));
  };
  return text.slice(1, -1).replace(/(?:\\x[\dA-Fa-f]{2})+|\\(.)/g, (run, letter) =>
    letter === undefined ? decode(run) : (letters[letter] ?? letter),
  );
}

/** What a service is called; a shortcut has no name of its own. */
export function nameOf(service) {
  return service.isShortcut ? `Item ${service.shortcut_id}` : service.name || `Service ${service.id}`;
}

/** The text of an element with these attributes. */
function toXml(name, attributes) {
  const root = document.implementation.createDocument(null, name).documentElement;
  for (const [key, value] of Object.entries(attributes)) root.setAttribute(key, value);
  return new XMLSerializer().serializeToString(root);
}

/** What became of a service's latest request, by the push that told it. */
const OUTCOMES = { service_state_canceled: 'cancelled', service_state_not_requested: 'lapsed' };

export class Services {
  list = []; // in the installer's order
  types = []; // { id, name } of what the agent knows
  isKnown = false; // whether there has been a list
  isCurrent = false; // whether the list is the host's, or what was last known
  outcomes = new Map(); // by id: 'cancelled' or 'lapsed'
  ended = []; // { id, since, end, how }, which only staff hear of
  lineTime = 0; // when the latest line was printed, in seconds on the host's clock
  #send;
  #offset = 0; // the host's clock less ours, in seconds
  #zone = 0; // its local time less UTC
  #requests = new Map(); // by id: the open ones, { since, until, from }
  #from = ''; // the sender of the step that comes, which only staff hear of
  #step = '';
  #health = { notices: [] };
  #isReplaying = true;

  /**
   * `role` says what the page may send, and what it hears. `on` may have: `change(what, service)` after each change, `what` being the name of the push, or
   * 'list' for a list that was asked for; `line(text)` for each line; `health({ state, plugin,
   * notices })`; `lost(milliseconds, isFull)` when the connection broke, as `connect` tells it.
   */
  constructor(role, on) {
    this.on = on;
    this.#send = connect(role, (line) => this.#take(line), (pause, isFull) => {
      this.isCurrent = false;
      this.#isReplaying = true;
      this.outcomes.clear();
      this.#requests.clear();
      this.ended = [];
      this.#health.notices = [];
      on.lost?.(pause, isFull);
    });
  }

  find(id) {
    return this.list.find((service) => service.id === id);
  }

  get open() {
    return this.list.filter((service) => service.isOpen);
  }

  /** The host's clock, in seconds since 1970. */
  now() {
    return Date.now() / 1000 + this.#offset;
  }

  /** The present as a moment. */
  get present() {
    return { at: this.now(), zone: this.#zone };
  }

  /** That time as a `Date` whose UTC fields are the host's local time. */
  local(seconds) {
    return new Date((seconds + this.#zone) * 1000);
  }

  /** Seconds until the open request lapses; `Infinity` if it never does. */
  secondsLeft(service) {
    return service.until ? service.until.at - this.now() : Infinity;
  }

  /** Sends a step. Returns why it could not be sent, or `undefined`; so do the steps below. */
  send(name, params = {}) {
    return this.#send([name, ...Object.entries(params).map(([k, v]) => `${k}=${quote(v)}`)].join(' '));
  }

  request(service) {
    return this.send('SEND_REQUEST_EVENT', { id: service.id, operarequest: service.operarequest });
  }

  cancel(service) {
    return this.send('SEND_CANCEL_EVENT', { id: service.id });
  }

  remove(service) {
    return this.send('REMOVE_SERVICE', { id: service.id });
  }

  reorder(ids) {
    return this.send('REORDER_SERVICES', { order: ids.join(',') });
  }

  /** Adds an entry, or changes the one of that id; the fields are those of its element. */
  save(isShortcut, id, fields) {
    const kind = isShortcut ? { type: 'shortcut' } : {};
    if (id === undefined) return this.send('ADD_SERVICE', { ...kind, ...fields });
    const name = isShortcut ? 'shortcut' : 'guest_service';
    return this.send('EDIT_SERVICE', { ...kind, [name]: toXml(name, { id, ...fields }) });
  }

  #take(line) {
    const [, word, rest] = /^(\S*) ?(.*)$/s.exec(line);
    this.on.line?.(line);
    if (word === '>') this.#step = rest;
    if (word === '!') this.#takeStatus(rest);
    if (word === 'push') this.#takePush(parse(rest));
    if (word === 'answer' && this.#step.startsWith('ui ')) this.#takeAnswer(parse(rest));
  }

  #ask() {
    this.#send('ui GET_ALL_SERVICES');
  }

  /** Takes what the host says of a request, with the zone's offset at each of its moments. */
  #takeRequest(word, id, [since, sinceZone, end, endZone], how) {
    const moment = (at, zone) => ({ at: Math.abs(at) < LAST_MOMENT ? Number(at) : 0, zone: Number(zone) });
    const request = { since: moment(since, sinceZone), until: end && moment(end, endZone) };
    if (word === 'ended') {
      this.ended = [...this.ended.slice(1 - MOST_ENDED), { id, how, since: request.since, end: request.until }];
      return;
    }
    const known = this.#requests.get(id);
    const isSame = known?.since.at === request.since.at;
    this.#requests.set(id, { ...request, from: isSame ? known.from : this.#from });
    Object.assign(this.find(id) ?? {}, this.#requests.get(id));
  }

  #takeStatus(text) {
    const [word, seconds, zone, ...moments] = text.split(' ');
    if (word === 'clock') {
      this.lineTime = Number(seconds);
      this.#zone = Number(zone);
      // Until the end of the replay it is a time in the past.
      if (!this.#isReplaying) this.#setClock();
    } else if (word === 'health') {
      const fields = text.matchAll(/(\w+)=("(?:[^"\\]|\\.)*")/g);
      for (const [, name, value] of fields) this.#health[name] = unquote(value);
      this.on.health?.(this.#health);
    } else if (word === 'notice') {
      this.#health.notices.push(unquote(text.slice(word.length + 1)));
      this.on.health?.(this.#health);
    } else if (word === 'from') {
      this.#from = seconds;
    } else if (word === 'open') {
      this.#takeRequest(word, Number(seconds), [zone, ...moments]);
    } else if (word === 'ended') {
      this.#takeRequest(word, Number(seconds), moments, zone);
    } else if (word === 'restarted') {
      this.#requests.clear();
      this.#from = '';
      this.#ask(); // there may be another list, without a push
    } else if (word === 'replay-end') {
      this.#isReplaying = false;
      this.#from = '';
      this.#setClock();
      this.#send('ui GET_SERVICE_TYPES');
      this.#ask();
    }
  }

  #setClock() {
    const offset = this.lineTime - Date.now() / 1000;
    // Whole seconds and a slow line only ever make it look late, unless the clock was moved.
    if (offset > this.#offset || this.#offset - offset > 1.5) this.#offset = offset;
  }

  #takeAnswer(root) {
    if (root.tagName === 'service_types') {
      this.types = [...root.children].map((type) => ({
        id: Number(type.getAttribute('id')),
        name: type.getAttribute('name'),
      }));
    } else if (root.tagName === 'guest_services') {
      this.list = [...root.children].map((element) => this.#read(element));
      this.isCurrent = true;
      this.isKnown = true;
      this.on.change?.('list');
    }
  }

  #takePush(push) {
    const what = push.tagName;
    const entry = push.firstElementChild;
    const id = unsigned(entry?.getAttribute('id') ?? entry?.textContent);
    if (what in OUTCOMES) this.outcomes.set(id, OUTCOMES[what]);
    else if (what !== 'service_changed' && what !== 'services_reordered') this.outcomes.delete(id);
    // What is said again of the past made the list that will be asked for.
    if (this.#isReplaying) return;
    const before = this.find(id);
    if (what === 'service_added') this.list.push(this.#read(entry));
    if (what === 'service_changed') this.list = this.list.map((s) => (s.id === id ? this.#read(entry) : s));
    if (what === 'service_removed') this.list = this.list.filter((s) => s.id !== id);
    if (what === 'services_reordered') {
      this.list = entry.textContent.split(',').map((t) => this.find(unsigned(t))).filter(Boolean);
    }
    if (what.startsWith('service_state_') && before) {
      before.isOpen = what === 'service_state_requested';
    }
    this.on.change?.(what, this.find(id) ?? before);
  }

  #read(element) {
    const text = (name) => element.getAttribute(name) ?? '';
    const id = unsigned(text('id'));
    if (element.tagName !== 'guest_service') {
      return { id, isShortcut: true, isOpen: false, shortcut_id: unsigned(text('shortcut_id')) };
    }
    return {
      id,
      isShortcut: false,
      name: text('name'),
      description: text('description'),
      icon: Number(text('icon')),
      delay: Number(text('delay')),
      operarequest: text('operarequest'),
      isOpen: Number(text('state')) === REQUESTED,
      ...(this.#requests.get(id) ?? { since: { at: 0, zone: 0 } }),
    };
  }
}
