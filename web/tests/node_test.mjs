// SPDX-License-Identifier: Apache-2.0
// The package in Node, as it is installed: its sound is that of orvane-render, its checks are those of the library.
//
//   node --test node_test.mjs, with the folders in ORVANE_WEB_PACKAGE and ORVANE_WEB_REFERENCES
import assert from 'node:assert/strict';
import { readFileSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { pathToFileURL } from 'node:url';

const packageFolder = process.env.ORVANE_WEB_PACKAGE;
const references = process.env.ORVANE_WEB_REFERENCES;
const everything = await import(pathToFileURL(join(packageFolder, 'index.js')));
const { OrvaneRenderer, hasVectors, parameters, poseFromDevice, presets, responseShape } = everything;

const kLargest = 1e-6;  // of orvane-render, at full scale 1
const kMostBytes = 250e3;
const kSizeDrift = 0.02;  // of what docs/performance.md shows

function readChannels(path, frames) {
  const file = readFileSync(path);
  return Array.from({ length: file.length / 4 / frames }, (_, c) =>
    new Float32Array(file.buffer.slice(file.byteOffset + 4 * c * frames, file.byteOffset + 4 * (c + 1) * frames)));
}

function largestDifference(a, b) {
  let largest = 0;
  a.forEach((samples, side) => samples.forEach((sample, i) => {
    largest = Math.max(largest, Math.abs(sample - b[side][i]));
  }));
  return largest;
}

const noise = () => Float32Array.from({ length: 4800 }, (_, i) => Math.sin(i * i));
const energy = samples => samples.reduce((sum, sample) => sum + sample * sample, 0);

for (const { name, settings, frames } of JSON.parse(readFileSync(join(references, 'cases.json')))) {
  for (const [vectors, block] of [[true, 128], [true, 1024], [false, 128]]) {
    test(`${name} sounds as orvane-render's, ${vectors ? 'with' : 'without'} vectors, in blocks of ${block}`, async () => {
      const renderer = await OrvaneRenderer.create({ ...settings, vectors });
      const bed = readChannels(join(references, `${name}.bed`), frames);
      const expected = readChannels(join(references, `${name}.${block}.ears`), frames);
      const ears = renderer.process(bed, undefined, block);
      assert.ok(Math.max(...expected[0]) > 0.05, 'the reference is not silent');
      const difference = largestDifference(ears, expected);
      assert.ok(difference <= kLargest, `differs by ${difference}`);
    });
  }
}

test('this engine takes the module with vectors', () => assert.ok(hasVectors()));

test('modules are small, and as large as the document shows', () => {
  const shown = readFileSync(new URL('../../docs/performance.md', import.meta.url), 'utf8');
  for (const name of ['orvane.wasm', 'orvane-plain.wasm']) {
    const { size } = statSync(join(packageFolder, name));
    assert.ok(size < kMostBytes, `${name}: ${size}`);
    const documented = Number(shown.match(new RegExp(`\\| \`${name}\` \\| (\\d+) \\|`))?.[1]);
    assert.ok(Math.abs(size / documented - 1) < kSizeDrift, `${name}: ${size}, and ${documented} in docs/performance.md`);
  }
});

/** The names that a file of types exports as values. */
function declaredExports(types) {
  const lists = [...types.matchAll(/^export \{([^}]*)\}/gm)].flatMap(([, names]) => names.split(',').map(name => name.trim()));
  return [...lists, ...[...types.matchAll(/^export (?:class|function|const) (\w+)/gm)].map(([, name]) => name)].sort();
}

