// SPDX-License-Identifier: Apache-2.0
// The sizes and the rate that the whole library is built for.
#ifndef ORVANE_BASE_LIMITS_H_
#define ORVANE_BASE_LIMITS_H_

enum {
  ORVANE_MAX_ORDER = 4,  // ambisonic order
  ORVANE_MAX_CHANNELS = (ORVANE_MAX_ORDER + 1) * (ORVANE_MAX_ORDER + 1),
  ORVANE_NUM_EARS = 2,
  ORVANE_MAX_FRAME_SIZE = 1024,  // samples of the longest block
  ORVANE_SAMPLE_RATE = 48000,    // Hz: of the impulse responses, delays and times in seconds
};

#endif  // ORVANE_BASE_LIMITS_H_
