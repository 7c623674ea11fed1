// SPDX-License-Identifier: Apache-2.0
// Spectra of eight real channels at once. A vector holds the same sample, or the same part of the
// same bin, of eight channels: no lane meets another, and a transform is plain vector arithmetic
// throughout. The layout does not depend on how wide the vectors of the machine are.
//
// Either direction is within 2e-7 of the largest bin or sample of a transform in double precision,
// at sizes above 40960 within 2.5e-7; the tests hold every size to this, and print its error.
#ifndef ORVANE_NUMERICS_LANE_TRANSFORM_H_
#define ORVANE_NUMERICS_LANE_TRANSFORM_H_

#include <stddef.h>
#include <stdint.h>

constexpr uint32_t kTransformLanes = 8;

// What transforms of one length need. A batch of channels is batch_size() floats,
// best from alloc_aligned, as [size / 2 bins][real, imaginary][kTransformLanes], and comes in two
// kinds:
//   packed    transform of the complex signal even + i * odd sample, of half the length
//   spectrum  transform of the real signal; the imaginary part of bin 0 is the Nyquist frequency
struct lane_transform_t {
  uint32_t size;             // real samples
  uint32_t first_radix;      // 4 or 8; the passes after the first one are of radix 4
  uint32_t odd_radix;        // of the last pass: 3 or 5, or 1 for none
  float* twiddles;           // cosine and -sine in the order in which the forward passes use them
  float* spectrum_twiddles;  // those between a packed batch and a spectrum, bins 0 to size / 4
  uint16_t* permutation;     // first bin of each butterfly of the pass without twiddles
};

// Prepares transforms of `size` samples: a power of two from 32 on, or three or five times one, up
// to 65536. Returns UBR_OK, UBR_INVALID for another size or UBR_NO_MEMORY.
// lane_transform_cleanup frees what a failure leaves.
uint32_t lane_transform_init(lane_transform_t* transform, uint32_t size);

// Frees what the record owns and zeroes it; half-built records are accepted.
void lane_transform_cleanup(lane_transform_t* transform);

// Batches that hold `channels`.
constexpr uint32_t count_batches(uint32_t channels) {
  return (channels + kTransformLanes - 1) / kTransformLanes;
}

constexpr size_t batch_size(uint32_t size) { return size_t{size} * kTransformLanes; }

// Writes the packed batch of `rows`, kTransformLanes channels of `frames` samples that are followed
// by silence; `frames` is at most the transform's size. Rows may be given twice, and need not be
// aligned. Allocates nothing.
void lane_transform_forward(const lane_transform_t& transform, const float* const* rows,
                            uint32_t frames, float* packed);

// The inverse: writes the first `frames` samples, at most the transform's size, of the
// kTransformLanes channels of a packed batch. Neither direction divides by the size, so a channel
// that went forward comes back size / 2 times as large. `packed` is overwritten; rows need not be
// aligned. Allocates nothing.
void lane_transform_inverse(const lane_transform_t& transform, float* packed, float* const* rows,
                            uint32_t frames);

#endif  // ORVANE_NUMERICS_LANE_TRANSFORM_H_
