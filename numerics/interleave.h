// SPDX-License-Identifier: Apache-2.0
// Between frames, which hold one sample of every channel side by side, and one row per channel.
#ifndef ORVANE_NUMERICS_INTERLEAVE_H_
#define ORVANE_NUMERICS_INTERLEAVE_H_

#include <stddef.h>

// channels[c][f] = samples[f * num_channels + c] for f below `frames`. The rows do not overlap the
// samples. Nothing needs to be aligned or padded. Allocates nothing.
void deinterleave(const float* samples, size_t num_channels, size_t frames, float* const* channels);

// stereo[2 * f] = left[f] and stereo[2 * f + 1] = right[f] for f below `frames`; with `accumulate`
// they are added to what stands there. Otherwise as deinterleave.
void interleave_stereo(const float* left, const float* right, size_t frames, bool accumulate,
                       float* stereo);

#endif  // ORVANE_NUMERICS_INTERLEAVE_H_
