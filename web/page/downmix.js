// SPDX-License-Identifier: Apache-2.0
// The plain stereo downmix to compare with: what a player does that knows nothing of directions. Rec. ITU-R BS.775 gives
// the surround channels at -3 dB and leaves out the LFE; heights and the rest of 22.2 are at -3 dB by this page's choice.

const kBehind = Math.SQRT1_2;  // of all but the front

/** Gains of a loudspeaker in the left and the right channel; an LFE is left out. */
export function downmixGains({ isLfe, x, y, z }) {
  if (isLfe) return [0, 0];
  const side = Math.max(-1, Math.min(1, 2 * y));  // 1 from 30 degrees to the left on
  const level = x > 0.5 && z < 0.1 ? 1 : kBehind;
  return [level * Math.sqrt(0.5 * (1 + side)), level * Math.sqrt(0.5 * (1 - side))];
}

/** Connects the channels of `splitter` to a node with two channels. */
export function connectDownmix(context, splitter, layout) {
  const merger = new ChannelMergerNode(context, { numberOfInputs: 2 });
  layout.loudspeakers.forEach((loudspeaker, channel) => {
    downmixGains(loudspeaker).forEach((gain, side) => {
      if (gain === 0) return;
      splitter.connect(new GainNode(context, { gain }), channel).connect(merger, 0, side);
    });
  });
  return merger;
}
