// SPDX-License-Identifier: Apache-2.0
// The matrix product of encoding, rotation and reflections, on rows of samples wherever they lie.
#ifndef ORVANE_NUMERICS_MIX_CHANNELS_H_
#define ORVANE_NUMERICS_MIX_CHANNELS_H_

#include <stddef.h>
#include <stdint.h>

// Weight of input i in output o: data[i * in_stride + o * out_stride]. One of the strides is
// usually 1, so a matrix can be used as it is stored or transposed.
struct mix_weights_t {
  const float* data;
  size_t in_stride;
  size_t out_stride;
};

// `count` channels of samples.
template <typename T>
struct channels_t {
  T* const* rows;
  uint32_t count;
};

// What the dispatch runs on this machine.
struct mix_target_t {
  const char* name;  // instruction set
  bool fused;        // whether its multiply-add rounds once
};

// out[o][t] = sum over i ascending of weight(i, o) * in[i][t], for t below `frames`; with
// `accumulate` that sum is added to out[o][t].
//
// Each step is one single-precision multiply-add, starting from 0: fused where the target has the
// instruction, otherwise a product and a sum. Nothing at or beyond `frames` is read or written, and
// nothing needs to be aligned or padded. `in` and `out` do not overlap. Allocates nothing.
void mix_channels(mix_weights_t weights, channels_t<const float> in, channels_t<float> out,
                  uint32_t frames, bool accumulate);

// The same with weights that move in steps of four samples:
// out[o][t] = sum over i of (weight(i, o) + slope(i, o) * s) * in[i][t], s = t rounded down to a
// multiple of four; taken as weight * in[i][t] + slope * (s * in[i][t]). `slopes` has the strides
// of `weights`.
void mix_channels_fading(mix_weights_t weights, const float* slopes, channels_t<const float> in,
                         channels_t<float> out, uint32_t frames);

// The target that the kernels use.
mix_target_t mix_channels_target();

#endif  // ORVANE_NUMERICS_MIX_CHANNELS_H_
