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

const renderSpatial = (bed, room) => renderOffline(bed.buffer, async (context, source) =>
  source.connect(await OrvaneNode.create(context, { layout: bed.layout.name, ...room })));

const renderPlain = bed => renderOffline(bed.buffer, (context, source) => {
  const splitter = splitterOf(context, bed.layout.loudspeakers.length);
  return connectDownmix(context, source.connect(splitter), bed.layout);
});

/** The gain that makes the bed as loud as all others without clipping, and the one that the downmix needs on top. */
async function findGains(bed, room) {
  const [spatial, plain] = (await Promise.all([renderSpatial(bed, room), renderPlain(bed)])).map(measure);
  const gain = (to, from) => (Number.isFinite(to) && Number.isFinite(from) ? 10 ** ((to - from) / 20) : 1);
  const match = gain(spatial.loudness, plain.loudness);
  const peak = Math.max(spatial.peak, match * plain.peak);
  return { level: Math.min(gain(kLoudness, spatial.loudness), kCeiling / peak, kMostGain), match };
}

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

  get playing() { return Boolean(this.#chain); }
  get loudspeakers() { return this.#chain?.loudspeakers ?? []; }

  /** Plays a bed from its beginning, over and over. */
  async play(bed) {
    const { context } = this;
    await context.resume();
    const node = await OrvaneNode.create(context, { layout: bed.layout.name, ...this.room, pose: this.pose });
    node.addEventListener('load', ({ load }) => this.dispatchEvent(Object.assign(new Event('load'), { load })));
    this.stop();
    const channels = bed.layout.loudspeakers.length;
    const source = new AudioBufferSourceNode(context, { buffer: bed.buffer, loop: true, ...explicit(channels) });
    const splitter = splitterOf(context, channels);
    const loudspeakers = bed.layout.loudspeakers.map((_, channel) => this.#analyser(splitter, channel));
    const gains = { spatial: new GainNode(context, { gain: 0 }), plain: new GainNode(context, { gain: 0 }) };
    source.connect(splitter);
    source.connect(node).connect(gains.spatial).connect(this.level);
    connectDownmix(context, splitter, bed.layout).connect(gains.plain).connect(this.level);
    this.#chain = { bed, source, node, gains, loudspeakers, match: 1 };
    await this.matchLoudness();
    source.start();
  }

  stop() {
    if (!this.#chain) return;
    const { source, node, gains } = this.#chain;
    source.stop();
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
    this.#fade(gains.spatial.gain, how === 'spatial' ? 1 : 0);
    this.#fade(gains.plain.gain, how === 'plain' ? match : 0);
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
