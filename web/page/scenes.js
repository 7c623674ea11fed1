// SPDX-License-Identifier: Apache-2.0
// What there is to hear: the demo's voices, and three scenes that are computed here.
import { sampleRate } from './orvane/index.js';
import { emptyBed } from './beds.js';

async function voices(context) {
  const [list, sound] = await Promise.all(['voices.json', 'voices.wav'].map(name => fetch(`scenes/${name}`)));
  const spoken = await list.json();
  const mono = (await context.decodeAudioData(await sound.arrayBuffer())).getChannelData(0);
  const bed = emptyBed(spoken.layout, mono.length / sampleRate);
  for (const { label, start, end } of spoken.voices) bed.channel(label).set(mono.subarray(start, end), start);
  return bed;
}

/** Numbers from -1 to 1 that are the same every time. */
function makeNoise(seed) {
  let state = seed;
  return () => (state = (Math.imul(state, 1664525) + 1013904223) >>> 0) / 2 ** 31 - 1;
}

/** Gains of equal power for a sound from a direction; nearer loudspeakers take more. */
function pan(layout, direction) {
  const length = Math.hypot(...direction);
  const gains = layout.loudspeakers.map(({ isLfe, x, y, z }) => {
    if (isLfe) return 0;
    return Math.max(0, (x * direction[0] + y * direction[1] + z * direction[2]) / length) ** 6;
  });
  const norm = Math.hypot(...gains);
  return gains.map(gain => gain / norm);
}

/** Adds a mono sound whose direction (seconds -> vector) is taken anew every 128 samples, with smooth gains between. */
function addMoving(bed, sound, direction, start = 0) {
  const step = 128;
  const channels = bed.layout.loudspeakers.map(({ label }) => bed.channel(label));
  let from = pan(bed.layout, direction(start / sampleRate));
  for (let begin = 0; begin < sound.length; begin += step) {
    const to = pan(bed.layout, direction((start + begin + step) / sampleRate));
    channels.forEach((channel, c) => {
      if (from[c] === 0 && to[c] === 0) return;
      for (let i = 0; i < step && begin + i < sound.length; ++i) {
        const gain = from[c] + (to[c] - from[c]) * i / step;
        channel[(start + begin + i) % channel.length] += gain * sound[begin + i];
      }
    });
    from = to;
  }
}

/** One cycle of a tone with these amplitudes of its harmonics. */
function cycleOf(amplitudes) {
  return Float32Array.from({ length: 2048 }, (_, i) =>
    amplitudes.reduce((sum, amplitude, k) => sum + amplitude * Math.sin(2 * Math.PI * (k + 1) * i / 2048), 0));
}

function addNote(channel, cycle, hz, start, seconds, level, attack) {
  const first = Math.round(start * sampleRate);
  const frames = Math.round(seconds * sampleRate);
  for (let i = 0; i < frames; ++i) {
    const t = i / sampleRate;
    const envelope = Math.min(1, t / attack) * Math.min(1, (seconds - t) / 0.25) * Math.exp(-t / (2 * seconds));
    const phase = hz * (t + 0.0006 / 5 * Math.sin(2 * Math.PI * 5 * t)) * 2048;
    channel[(first + i) % channel.length] += level * envelope * cycle[Math.floor(phase) & 2047];
  }
}

const hertz = note => 440 * 2 ** ((note - 69) / 12);

