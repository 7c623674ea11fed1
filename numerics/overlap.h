// SPDX-License-Identifier: Apache-2.0
// Channels that are written while others are read, where both may be the same memory.
#ifndef ORVANE_NUMERICS_OVERLAP_H_
#define ORVANE_NUMERICS_OVERLAP_H_

#include <stdint.h>

#include "numerics/mix_channels.h"

// Whether any of the first `frames` samples of `out` is also one of `in`. Takes a few instructions
// per row where none is.
bool channels_overlap(channels_t<const float> in, channels_t<float> out, uint32_t frames);

#endif  // ORVANE_NUMERICS_OVERLAP_H_
