// The picture from above: ahead is up. Loudspeakers at ear height stand on the circle, those above within it, those
// below outside; an orange disc shows how loud each is.
import { decibels } from './levels.js';

const kCircle = 100;

function make(parent, name, attributes, text) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  if (text) element.textContent = text;
  parent.append(element);
  return element;
}

function place({ isLfe, label, x, y, z }) {
  if (isLfe) return [label === 'LFE' ? -125 : 125, 135];  // from nowhere in particular
  const elevation = Math.asin(Math.max(-1, Math.min(1, z))) * 180 / Math.PI;
  const radius = kCircle * (elevation < 0 ? 1 - elevation / 60 : 1 - elevation / 120);
  const flat = Math.hypot(x, y);
  return flat < 0.01 ? [0, 36] : [-radius * y / flat, -radius * x / flat];
}

export class TopView {
  #levels = [];

  constructor(svg) {
    this.svg = svg;
    make(svg, 'circle', { class: 'ring', r: kCircle });
    this.speakers = make(svg, 'g', {});
    this.head = make(svg, 'path', { class: 'head', d: 'M-5.5-15 0-24 5.5-15A16 16 0 0 1 15.5-4a3.5 4.5 0 0 1 0 8A16 16 0 0 1-15.5 4a3.5 4.5 0 0 1 0-8A16 16 0 0 1-5.5-15Z' });
  }

  showLayout(layout) {
    this.speakers.replaceChildren();
    this.#levels = layout.loudspeakers.map(loudspeaker => {
      const [x, y] = place(loudspeaker);
      const group = make(this.speakers, 'g', { transform: `translate(${x.toFixed(1)} ${y.toFixed(1)})` });
      make(group, 'title', {}, loudspeaker.name);
      const isFlat = Math.abs(loudspeaker.z) < 0.1 || loudspeaker.isLfe;
      const [shape, size] = isFlat ? ['circle', { r: loudspeaker.isLfe ? 15 : 12 }]
        : ['rect', { x: -12.5, y: -8.5, width: 25, height: 17, rx: 2 }];
      make(group, shape, { class: 'speaker', ...size });
      const level = make(group, shape, { class: 'level', ...size });
      make(group, 'text', {}, loudspeaker.label);
      return level;
    });
  }

  showLevels(peaks) {
    this.#levels.forEach((level, channel) => {
      const loud = Math.max(0, Math.min(1, 1 + decibels(peaks[channel] ?? 0) / 48));
      level.style.opacity = (0.85 * loud).toFixed(2);
    });
  }

  showPose({ yaw, pitch }) {
    const nod = Math.cos(pitch * Math.PI / 180);
    this.head.setAttribute('transform', `rotate(${-yaw}) scale(1 ${Math.max(0.35, nod).toFixed(2)})`);
  }
}
