// SPDX-License-Identifier: Apache-2.0
// Peak levels from analysers, falling slowly enough to be seen.

const kFallPerFrame = 0.93;
const samples = new Float32Array(2048);

/** Reads analysers once a picture; `peaks` remembers and falls. */
export function readPeaks(analysers, peaks) {
  return analysers.map((analyser, i) => {
    analyser.getFloatTimeDomainData(samples);
    let peak = 0;
    for (const sample of samples) peak = Math.max(peak, Math.abs(sample));
    return Math.max(peak, kFallPerFrame * (peaks[i] ?? 0));
  });
}

export const decibels = peak => 20 * Math.log10(peak);
