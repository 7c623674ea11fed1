// SPDX-License-Identifier: Apache-2.0
// The room in detail: a slider for each parameter that is worth turning while one listens, made from the package's table.
import { parameters, presets } from './orvane/index.js';

const kShown = ['reverb.level', 'reverb.decay', 'reverb.predelay', 'reflections.mode', 'room.length', 'room.width', 'room.height'];
const kSteps = 200;

const rows = new Map(parameters.map(parameter => [parameter.name, parameter]));

/** Every parameter's value in a preset, or without one in a new renderer. */
function valuesOf(preset) {
  return { ...Object.fromEntries(parameters.map(p => [p.name, p.default])), ...presets[preset] };
}

/** The least that a parameter can be while those that it bounds, such as the listener's place, stay what they are. */
function leastOf({ number, minimum }, values) {
  const bounded = parameters.filter(({ limiting }) => limiting === number);
  return Math.max(minimum, ...bounded.map(({ name, limit }) => (limit === 'between' ? 2 * Math.abs(values[name]) : values[name])));
}

/** Small values of the reverb take most of its sliders: its presets are down there. */
const bend = ({ name }) => (name.startsWith('reverb.') ? 3 : 1);

function textOf({ unit, kind }, value) {
  return `${kind === 'whole' ? value : Number(value.toPrecision(3))} ${unit}`.trim();
}

export class RoomSliders extends EventTarget {
  #values;
  #sliders = new Map();

  constructor(parent) {
    super();
    for (const name of kShown) parent.append(this.#make(rows.get(name)));
    this.showPreset('');
  }

  #make(parameter) {
    const { name, meaning, kind, minimum, maximum } = parameter;
    const label = document.createElement('label');
    label.className = 'slider detail';
    label.title = meaning;
    const text = document.createElement('span');
    text.textContent = name[0].toUpperCase() + name.slice(1).replace('.', ' ');
    const slider = document.createElement('input');
    Object.assign(slider, { type: 'range', id: name, min: 0, max: kind === 'whole' ? maximum - minimum : kSteps, step: 1 });
    const output = document.createElement('output');
    output.setAttribute('aria-live', 'off');
    output.htmlFor = name;
    label.append(text, slider, output);
    slider.oninput = () => this.#showValue(parameter, this.#valueAt(parameter));
    slider.onchange = () => {
      this.#values[name] = this.#valueAt(parameter);
      this.dispatchEvent(Object.assign(new Event('change'), { values: { [name]: this.#values[name] } }));
    };
    this.#sliders.set(name, { slider, output });
    return label;
  }

  #valueAt(parameter) {
    const { slider } = this.#sliders.get(parameter.name);
    const least = leastOf(parameter, this.#values);
    const value = least + (parameter.maximum - least) * (slider.value / slider.max) ** bend(parameter);
    return parameter.kind === 'whole' ? Math.round(value) : value;
  }

  #showValue(parameter, value) {
    const { slider, output } = this.#sliders.get(parameter.name);
    output.textContent = textOf(parameter, value);
    slider.setAttribute('aria-valuetext', output.textContent);
  }

  /** Puts every slider where the preset has it. */
  showPreset(preset) {
    this.#values = valuesOf(preset);
    for (const [name, { slider }] of this.#sliders) {
      const parameter = rows.get(name);
      const least = leastOf(parameter, this.#values);
      slider.value = slider.max * ((this.#values[name] - least) / (parameter.maximum - least)) ** (1 / bend(parameter));
      this.#showValue(parameter, this.#values[name]);
    }
  }
}
