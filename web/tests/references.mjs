// SPDX-License-Identifier: Apache-2.0
// Makes beds of noise bursts and has orvane-render render them, for the tests in Node and in the browser to compare
// with: NAME.bed (raw samples, channel after channel in the layout's order), NAME.BLOCK.ears (left, then right, rendered
// in blocks of so many samples), cases.json.
//
//   references.mjs ORVANE_RENDER PACKAGE FOLDER
import { execFileSync } from 'node:child_process';
import { mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';

const [render, packageFolder, folder] = process.argv.slice(2);
const { layouts, sampleRate } = await import(pathToFileURL(join(resolve(packageFolder), 'index.js')));

const kFrames = 24000;
// Where a reverb's tail is cut off depends a little on the length of the blocks, so each is compared with its own.
const kBlocks = [128, 1024];

// The renderer starts as the effect does: with its own short tail.
const cases = [
  { name: 'still', options: [], settings: { layout: '7.1.4' } },
  { name: 'dry', options: ['--dry'], settings: { layout: '5.1', preset: 'dry' } },
  { name: 'heights', options: ['--pose=-75,20,10'], settings: { layout: '5.1.4', pose: { yaw: -75, pitch: 20, roll: 10 } } },
  { name: 'turned', options: ['--dry', '--pose', '140,-30,-20'],
    settings: { layout: '22.2', preset: 'dry', pose: { yaw: 140, pitch: -30, roll: -20 } } },
  { name: 'room', options: ['--preset', 'living-room', '--pose', '30,0,0'],
    settings: { layout: '7.1', preset: 'living-room', pose: { yaw: 30 } } },
  { name: 'hall', options: ['--preset', 'hall', '--param', 'reverb.level=0.3'],
    settings: { layout: '5.1.2', preset: 'hall', parameters: { 'reverb.level': 0.3 } } },
];

function noiseBed(channels) {
  let state = 1;
  const next = () => (state = (Math.imul(state, 1664525) + 1013904223) >>> 0) / 2 ** 32 - 0.5;
  return Array.from({ length: channels }, (_, channel) => {
    const start = 500 * channel;
    return Float32Array.from({ length: kFrames }, (_, i) => (i >= start && i < start + 6000 ? 0.2 * next() : 0));
  });
}

/** A WAVE file of 32-bit floats, without a channel mask. */
function waveFile(channels) {
  const data = new Float32Array(channels.length * kFrames);
  channels.forEach((samples, c) => samples.forEach((sample, i) => { data[i * channels.length + c] = sample; }));
  const head = Buffer.alloc(44);
  head.write('RIFF', 0); head.writeUInt32LE(36 + data.byteLength, 4);
  head.write('WAVEfmt ', 8); head.writeUInt32LE(16, 16); head.writeUInt16LE(3, 20);
  head.writeUInt16LE(channels.length, 22); head.writeUInt32LE(sampleRate, 24);
  head.writeUInt32LE(sampleRate * channels.length * 4, 28); head.writeUInt16LE(channels.length * 4, 32);
  head.writeUInt16LE(32, 34); head.write('data', 36); head.writeUInt32LE(data.byteLength, 40);
  return Buffer.concat([head, Buffer.from(data.buffer)]);
}

/** The samples of a stereo WAVE file of floats, the first kFrames of each side. */
function readEars(path) {
  const file = readFileSync(path);
  let at = 12;
  while (file.toString('latin1', at, at + 4) !== 'data') at += 8 + file.readUInt32LE(at + 4);
  const sample = i => file.readFloatLE(at + 8 + 4 * i);
  return [0, 1].map(side => Float32Array.from({ length: kFrames }, (_, i) => sample(2 * i + side)));
}

const bytesOf = channels => Buffer.concat(channels.map(samples => Buffer.from(samples.buffer)));

rmSync(folder, { recursive: true, force: true });
mkdirSync(folder, { recursive: true });
for (const { name, options, settings } of cases) {
  const layout = layouts.find(({ name }) => name === settings.layout);
  const bed = noiseBed(layout.loudspeakers.length);
  const inFile = layout.orders.wave.map(label => bed[layout.loudspeakers.findIndex(row => row.label === label)]);
  const path = what => join(folder, `${name}.${what}`);
  writeFileSync(path('in.wav'), waveFile(inFile));
  writeFileSync(path('bed'), bytesOf(bed));
  for (const block of kBlocks) {
    const all = ['--keep-latency', '--layout', settings.layout, '--block', block, ...options];
    execFileSync(render, [path('in.wav'), path('out.wav'), ...all], { stdio: 'pipe' });
    writeFileSync(path(`${block}.ears`), bytesOf(readEars(path('out.wav'))));
  }
}
const kept = cases.map(({ name, settings }) => ({ name, settings, frames: kFrames }));
writeFileSync(join(folder, 'cases.json'), JSON.stringify(kept, null, 1));