/** Four chords, passed around: bows in front, winds at the sides, horns behind, bells above. */
async function orchestra() {
  const bar = 3.2;
  const chords = [[50, 57, 62, 65, 69, 74], [46, 58, 62, 65, 70, 74], [53, 57, 60, 65, 69, 77], [48, 55, 60, 64, 67, 76]];
  const bed = emptyBed('7.1.4', bar * chords.length);
  const bow = cycleOf([1, 0.6, 0.45, 0.3, 0.22, 0.15, 0.1, 0.06]);
  const wind = cycleOf([1, 0.12, 0.35, 0.05, 0.12]);
  const horn = cycleOf([0.7, 1, 0.7, 0.35, 0.15, 0.06]);
  const bell = cycleOf([1, 0, 0.3, 0, 0, 0.2]);
  chords.forEach((chord, c) => {
    const at = c * bar;
    addNote(bed.channel('FC'), bow, hertz(chord[0]), at, bar + 0.4, 0.09, 0.25);
    addNote(bed.channel('FL'), bow, hertz(chord[3]), at, bar + 0.4, 0.06, 0.3);
    addNote(bed.channel('FR'), bow, hertz(chord[4]), at + 0.1, bar + 0.3, 0.06, 0.3);
    addNote(bed.channel('SL'), wind, hertz(chord[5]), at + 0.4, 1.2, 0.09, 0.06);
    addNote(bed.channel('SR'), wind, hertz(chord[4] + 12), at + 1.6, 1.2, 0.09, 0.06);
    addNote(bed.channel('BL'), horn, hertz(chord[1]), at, bar, 0.06, 0.15);
    addNote(bed.channel('BR'), horn, hertz(chord[2]), at + 0.8, bar - 0.6, 0.06, 0.15);
    ['TFL', 'TFR', 'TBR', 'TBL'].forEach((label, i) => {
      addNote(bed.channel(label), bell, hertz(chord[2 + i] + 24), at + 0.8 * i, 0.9, 0.07, 0.004);
    });
  });
  return bed;
}

/** A rotor that flies past overhead and around. */
async function helicopter() {
  const seconds = 14;
  const bed = emptyBed('7.1.4', seconds);
  const noise = makeNoise(7);
  let low = 0, rumble = 0;
  const sound = Float32Array.from({ length: seconds * sampleRate }, (_, i) => {
    const t = i / sampleRate;
    const blade = Math.exp(-9 * ((t * 11) % 1));  // 11 blades a second
    low += 0.25 * (noise() - low);
    rumble += 0.03 * (noise() - rumble);
    const turbine = 0.02 * Math.sin(2 * Math.PI * 620 * t) + 0.012 * Math.sin(2 * Math.PI * 1240.7 * t);
    return 0.5 * low * (0.12 + blade) + 1.1 * rumble * (0.3 + blade) + 0.4 * turbine;
  });
  const turn = 2 * Math.PI / seconds;
  addMoving(bed, sound, t => [2 * Math.cos(turn * t), 2.5 * Math.sin(2 * turn * t), 1.6]);
  const lfe = bed.channel('LFE');
  let deep = 0;
  sound.forEach((sample, i) => { deep += 0.01 * (sample - deep); lfe[i] = 0.8 * deep; });
  return bed;
}

/** Somebody walks around the listener in a room where a clock ticks. */
async function walk() {
  const seconds = 16;
  const bed = emptyBed('7.1.4', seconds);
  const around = t => [1.6 * Math.cos(2 * Math.PI * t / seconds), 1.6 * Math.sin(2 * Math.PI * t / seconds), -0.25];
  const noise = makeNoise(3);
  for (let n = 0; n < 28; ++n) {
    let body = 0;
    const step = Float32Array.from({ length: 0.16 * sampleRate }, (_, i) => {
      const t = i / sampleRate;
      body += 0.12 * (noise() - body);
      const heel = Math.exp(-t / 0.012), sole = 0.5 * Math.exp(-(((t - 0.07) / 0.02) ** 2));
      return 0.9 * body * (heel + sole) + 0.25 * Math.sin(2 * Math.PI * 95 * t) * Math.exp(-t / 0.02);
    });
    addMoving(bed, step, around, Math.round((n * seconds / 28 + 0.02 * noise()) * sampleRate + 0.05 * sampleRate));
  }
  for (let n = 0; n < 2 * seconds; ++n) {
    const hz = n % 2 ? 2300 : 2900;
    const tick = Float32Array.from({ length: 0.02 * sampleRate }, (_, i) =>
      0.12 * Math.sin(2 * Math.PI * hz * i / sampleRate) * Math.exp(-i / sampleRate / 0.003));
    addMoving(bed, tick, () => [1, -0.9, 0.7], n * sampleRate / 2);
  }
  return bed;
}

/** `preset` is the room that a scene starts in; without one it is left as it is. */
export const scenes = [
  { id: 'voices', name: 'Seven voices', load: voices },
  { id: 'orchestra', name: 'Orchestra of tones', load: orchestra, preset: 'hall' },
  { id: 'helicopter', name: 'Helicopter overhead', load: helicopter, preset: 'dry' },
  { id: 'walk', name: 'Walk around a room', load: walk, preset: 'living-room' },
];
