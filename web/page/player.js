// SPDX-License-Identifier: Apache-2.0
// The sound: a bed, the renderer and the plain downmix side by side, and meters on everything.
import { OrvaneNode, sampleRate } from './orvane/index.js';
import { connectDownmix } from './downmix.js';
import { measure } from './loudness.js';

const kMeasuredSeconds = 20;
const kFade = 0.03;  // seconds
const kCeiling = 0.63;  // of full scale: -4 dB while the head looks ahead, since a turned head may hear higher peaks
const kLoudness = -20;  // LKFS, where the peaks allow it
const kMostGain = 10;

const explicit = channelCount => ({ channelCount, channelCountMode: 'explicit', channelInterpretation: 'discrete' });

function splitterOf(context, channels) {
  return new ChannelSplitterNode(context, { numberOfOutputs: channels });
}

/** Renders the beginning of a bed offline, by `connect(context, source)`, which returns the last node. */
async function renderOffline(buffer, connect) {
  const frames = Math.min(buffer.length, kMeasuredSeconds * sampleRate);
  const context = new OfflineAudioContext(2, frames, sampleRate);
  const source = new AudioBufferSourceNode(context, { buffer });
  (await connect(context, source)).connect(context.destination);
  source.start();
  return context.startRendering();
}

export const renderSpatial = (bed, room) => renderOffline(bed.buffer, async (context, source) =>
  source.connect(await OrvaneNode.create(context, { layout: bed.layout.name, ...room })));

export const renderPlain = bed => renderOffline(bed.buffer, (context, source) => {
  const splitter = splitterOf(context, bed.layout.loudspeakers.length);
  return connectDownmix(context, source.connect(splitter), bed.layout);
});

/** The gain that makes the bed as loud as all others without clipping, and the one that the downmix needs on top. */
export async function findGains(bed, room) {
  const [spatial, plain] = (await Promise.all([renderSpatial(bed, room), renderPlain(bed)])).map(measure);
  const gain = (to, from) => (Number.isFinite(to) && Number.isFinite(from) ? 10 ** ((to - from) / 20) : 1);
  const match = gain(spatial.loudness, plain.loudness);
  const peak = Math.max(spatial.peak, match * plain.peak);
  return { level: Math.min(gain(kLoudness, spatial.loudness), kCeiling / peak, kMostGain), match };
}

/** The gains of the two ways while one of them is heard. */
export const gainsOf = (how, match) => ({ spatial: how === 'spatial' ? 1 : 0, plain: how === 'plain' ? match : 0 });

/** Frames from a click in front to its loudest moment at an ear. */
export async function measureDelay(bed) {
  const buffer = new AudioBuffer({ numberOfChannels: bed.buffer.numberOfChannels, length: 2048, sampleRate });
  const front = bed.layout.loudspeakers.findIndex(({ label }) => label === 'FC');
  buffer.getChannelData(front)[0] = 1;
  const ears = await renderSpatial({ ...bed, buffer }, { preset: 'dry' });
  const samples = ears.getChannelData(0).map(Math.abs);
  return samples.indexOf(samples.reduce((a, b) => Math.max(a, b)));
}

export class Player extends EventTarget {
  context = new AudioContext({ sampleRate, latencyHint: 'interactive' });
  pose = { yaw: 0, pitch: 0, roll: 0 };
  room = {};  // preset, and parameters on top of it, as OrvaneNode.create takes them
  how = 'spatial';
  #chain;
  #turn = 0;  // of the latest call that plays or stops

  constructor() {
    super();
    this.level = new GainNode(this.context);
    this.level.connect(this.context.destination);
    const ears = splitterOf(this.context, 2);
    this.level.connect(ears);
    this.ears = [0, 1].map(side => this.#analyser(ears, side));
  }

  #analyser(splitter, output) {
    const analyser = new AnalyserNode(this.context, { fftSize: 2048 });
    splitter.connect(analyser, output);
    return analyser;
  }

