// The signal of new requests: a count in title and icon, and a tone that repeats.

const PERIOD = 5000;
const NOTES = [880, 660]; // Hz
const title = document.title;
const icon = document.querySelector('link[rel=icon]');
const plain = icon.href;

let context; // Web Audio's; a browser lets it sound after a tap only
let ringing; // the timer between two tones

/** Whether the tone can be heard. */
export const canSound = () => context?.state === 'running';

function sound() {
  if (!canSound()) return;
  NOTES.forEach((frequency, index) => {
    const begin = context.currentTime + index * 0.3;
    const note = new OscillatorNode(context, { frequency });
    const volume = new GainNode(context, { gain: 0 });
    volume.gain.setTargetAtTime(0.5, begin, 0.01);
    volume.gain.setTargetAtTime(0, begin + 0.2, 0.15);
    note.connect(volume).connect(context.destination);
    note.start(begin);
    note.stop(begin + 1);
  });
}

/** Turns the tone on, within a tap, and lets it be heard once. `onChange()` is called when that changes. */
export async function turnOn(onChange) {
  context ??= new AudioContext();
  context.onstatechange = onChange;
  await context.resume();
  sound();
}

/** Lets the tone repeat, or ends it. */
export function ring(isOn) {
  if (isOn === (ringing !== undefined)) return;
  clearInterval(ringing);
  ringing = isOn ? setInterval(sound, PERIOD) : undefined;
  if (isOn) sound();
}

/** Shows a number in title and icon; none for 0. */
export function mark(count) {
  const text = count > 99 ? '99+' : String(count);
  const marked = `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 24 24"><rect width="24" height="24" rx="6" fill="#9b2c1f"/>
    <text x="12" y="17" font-family="sans-serif" font-size="${20 - 4 * text.length}" font-weight="700" text-anchor="middle" fill="#fff">${text}</text></svg>`;
  const href = count > 0 ? `data:image/svg+xml,${encodeURIComponent(marked)}` : plain;
  document.title = count > 0 ? `(${text}) ${title}` : title;
  if (icon.href !== href) icon.href = href;
}