test('types and module export the same names, and classes have the methods that are declared', async () => {
  const tables = await import(pathToFileURL(join(packageFolder, 'tables.js')));
  for (const [name, module] of [['index.d.ts', everything], ['tables.d.ts', tables]]) {
    const types = readFileSync(join(packageFolder, name), 'utf8');
    assert.deepEqual(declaredExports(types), Object.keys(module).sort(), name);
    for (const [, what, body] of types.matchAll(/^export class (\w+)[^{]*\{\n(.*?)^\}/gms)) {
      const declared = [...body.matchAll(/^  (static )?(\w+)\(/gm)].filter(([, , method]) => method !== 'addEventListener');
      assert.ok(declared.length > 3, what);
      for (const [, isStatic, method] of declared) {
        assert.equal(typeof (isStatic ? module[what] : module[what].prototype)[method], 'function', `${what}.${method}`);
      }
    }
  }
});

test('every preset is accepted on top of every other', async () => {
  const renderer = await OrvaneRenderer.create({ layout: '5.1' });
  const names = Object.keys(presets);
  for (const first of names) {
    for (const second of names) {
      renderer.setParameters(presets[first]);
      renderer.setParameters(presets[second]);
      assert.ok(renderer.process(Array(6).fill(noise()))[0].every(Number.isFinite), `${second} after ${first}`);
    }
  }
});

test('what the library accepts at the ends of a range is accepted here, and no more', async () => {
  for (const { name, minimum, maximum, kind, limit } of parameters) {
    if (limit !== 'none') continue;  // narrower at the moment; see the next test
    const renderer = await OrvaneRenderer.create({ layout: '5.1', parameters: { 'listener.z': 0.5 } });  // in any room
    renderer.setParameters({ [name]: minimum });
    renderer.setParameters({ [name]: maximum });
    const step = kind === 'number' ? 1e-3 : 1;
    for (const value of [minimum - step, maximum + step, NaN, Infinity]) {
      assert.throws(() => renderer.setParameters({ [name]: value }), RangeError, `${name} = ${value}`);
    }
  }
});

test('a refused setting changes nothing', async () => {
  const [touched, fresh] = await Promise.all([1, 2].map(() => OrvaneRenderer.create({ layout: '5.1' })));
  for (const values of [{ 'reverb.level': 0.9, 'room.length': 99 }, { 'listener.x': 3 }, { 'no.such': 1 }]) {
    assert.throws(() => touched.setParameters(values), RangeError);
  }
  const bed = Array(6).fill(noise());
  assert.equal(largestDifference(touched.process(bed), fresh.process(bed)), 0);
  await assert.rejects(OrvaneRenderer.create({ layout: '6.1' }), RangeError);
  await assert.rejects(OrvaneRenderer.create({ preset: 'toString' }), RangeError);
});

/** An ear that hears all directions alike, so many samples later. */
function plainEar(delay, gain) {
  const table = new Float32Array(responseShape.taps * responseShape.channels);
  table[delay * responseShape.channels] = gain;
  return table;
}

test('own responses take the place of the built-in ones, and give it back', async () => {
  const [renderer, fresh] = await Promise.all([1, 2].map(() => OrvaneRenderer.create({ layout: '5.1', preset: 'dry' })));
  const bed = [noise()];
  renderer.setResponses(plainEar(40, 1), plainEar(10, 0.5));
  const [left, right] = renderer.process(bed);
  for (let i = 40; i < 4800; ++i) {
    assert.ok(Math.abs(left[i] - bed[0][i - 40]) < 5e-6 && Math.abs(right[i] - 0.5 * bed[0][i - 10]) < 5e-6, `sample ${i}`);
  }
  renderer.setResponses(plainEar(5, 1));
  for (const bad of [[new Float32Array(3)], [plainEar(0, NaN)], [undefined, plainEar(0, 1)]]) {
    assert.throws(() => renderer.setResponses(...bad), RangeError);
  }
  assert.equal(renderer.process(bed)[0][4799], renderer.process(bed)[1][4799]);
  renderer.setResponses();
  renderer.reset();
  assert.equal(largestDifference(renderer.process(bed), fresh.process(bed)), 0);
});

test('a head that turns to the left hears a voice from ahead at the right ear', async () => {
  const renderer = await OrvaneRenderer.create({ layout: '5.1', preset: 'dry', pose: { yaw: 90 } });
  const [left, right] = renderer.process([undefined, undefined, noise()]);
  assert.equal(left.length, 4800);
  assert.ok(energy(right) > 2 * energy(left));
  assert.throws(() => renderer.process([undefined]), RangeError);
});

test('a phone held upright faces its back, and turning it to the left is yaw', () => {
  const near = (pose, expected) => {
    for (const [name, angle] of Object.entries(expected)) assert.ok(Math.abs(pose[name] - angle) < 1e-9, `${name}: ${pose[name]}`);
  };
  const ahead = poseFromDevice({ alpha: 0, beta: 90, gamma: 0 });
  near(ahead, { pitch: 0, roll: 0 });
  near(poseFromDevice({ alpha: 30, beta: 90, gamma: 0 }), { yaw: ahead.yaw + 30, pitch: 0, roll: 0 });
  near(poseFromDevice({ alpha: 0, beta: 60, gamma: 0 }), { yaw: ahead.yaw, pitch: 30, roll: 0 });
  // On its left side, the screen turned along.
  near(poseFromDevice({ alpha: 90, beta: 0, gamma: -90 }, 90), { pitch: 0, roll: 0 });
});