  get playing() { return Boolean(this.#chain?.started); }
  get loudspeakers() { return this.#chain?.loudspeakers ?? []; }

  /**
   * Plays a bed from its beginning, over and over. A later call of play or stop takes the place of one that still gets
   * ready, which then returns without a sound.
   */
  async play(bed) {
    const turn = ++this.#turn;
    await this.context.resume();
    if (turn !== this.#turn) return;
    const node = await this.#makeNode(bed);
    if (turn !== this.#turn) {
      node.close();
      return;
    }
    this.#close();
    const chain = { bed, node, match: 1, started: false, ...this.#connect(bed, node) };
    this.#chain = chain;
    await this.matchLoudness();
    if (turn !== this.#turn) return;  // whoever came later has closed the chain
    chain.source.start();
    chain.started = true;
  }

  /** A node in the room and with the pose of now, also where these change while it is made. */
  async #makeNode({ layout }) {
    const { room } = this;
    const node = await OrvaneNode.create(this.context, { layout: layout.name, ...room, pose: this.pose });
    node.addEventListener('load', ({ load }) => this.dispatchEvent(Object.assign(new Event('load'), { load })));
    // Not by addEventListener: Chromium calls this event `error`.
    node.onprocessorerror = ({ message }) => {
      if (node !== this.#chain?.node) return;
      this.stop();
      this.dispatchEvent(Object.assign(new Event('failure'), { message }));
    };
    node.setPose(this.pose);
    if (room !== this.room) {
      node.setPreset(this.room.preset);
      node.setParameters(this.room.parameters ?? {});
    }
    return node;
  }

  #connect(bed, node) {
    const { context } = this;
    const channels = bed.layout.loudspeakers.length;
    const source = new AudioBufferSourceNode(context, { buffer: bed.buffer, loop: true, ...explicit(channels) });
    const splitter = splitterOf(context, channels);
    const loudspeakers = bed.layout.loudspeakers.map((_, channel) => this.#analyser(splitter, channel));
    const gains = { spatial: new GainNode(context, { gain: 0 }), plain: new GainNode(context, { gain: 0 }) };
    source.connect(splitter);
    source.connect(node).connect(gains.spatial).connect(this.level);
    connectDownmix(context, splitter, bed.layout).connect(gains.plain).connect(this.level);
    return { source, gains, loudspeakers };
  }

  stop() {
    ++this.#turn;
    this.#close();
  }

  #close() {
    if (!this.#chain) return;
    const { source, node, gains, started } = this.#chain;
    if (started) source.stop();
    source.disconnect();
    node.close();
    for (const gain of Object.values(gains)) gain.disconnect();
    this.#chain = undefined;
  }

  /** Measures both ways of the bed in this room, and makes them equally loud. Returns the common gain. */
  async matchLoudness() {
    const chain = this.#chain;
    const room = this.room;
    const { level, match } = await findGains(chain.bed, room);
    if (chain !== this.#chain || room !== this.room) return;  // something else plays by now
    chain.match = match;
    this.#fade(this.level.gain, level);
    this.setHow(this.how);
    this.dispatchEvent(Object.assign(new Event('level'), { level }));
  }

  #fade(parameter, value) {
    parameter.setTargetAtTime(value, this.context.currentTime, kFade / 3);
  }

  setHow(how) {
    this.how = how;
    if (!this.#chain) return;
    const { gains, match } = this.#chain;
    for (const [way, gain] of Object.entries(gainsOf(how, match))) this.#fade(gains[way].gain, gain);
  }

  async setPreset(preset) {
    this.room = { preset };
    if (!this.#chain) return;
    this.#chain.node.setPreset(preset);
    await this.matchLoudness();
  }

  /** Changes parameters on top of the preset. */
  async setParameters(values) {
    this.#chain?.node.setParameters(values);  // throws before anything is changed
    this.room = { ...this.room, parameters: { ...this.room.parameters, ...values } };
    if (this.#chain) await this.matchLoudness();
  }

  setPose(pose) {
    this.pose = pose;
    this.#chain?.node.setPose(pose);
  }
}
