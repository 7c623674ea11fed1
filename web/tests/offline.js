// Runs in the browser: a reference case through an OfflineAudioContext, compared with what orvane-render made of it.
import { OrvaneNode, sampleRate } from '/package/index.js';

async function readChannels(path, frames) {
  const samples = new Float32Array(await (await fetch(path)).arrayBuffer());
  return Array.from({ length: samples.length / frames }, (_, c) => samples.subarray(c * frames, (c + 1) * frames));
}

/** The largest difference, and the peak of the reference. */
export async function compare({ name, settings, frames }, vectors) {
  const [bed, expected] = await Promise.all(['bed', '128.ears'].map(what => readChannels(`/references/${name}.${what}`, frames)));
  const context = new OfflineAudioContext(2, frames, sampleRate);
  const node = await OrvaneNode.create(context, { ...settings, vectors });
  const buffer = new AudioBuffer({ numberOfChannels: bed.length, length: frames, sampleRate });
  bed.forEach((samples, channel) => buffer.copyToChannel(samples, channel));
  const source = new AudioBufferSourceNode(context, { buffer });
  source.connect(node).connect(context.destination);
  source.start();
  const ears = await context.startRendering();
  let difference = 0, peak = 0;
  expected.forEach((samples, side) => {
    const heard = ears.getChannelData(side);
    samples.forEach((sample, i) => {
      difference = Math.max(difference, Math.abs(heard[i] - sample));
      peak = Math.max(peak, Math.abs(sample));
    });
  });
  return { difference, peak };
}
