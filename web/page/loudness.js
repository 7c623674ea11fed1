// SPDX-License-Identifier: Apache-2.0
// Loudness after Rec. ITU-R BS.1770, without its gates: both sides of a comparison have the same pauses.

// The two filters at 48 kHz, from tables 1 and 2 of the recommendation: b0, b1, b2, a1, a2.
const kFilters = [
  [1.53512485958697, -2.69169618940638, 1.19839281085285, -1.69065929318241, 0.73248077421585],
  [1, -2, 1, -1.99004745483398, 0.99007225036621],
];

function filteredPower(samples) {
  const states = kFilters.map(() => [0, 0]);
  let power = 0;
  for (let value of samples) {
    for (let f = 0; f < kFilters.length; ++f) {
      const [b0, b1, b2, a1, a2] = kFilters[f];
      const state = states[f];
      const out = b0 * value + state[0];
      state[0] = b1 * value - a1 * out + state[1];
      state[1] = b2 * value - a2 * out;
      value = out;
    }
    power += value * value;
  }
  return power / samples.length;
}

/** Of a stereo AudioBuffer at 48 kHz: loudness in LKFS (-Infinity for silence) and the largest sample. */
export function measure(buffer) {
  let power = 0, peak = 0;
  for (let side = 0; side < 2; ++side) {
    const samples = buffer.getChannelData(side);
    power += filteredPower(samples);
    for (const sample of samples) peak = Math.max(peak, Math.abs(sample));
  }
  return { loudness: -0.691 + 10 * Math.log10(power), peak };
}
