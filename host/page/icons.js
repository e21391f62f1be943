// The drawings of the page, in strokes on a field of 24 by 24.

const SVG = 'http://www.w3.org/2000/svg';

/** By icon number: the service types' drawings, in the order of their ids. */
const SERVICES = [
  'M20 4l-7.5 7.5M9.5 9.5l5 5L11 20H4v-.5A22 22 0 0 0 9.5 9.5zM7.5 20l2.5-3', // a broom
  'M5 8h14v11H5zM9 8V5h6v3M9 8v11M15 8v11', // a suitcase
  'M6 5h12a2 2 0 0 1 0 4.7H5.5M6 9.7h12a2 2 0 0 1 0 4.7H5.5M6 14.4h12a2 2 0 0 1 0 4.6H6A2 2 0 0 1 4 17V7a2 2 0 0 1 2-2', // towels
  'M5 11l1.7-4.5A2 2 0 0 1 8.5 5.2h7a2 2 0 0 1 1.8 1.3L19 11M4 17v-4a2 2 0 0 1 2-2h12a2 2 0 0 1 2 2v4zM6.5 17v2M17.5 17v2M7.5 14h1M15.5 14h1', // a car
  'M19.5 14.5A8 8 0 1 1 9.5 4.5a6.3 6.3 0 0 0 10 10zM17 4v4M15 6h4', // the night
  'M3 6v11M3 14h18v3M21 14v-1.5a3 3 0 0 0-3-3h-7V14M7 9.4a1.6 1.6 0 1 0 0 3.2 1.6 1.6 0 0 0 0-3.2', // a bed
  'M9 3h6a2 2 0 0 1 2 2v14a2 2 0 0 1-2 2H9a2 2 0 0 1-2-2V5a2 2 0 0 1 2-2zM12 6a2 2 0 1 0 0 4 2 2 0 0 0 0-4M10 14h4M10 17h4', // a door hanger
  'M4 16a8 8 0 0 1 16 0zM3 19h18M12 8V6M11 5.5a1 1 0 1 0 2 0 1 1 0 0 0-2 0', // a covered dish
];
const BELL = 'M4.5 16a7.5 7.5 0 0 1 15 0zM3.5 19h17M12 8.5V6M10 6h4';
const DOTS = 'M9 6v.01M15 6v.01M9 12v.01M15 12v.01M9 18v.01M15 18v.01';
const LINK = 'M10 5H6a1 1 0 0 0-1 1v12a1 1 0 0 0 1 1h12a1 1 0 0 0 1-1v-4M13.5 5H19v5.5M19 5l-8.5 8.5';

function svg(tag, attributes, ...children) {
  const node = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) node.setAttribute(name, value);
  node.append(...children);
  return node;
}

/** The drawing for an icon number; a bell for a number that has none. */
export function drawNumber(number) {
  const path = svg('path', { d: SERVICES[number] ?? BELL });
  return svg('svg', { class: 'icon', viewBox: '0 0 24 24', 'aria-hidden': 'true' }, path);
}

/** The drawing for what can be dragged. */
export function drawHandle() {
  const path = svg('path', { d: DOTS });
  return svg('svg', { class: 'icon dots', viewBox: '0 0 24 24', 'aria-hidden': 'true' }, path);
}

/** The drawing for a service. */
export function draw(service) {
  const icon = drawNumber(service.icon);
  if (service.isShortcut) icon.firstChild.setAttribute('d', LINK);
  return icon;
}

/** A ring of which a share from 0 to 1 can be shown with `setShare`. */
export function drawRing() {
  const circle = { cx: 32, cy: 32, r: 30, pathLength: 1 };
  const left = svg('circle', { class: 'left', ...circle });
  const ring = svg('svg', { class: 'ring', viewBox: '0 0 64 64', 'aria-hidden': 'true' });
  ring.append(svg('circle', circle), left);
  ring.setShare = (share) => left.setAttribute('stroke-dasharray', `${Math.max(0, Math.min(1, share))} 2`);
  return ring;
}
