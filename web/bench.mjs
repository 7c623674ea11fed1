// SPDX-License-Identifier: Apache-2.0
// Size and speed of the WebAssembly modules in Node, as a table for docs/performance.md. scripts/bench --web builds them
// and starts this.
//
//   bench.mjs PACKAGE
import { readFileSync } from 'node:fs';
import { cpus } from 'node:os';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { gzipSync } from 'node:zlib';

const folder = resolve(process.argv[2]);
const { OrvaneRenderer, layouts, sampleRate } = await import(pathToFileURL(join(folder, 'index.js')));

const kQuantum = 128;  // of Web Audio
const kSeconds = 6;
const rooms = { dry: { preset: 'dry' }, reverb: {}, hall: { preset: 'hall' } };

const microseconds = () => Number(process.hrtime.bigint()) / 1000;

/** Median of the microseconds that a block takes, copying in and out included. */
function timeBlocks(renderer, isTurning) {
  const bed = renderer.layout.loudspeakers.map(() => Float32Array.from({ length: kQuantum }, () => Math.random() - 0.5));
  const ears = [0, 1].map(() => new Float32Array(kQuantum));
  const block = k => {
    if (isTurning) renderer.setPose({ yaw: 0.4 * k % 360 });
    renderer.process(bed, ears);
  };
  for (let k = 1; k < 500; ++k) block(k);  // until the engine has compiled all
  const times = [];
  for (let k = 0; k < kSeconds * sampleRate / kQuantum; ++k) {
    const begin = microseconds();
    block(k);
    times.push(microseconds() - begin);
  }
  return times.sort((a, b) => a - b)[Math.floor(times.length / 2)];
}

console.log(`${cpus()[0].model.trim()}, Node ${process.version}, blocks of ${kQuantum} samples\n`);
console.log('| module | bytes | compressed by gzip -9 |\n|---|---|---|');
for (const name of ['orvane.wasm', 'orvane-plain.wasm']) {
  const bytes = readFileSync(join(folder, name));
  console.log(`| \`${name}\` | ${bytes.length} | ${gzipSync(bytes, { level: 9 }).length} |`);
}

console.log('\n| block | µs, median | times real time | without vectors, µs |\n|---|---|---|---|');
for (const layout of ['5.1', '7.1.4', '22.2']) {
  for (const [room, settings] of Object.entries(rooms)) {
    for (const isTurning of [false, true]) {
      const [median, plain] = await Promise.all([true, false].map(async vectors =>
        timeBlocks(await OrvaneRenderer.create({ layout, vectors, ...settings }), isTurning)));
      const realTime = 1e6 * kQuantum / sampleRate / median;
      const name = `${layout}/${room}/${isTurning ? 'turning' : 'rest'}`;
      console.log(`| \`${name}\` | ${median.toFixed(0)} | ${realTime.toFixed(0)} | ${plain.toFixed(0)} |`);
    }
  }
}

const renderer = await OrvaneRenderer.create({ preset: 'hall' });
const changes = Array.from({ length: 41 }, (_, k) => {
  const begin = microseconds();
  renderer.setParameters({ 'reverb.level': 0.1 + 0.01 * (k % 2) });
  return microseconds() - begin;
}).sort((a, b) => a - b);
console.log(`\nA reverb parameter in the hall: ${changes[20].toFixed(0)} µs, median.`);
