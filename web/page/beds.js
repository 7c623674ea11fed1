// SPDX-License-Identifier: Apache-2.0
// Beds to play: an AudioBuffer with the channels of a layout, in the order of its loudspeakers.
import { layouts, sampleRate, unlabelled } from './orvane/index.js';

export const findLayout = name => layouts.find(layout => layout.name === name);

/** A silent bed; `channel` finds the samples of a loudspeaker by its label. */
export function emptyBed(layoutName, seconds) {
  const layout = findLayout(layoutName);
  const buffer = new AudioBuffer({
    numberOfChannels: layout.loudspeakers.length, length: Math.round(seconds * sampleRate), sampleRate });
  const channel = label => buffer.getChannelData(layout.loudspeakers.findIndex(row => row.label === label));
  return { layout, buffer, channel };
}

/** How many channels a file can have: those of a layout, or of what is played without labels. Ascending. */
export const fileChannels = [...new Set([
  ...Object.keys(unlabelled).map(Number), ...layouts.map(({ loudspeakers }) => loudspeakers.length),
])].sort((a, b) => a - b);

/** The layouts that a file of so many channels can be, the usual one first. */
export function layoutsFor(channels) {
  const usual = unlabelled[channels]?.layout;
  const fitting = layouts.filter(({ name, loudspeakers }) => name === usual || loudspeakers.length === channels);
  return fitting.sort((a, b) => Number(b.name === usual) - Number(a.name === usual));
}

/** What each channel of such a file plays. Mono and stereo have one order only. */
function fileLabels(channels, layoutName, order) {
  const layout = findLayout(layoutName);
  return layout.loudspeakers.length === channels ? layout.orders[order] : unlabelled[channels].labels;
}

/** A decoded file as a bed. */
export function bedOfFile(decoded, layoutName, order) {
  const labels = fileLabels(decoded.numberOfChannels, layoutName, order);
  const bed = emptyBed(layoutName, decoded.length / sampleRate);
  labels.forEach((label, channel) => bed.channel(label).set(decoded.getChannelData(channel)));
  return bed;
}
