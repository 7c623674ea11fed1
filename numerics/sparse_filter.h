// SPDX-License-Identifier: Apache-2.0
// Convolution with a response that is mostly zeros.
#ifndef ORVANE_NUMERICS_SPARSE_FILTER_H_
#define ORVANE_NUMERICS_SPARSE_FILTER_H_

#include <stdint.h>

// Zeros that have to stand before and after the samples: the kernel reads across their ends.
enum { SPARSE_FILTER_MARGIN = 128 };

// The response is `gain` at sample `at`.
struct sparse_tap_t {
  int32_t at;
  float gain;
};

// `count` taps in ascending order of `at`, which may be negative.
struct sparse_response_t {
  const sparse_tap_t* taps;
  int32_t count;
};

// out[t - first] += sum over the taps, in order, of gain * samples[t - at], for `count` samples t
// from `first` on; samples outside 0 to length - 1 count as zero.
//
// Each step is one single-precision multiply-add: fused where the target has the instruction,
// otherwise a product and a sum. Nothing needs to be aligned. `out` and `samples` do not overlap.
// Allocates nothing.
void sparse_filter_add(sparse_response_t response, const float* samples, int32_t length,
                       int32_t first, int32_t count, float* out);

#endif  // ORVANE_NUMERICS_SPARSE_FILTER_H_
