// The form for one entry, new or there already.
import { drawNumber } from './icons.js';
import { ask } from './question.js';
import { nameOf } from './services.js';
import { delayInWords, el, say, typed } from './view.js';

const DELAYS = [-1, 0, 5, 10, 15, 30, 45, 60, 90, 120, 240, 480, 1440];
// What to call a service of a type that is not called so already.
const WORDS = { HouseKeeping: 'Housekeeping', ServiceRoom: 'Service room' };

const byId = (id) => document.getElementById(id);
const dialog = byId('editor');
const form = dialog.querySelector('form');
const fields = form.elements;
let edited; // the entry's id; undefined for a new one
let given; // its values
let shown; // what the fields showed of them at first

fields.lapse.append(
  ...DELAYS.map((delay) => el('option', { value: delay }, delayInWords(delay))),
  el('option', { value: '' }, 'after other minutes'),
);

const isShortcut = () => fields.kind.value === 'shortcut';

function showKind() {
  for (const [id, isWanted] of [['guest-fields', !isShortcut()], ['shortcut-fields', isShortcut()]]) {
    byId(id).hidden = !isWanted;
    byId(id).disabled = !isWanted;
  }
}

function showDelay() {
  const isListed = DELAYS.includes(fields.delay.valueAsNumber);
  fields.lapse.value = isListed ? fields.delay.value : '';
}

function showType() {
  for (const input of byId('types').querySelectorAll('input')) input.checked = input.value === fields.icon.value;
}

function offerTypes(types) {
  const wordFor = ({ name }) => WORDS[name] ?? name;
  byId('types').replaceChildren(
    ...types.map((type) => {
      const input = el('input', { type: 'radio', name: 'type', value: type.id });
      input.onchange = () => {
        fields.icon.value = type.id;
        const isOurs = types.some((other) => wordFor(other) === fields.name.value);
        if (fields.name.value === '' || isOurs) fields.name.value = wordFor(type);
      };
      return el('label', {}, input, drawNumber(type.id), wordFor(type));
    }),
  );
}

// A field may not show all that its text holds, such as the end of a line; it must not get lost.
const isChanged = (name) => fields[name].value !== shown[name];
const valueOf = (name) => (isChanged(name) ? fields[name].value : given[name]);

/** Refuses what was entered and makes no sense. An entry that has it already can be saved as it is. */
function check() {
  const isBlank = isChanged('name') && fields.name.value.trim() === '';
  const isBelow = isChanged('delay') && fields.delay.valueAsNumber < -1;
  fields.name.setCustomValidity(isBlank ? 'The name has no character that can be seen.' : '');
  fields.delay.setCustomValidity(isBelow ? 'The least number is -1: the request never lapses.' : '');
}

function save(services) {
  const names = isShortcut() ? ['shortcut_id'] : ['name', 'description', 'icon', 'delay', 'operarequest'];
  const values = Object.fromEntries(names.map((name) => [name, valueOf(name)]));
  const problem = services.save(isShortcut(), edited, values);
  if (problem) byId('editor-note').textContent = `${problem} Nothing is saved yet.`;
  else dialog.close();
}

/** Opens the form for an entry, or for a new one. */
export function edit(services, service) {
  edited = service?.id;
  form.reset();
  offerTypes(services.types);
  byId('editor-title').textContent = service ? `Edit ${typed(nameOf(service))}` : 'Add a service';
  byId('editor-note').textContent = '';
  byId('kinds').hidden = service !== undefined;
  fields.kind.value = service?.isShortcut ? 'shortcut' : 'guest_service';
  const first = { name: '', description: '', operarequest: '', icon: 8, delay: 15, shortcut_id: '' };
  given = { ...first, ...service };
  for (const name of Object.keys(first)) fields[name].value = given[name];
  shown = Object.fromEntries(Object.keys(first).map((name) => [name, fields[name].value]));
  showKind();
  showDelay();
  showType();
  check();
  form.onsubmit = (event) => {
    event.preventDefault();
    save(services);
  };
  dialog.showModal();
}

const hasChanges = () => Object.keys(shown).some(isChanged);

/** Closes the form, after a question if something was entered. */
function leave() {
  if (!hasChanges()) return dialog.close();
  const text = 'The entry in the form is not saved.';
  return ask('Discard what you entered?', text, 'Go on editing', 'Discard', () => dialog.close());
}

/** Says in the form what happened to its entry meanwhile. */
export function noteChange(services, what, service) {
  if (!dialog.open || edited === undefined) return;
  if (what === 'service_changed' && service?.id === edited) {
    byId('editor-note').textContent =
      'This entry was changed on another page meanwhile. Saving puts yours in its place.';
  }
  if (services.find(edited)) return;
  edited = undefined;
  const text = 'This entry was removed on another page meanwhile.';
  if (!hasChanges()) {
    dialog.close();
    say(text);
    return;
  }
  byId('editor-title').textContent = 'Add a service';
  byId('editor-note').textContent = `${text} Saving adds it again.`;
}

for (const input of fields.kind) input.onchange = showKind;
fields.delay.oninput = showDelay;
fields.icon.oninput = showType;
fields.lapse.onchange = () => {
  if (fields.lapse.value === '') fields.delay.select();
  else fields.delay.value = fields.lapse.value;
};
form.addEventListener('input', check);
form.addEventListener('change', check);
byId('back').onclick = leave;
dialog.oncancel = (event) => {
  if (event.target !== dialog) return;
  event.preventDefault();
  leave();
};
// A second Escape would close the dialog although its cancel event is prevented.
dialog.onkeydown = (event) => {
  if (event.key !== 'Escape') return;
  event.preventDefault();
  leave();
};
