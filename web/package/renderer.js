// SPDX-License-Identifier: Apache-2.0
// One renderer: a WebAssembly instance and the views into its memory. Runs in Node, on a page and in a worklet.
import { rotationVector } from './pose.js';
import { defaults, presetValues, settle } from './settings.js';
import { layouts, parameters, responseShape } from './tables.js';

const kFirstOfRoom = parameters.find(parameter => parameter.name === 'reflections.mode').number;

function stop(what) {
  throw new Error(`the renderer stopped: ${what}`);
}

/** What the module may ask of its host: notice of grown memory, and an end that never comes. */
function imports(module) {
  const all = {};
  for (const { module: from, name } of WebAssembly.Module.imports(module)) {
    (all[from] ??= {})[name] = name === 'emscripten_notify_memory_growth' ? () => {} : () => stop(name);
  }
  return all;
}

/** Throws RangeError for responses that the renderer would refuse. */
export function checkResponses(left, right) {
  const values = responseShape.taps * responseShape.channels;
  if (right && !left) throw new RangeError('a right ear needs a left one');
  for (const table of [left, right]) {
    if (table && (table.length !== values || !table.every(Number.isFinite))) {
      throw new RangeError(`the responses of an ear are ${values} finite numbers`);
    }
  }
}

/** Row of the table of layouts; throws RangeError for a name that does not exist. */
export function layoutIndex(name) {
  const index = layouts.findIndex(layout => layout.name === name);
  if (index < 0) throw new RangeError(`${name} is no layout: there are ${layouts.map(l => l.name).join(', ')}`);
  return index;
}

/** Ears as long as the first channel that is there. */
function emptyEars(channels) {
  const present = channels.find(Boolean);
  if (!present) throw new RangeError('without ears, one channel has to be there');
  return [0, 1].map(() => new Float32Array(present.length));
}

export class OrvaneRenderer {
  #wasm;
  #room = [];  // changes of the room that wait for the reflections to be computed
  #pose = { yaw: 0, pitch: 0, roll: 0 };
  #values = defaults();
  #views;

  constructor(module, { layout = '7.1.4', preset, parameters: values = {}, pose, responses } = {}) {
    this.layout = layouts[layoutIndex(layout)];
    this.#wasm = new WebAssembly.Instance(module, imports(module)).exports;
    this.#wasm._initialize?.();
    this.#accept(this.#wasm.orvane_web_init(layoutIndex(layout)), 'layout');
    this.setParameters({ ...(preset ? presetValues(preset) : {}), ...values });
    if (responses) this.setResponses(responses.left, responses.right);
    if (pose) this.settlePose(pose);
  }

  #accept(code, what) {
    if (code !== 0) throw new Error(`the renderer refused ${what}, with code ${code}`);
  }

  /** Turns the head; the sound fades over within the next block. */
  setPose(pose) {
    const { yaw = 0, pitch = 0, roll = 0 } = pose;
    if (![yaw, pitch, roll].every(Number.isFinite)) throw new RangeError('a pose has finite angles');
    if (yaw === this.#pose.yaw && pitch === this.#pose.pitch && roll === this.#pose.roll) return;
    this.#accept(this.#wasm.orvane_web_turn_head(...rotationVector({ yaw, pitch, roll })), 'the pose');
    this.#pose = { yaw, pitch, roll };
  }

  /** Turns the head so that the next sample has the pose already. Before the first block only. */
  settlePose(pose) {
    this.setPose(pose);
    this.process(this.layout.loudspeakers.map(() => new Float32Array(128)));
  }

  setParameters(values) {
    for (const write of settle(values, this.#values)) this.write(write);
    this.computeReflections();
  }

  /** Sets one parameter that settle() has checked, room parameters without computing their reflections. */
  write([number, value]) {
    this.#accept(this.#wasm.orvane_web_set_parameter(number, value), `parameter ${number}`);
    if (number >= kFirstOfRoom) this.#room.push(number);
  }

  computeReflections() {
    if (this.#room.length === 0) return;
    this.#room = [];
    this.#accept(this.#wasm.orvane_web_compute_reflections(), 'the room');
  }

  /** The ears to render for, from the next block on: see index.d.ts. */
  setResponses(left, right) {
    checkResponses(left, right);
    const tables = [left, right].filter(Boolean);
    const { memory, orvane_web_responses, orvane_web_set_responses } = this.#wasm;
    tables.forEach((table, ear) => {
      new Float32Array(memory.buffer, orvane_web_responses() + 4 * ear * table.length, table.length).set(table);
    });
    this.#accept(orvane_web_set_responses(tables.length), 'the responses');
  }

  /** Silences what sounds on, and puts the head straight ahead. */
  reset() {
    this.#accept(this.#wasm.orvane_web_reset(), 'to reset');
    this.#pose = { yaw: 0, pitch: 0, roll: 0 };
  }

  #memory() {
    if (this.#views?.bed[0].byteLength) return this.#views;  // of length 0 when the memory has grown
    const { memory, orvane_web_bed, orvane_web_ears, orvane_web_row } = this.#wasm;
    const length = orvane_web_row();
    const rows = (start, count) => Array.from({ length: count }, (_, row) =>
      new Float32Array(memory.buffer, start + 4 * length * row, length));
    this.#views = { length, bed: rows(orvane_web_bed(), this.layout.loudspeakers.length), ears: rows(orvane_web_ears(), 2) };
    return this.#views;
  }

  /**
   * Renders channels in the layout's order, of equal length, into two ears. Missing channels are silent. Any length
   * will do; it goes in blocks of `block` samples.
   */
  process(channels, ears = emptyEars(channels), block = Infinity) {
    const frames = ears[0].length;
    for (let start = 0; start < frames;) {
      const views = this.#memory();
      const end = Math.min(frames, start + Math.min(block, views.length));
      views.bed.forEach((row, channel) => {
        if (channels[channel]) row.set(channels[channel].subarray(start, end));
        else row.fill(0, 0, end - start);
      });
      this.#accept(this.#wasm.orvane_web_process(end - start), 'a block');
      ears.forEach((ear, side) => ear.set(views.ears[side].subarray(0, end - start), start));
      start = end;
    }
    return ears;
  }
}
