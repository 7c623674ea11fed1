// SPDX-License-Identifier: Apache-2.0
// Runs in the browser: a reference case through an OfflineAudioContext, compared with what orvane-render made of it.
import { OrvaneNode, OrvaneRenderer, responseShape, sampleRate } from '/package/index.js';

async function readChannels(path, frames) {
  const samples = new Float32Array(await (await fetch(path)).arrayBuffer());
  return Array.from({ length: samples.length / frames }, (_, c) => samples.subarray(c * frames, (c + 1) * frames));
}

async function play(bed, settings) {
  const context = new OfflineAudioContext(2, bed[0].length, sampleRate);
  const node = await OrvaneNode.create(context, settings);
  const buffer = new AudioBuffer({ numberOfChannels: bed.length, length: bed[0].length, sampleRate });
  bed.forEach((samples, channel) => buffer.copyToChannel(samples, channel));
  const source = new AudioBufferSourceNode(context, { buffer });
  source.connect(node).connect(context.destination);
  source.start();
  const ears = await context.startRendering();
  return [0, 1].map(side => ears.getChannelData(side));
}

function difference(heard, expected) {
  let largest = 0, peak = 0;
  expected.forEach((samples, side) => samples.forEach((sample, i) => {
    largest = Math.max(largest, Math.abs(heard[side][i] - sample));
    peak = Math.max(peak, Math.abs(sample));
  }));
  return { difference: largest, peak };
}

/** The largest difference of a case, and the peak of the reference. */
export async function compare({ name, settings, frames }, vectors) {
  const [bed, expected] = await Promise.all(['bed', '128.ears'].map(what => readChannels(`/references/${name}.${what}`, frames)));
  return difference(await play(bed, { ...settings, vectors }), expected);
}

/** The same of a node and a renderer that are given ears of noise. */
export async function compareResponses() {
  const noise = length => Float32Array.from({ length }, () => 0.1 * (Math.random() - 0.5));
  const [left, right] = [1, 2].map(() => noise(responseShape.taps * responseShape.channels));
  const bed = Array.from({ length: 6 }, () => noise(4800));
  const settings = { layout: '5.1', preset: 'dry', responses: { left, right } };
  const renderer = await OrvaneRenderer.create(settings);
  return difference(await play(bed, settings), renderer.process(bed, undefined, 128));
}
