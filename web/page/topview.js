// SPDX-License-Identifier: Apache-2.0
// The picture from above: ahead is up. Loudspeakers at ear height stand on the circle, those above within it, those
// below outside; what glows behind a loudspeaker shows how loud it is.
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
  if (isLfe) return [label === 'LFE' ? -128 : 128, 128];  // from nowhere in particular
  const elevation = Math.asin(Math.max(-1, Math.min(1, z))) * 180 / Math.PI;
  const radius = kCircle * (elevation < 0 ? 1 - elevation / 60 : 1 - elevation / 120);
  const flat = Math.hypot(x, y);
  return flat < 0.01 ? [0, 36] : [-radius * y / flat, -radius * x / flat];
}

function shapeOf({ isLfe, z }) {
  if (isLfe) return ['circle', { r: 15 }];
  if (Math.abs(z) < 0.1) return ['circle', { r: 12 }];
  return ['rect', { x: -12.5, y: -8.5, width: 25, height: 17, rx: 3 }];
}

export class TopView {
  #levels = [];

  constructor(svg) {
    this.svg = svg;
    make(svg, 'circle', { class: 'ring', r: kCircle });
    make(svg, 'circle', { class: 'ring inner', r: kCircle / 2 });
    this.gaze = make(svg, 'path', { class: 'gaze', d: 'M0 0L-42-100A108.5 108.5 0 0 1 42-100Z' });
    this.levels = make(svg, 'g', {});
    this.speakers = make(svg, 'g', {});
    this.head = make(svg, 'g', { class: 'head' });
    for (const x of [-17, 17]) make(this.head, 'ellipse', { cx: x, cy: 1, rx: 4, ry: 6.5 });
    make(this.head, 'path', { d: 'M-5-19 0-28 5-19Z' });
    make(this.head, 'ellipse', { rx: 17, ry: 20 });
  }

  showLayout(layout) {
    this.speakers.replaceChildren();
    this.levels.replaceChildren();
    this.#levels = layout.loudspeakers.map(loudspeaker => {
      const transform = `translate(${place(loudspeaker).map(part => part.toFixed(1)).join(' ')})`;
      const group = make(this.speakers, 'g', { transform });
      const [shape, size] = shapeOf(loudspeaker);
      make(group, 'title', {}, loudspeaker.name);
      make(group, shape, { class: 'speaker', ...size });
      make(group, 'text', {}, loudspeaker.label);
      return make(make(this.levels, 'g', { transform }), shape, { class: 'level', ...size });
    });
  }

  /** Each loudspeaker glows the further, the louder it is; silence is 48 dB below full scale. */
  showLevels(peaks) {
    this.#levels.forEach((level, channel) => {
      const loud = Math.max(0, Math.min(1, 1 + decibels(peaks[channel] ?? 0) / 48));
      level.style.opacity = loud > 0 ? 0.35 + 0.55 * loud : 0;
      level.setAttribute('transform', `scale(${(1 + 0.55 * loud).toFixed(2)})`);
    });
  }

  showPose({ yaw, pitch, roll }) {
    const [nod, lean] = [pitch, roll].map(angle => Math.max(0.4, Math.cos(angle * Math.PI / 180)).toFixed(2));
    this.head.setAttribute('transform', `rotate(${-yaw}) scale(${lean} ${nod})`);
    this.gaze.setAttribute('transform', `rotate(${-yaw})`);
  }
}
