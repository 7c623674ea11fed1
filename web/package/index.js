// SPDX-License-Identifier: Apache-2.0
// Loudspeaker beds to headphones: OrvaneNode for Web Audio, OrvaneRenderer for everything else.
import { OrvaneRenderer as Renderer, checkResponses, layoutIndex } from './renderer.js';
import { defaults, presetValues, settle } from './settings.js';
import { layouts, sampleRate } from './tables.js';

export { descriptions, layouts, parameters, presets, responseShape, sampleRate, unlabelled } from './tables.js';
export { poseFromDevice } from './pose.js';

/** A module of one function that counts the bits of a vector; engines without vectors refuse it. */
const kVectorProbe = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11]);

/** Whether this engine has the vector instructions that orvane.wasm uses; orvane-plain.wasm does without. */
export function hasVectors() {
  return WebAssembly.validate(kVectorProbe);
}

/** What `load` promises, asked for once per key. A failure is forgotten, so that the next call tries again. */
function once(cache, key, load) {
  if (!cache.has(key)) {
    cache.set(key, load());
    cache.get(key).catch(() => cache.delete(key));
  }
  return cache.get(key);
}

const loading = new Map();  // name of a module -> the promise of its bytes

/** The bytes of a module beside this file. */
async function loadBytes(name) {
  const url = new URL(name, import.meta.url);
  if (url.protocol === 'file:' && globalThis.process?.versions?.node) {
    const { readFile } = await import('node:fs/promises');
    return readFile(url);
  }
  const answer = await fetch(url);
  if (!answer.ok) throw new Error(`${url} cannot be loaded: ${answer.status} ${answer.statusText}`);
  return answer.arrayBuffer();
}

function bytesOf(vectors = hasVectors()) {
  const name = vectors ? './orvane.wasm' : './orvane-plain.wasm';
  return once(loading, name, () => loadBytes(name));
}

export class OrvaneRenderer extends Renderer {
  static async create({ vectors, ...settings } = {}) {
    return new OrvaneRenderer(await WebAssembly.compile(await bytesOf(vectors)), settings);
  }
}

const addedTo = new WeakMap();  // context -> the promise of its processor
let failures = 0;

/** A worklet remembers an address that could not be loaded, so another try has another address. */
async function addProcessor({ audioWorklet }) {
  try {
    await audioWorklet.addModule(new URL(`./processor.js${failures ? `?${failures}` : ''}`, import.meta.url));
  } catch (error) {
    ++failures;
    throw error;
  }
}

export class OrvaneNode extends (globalThis.AudioWorkletNode ?? class {}) {
  #values = defaults();

  /** Use OrvaneNode.create. */
  constructor(context, bytes, settings) {
    const { layout = '7.1.4', preset, parameters = {}, pose, responses } = settings;
    const { loudspeakers } = layouts[layoutIndex(layout)];
    const values = { ...(preset ? presetValues(preset) : {}), ...parameters };
    settle(values, defaults());  // these throw here rather than on the audio thread
    checkResponses(responses?.left, responses?.right);
    super(context, 'orvane', {
      numberOfInputs: 1,
      numberOfOutputs: 1,
      outputChannelCount: [2],
      channelCount: loudspeakers.length,
      channelCountMode: 'explicit',
      channelInterpretation: 'discrete',
      parameterData: pose ?? {},
      processorOptions: { bytes, settings: { layout, preset, parameters, pose, responses } },
    });
    settle(values, this.#values);
    this.layout = layouts[layoutIndex(layout)];
    this.port.onmessage = ({ data }) => {
      this.dispatchEvent(Object.assign(new Event('load'), { load: data.load }));
    };
  }

  static async create(context, { vectors, ...settings } = {}) {
    if (context.sampleRate !== sampleRate) {
      throw new RangeError(`the renderer works at ${sampleRate} Hz, and the context at ${context.sampleRate}`);
    }
    const added = once(addedTo, context, () => addProcessor(context));
    const [bytes] = await Promise.all([bytesOf(vectors), added]);
    return new OrvaneNode(context, bytes, settings);
  }

  get yaw() { return this.parameters.get('yaw'); }
  get pitch() { return this.parameters.get('pitch'); }
  get roll() { return this.parameters.get('roll'); }

  setPose({ yaw = 0, pitch = 0, roll = 0 }) {
    for (const [name, angle] of Object.entries({ yaw, pitch, roll })) this.parameters.get(name).value = angle;
  }

  /** Changes some parameters; the others stay. */
  setParameters(values) {
    const writes = settle(values, this.#values);
    if (writes.length > 0) this.port.postMessage({ writes });
  }

  /** Makes the room that of a preset, or a new renderer's own without a name. */
  setPreset(name) {
    const wanted = { ...defaults(), ...(name ? presetValues(name) : {}) };
    const changed = Object.entries(wanted).filter(([key, value]) => this.#values[key] !== value);
    this.setParameters(Object.fromEntries(changed));
  }

  /** The ears to render for. Their transforms are made on the audio thread, which takes a moment. */
  setResponses(left, right) {
    checkResponses(left, right);
    this.port.postMessage({ responses: [left, right] });
  }

  /** Ends the renderer; the node is silent from then on. */
  close() {
    this.disconnect();
    this.port.postMessage({ close: true });
  }
}
