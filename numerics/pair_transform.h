// SPDX-License-Identifier: Apache-2.0
// Two spectra back to samples in one transform: four lanes hold quarters of the one, four those of
// the other. Made for two ears, which are the sum and the difference of a symmetric and an
// antisymmetric signal.
#ifndef ORVANE_NUMERICS_PAIR_TRANSFORM_H_
#define ORVANE_NUMERICS_PAIR_TRANSFORM_H_

#include <stddef.h>
#include <stdint.h>

#include "numerics/lane_transform.h"

struct pair_transform_t {
  uint32_t size;              // real samples
  lane_transform_t quarters;  // its bins hold every fourth of those of a packed spectrum
  float* spectrum_twiddles;   // size floats as [size / 8][cosine, sine][4]: they pack a spectrum
  float* join_twiddles;       // [size / 32][3][cosine, -sine][4]: those that join the quarters
};

// Floats of a spectrum: the real parts of bins 0 to size / 2, then their imaginary parts.
constexpr uint32_t pair_spectrum_size(uint32_t size) { return size + 2; }

// Floats of a transform's work area.
constexpr size_t pair_work_size(uint32_t size) { return batch_size(size / 4); }

// Prepares transforms of `size` samples: four times a size that lane_transform_init takes.
// Returns UBR_OK, UBR_INVALID or UBR_NO_MEMORY. pair_transform_cleanup frees what a failure leaves.
uint32_t pair_transform_init(pair_transform_t* transform, uint32_t size);

// Frees what the record owns and zeroes it; half-built records are accepted.
void pair_transform_cleanup(pair_transform_t* transform);

// Writes the sum and the difference of two signals, of which the spectra are given.
//
//   symmetric, antisymmetric  pair_spectrum_size() floats each
//   work                      pair_work_size() floats, overwritten
//   sum, difference           transform.size samples each, as large as the inverse transform is
//                             without a division by size; they may be the spectra's own floats
//
// Where one of the two is zero, sum and difference differ in sign at most. The error is that of
// lane_transform_inverse. Allocates nothing.
void pair_transform_inverse(const pair_transform_t& transform, const float* symmetric,
                            const float* antisymmetric, float* work, float* sum, float* difference);

#endif  // ORVANE_NUMERICS_PAIR_TRANSFORM_H_
