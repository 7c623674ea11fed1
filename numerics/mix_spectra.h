// SPDX-License-Identifier: Apache-2.0
// The complex product behind convolution with several responses at once.
#ifndef ORVANE_NUMERICS_MIX_SPECTRA_H_
#define ORVANE_NUMERICS_MIX_SPECTRA_H_

#include <stdint.h>

#include "numerics/lane_transform.h"

// What channels are multiplied with, and where the sum of the products goes.
struct spectrum_sum_t {
  const float* responses;  // spectra, one batch after the other
  float* sum;  // transform.size + 2 floats: real parts of bins 0 to size / 2, then imaginary parts
};

// Writes twice the sum, over all lanes of `count` packed batches, of channel times response.
//
//   packed    the channels, one batch after the other
//   num_sums  1 or 2: both are made of the same channels
//
// Lanes that hold no channel need a response of zero. Allocates nothing.
void mix_spectra(const lane_transform_t& transform, const float* packed, uint32_t count,
                 const spectrum_sum_t* sums, uint32_t num_sums);

// Turns a packed batch into a batch of spectra, times `scale`, in place. Allocates nothing.
void unpack_spectra(const lane_transform_t& transform, float* batch, float scale);

// Multiplies every lane of a packed batch with its own response, `responses` being a batch of
// spectra. `product` is a packed batch four times as large as the product of these signals; with
// responses scaled by 0.5 / transform.size, lane_transform_inverse turns it into the convolution of
// channel and response, which wraps around at the transform's size. It may be `packed` itself.
// Allocates nothing.
void multiply_spectra(const lane_transform_t& transform, const float* packed,
                      const float* responses, float* product);

#endif  // ORVANE_NUMERICS_MIX_SPECTRA_H_
