// For the library's own use: sources straight to two ears, without a field between. While neither
// beams nor rotation move, a source's path through the field is one response in S and one in A, the
// sums that the ears are made of (see binauralizer.h). A block then takes one transform per source
// in the place of one per channel.
#ifndef ORVANE_AMBISONICS_RESPONSE_PAIRS_H_
#define ORVANE_AMBISONICS_RESPONSE_PAIRS_H_

#include <stddef.h>
#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/binauralizer_transforms.h"

constexpr uint32_t kMaxPairs = AMBISONICS_MAX_CHANNELS - 1;  // from there on the field is cheaper
constexpr uint32_t kMaxPairsTransform = kTransformSizes[BINAURALIZER_MAX_TRANSFORMS - 1];

struct response_pairs_t {
  uint32_t num_sources;  // at most kMaxPairs
  uint32_t size;         // length of the transform that the spectra are for
  float* spectra;        // S of all sources, then A, in batches of sources as hrtf_spectra are of
                         // channels; count_pair_floats() of them, not owned
};

// Floats that the spectra of `num_sources` take at most.
constexpr size_t count_pair_floats(uint32_t num_sources) {
  return batch_size(kMaxPairsTransform) * count_batches(num_sources) * 2 + batch_slack();
}

// Length of the transform that renders a block of `frames`; 0 when it takes several, or when the
// record is not built.
uint32_t binauralizer_transform_size(const binauralizer_t& binauralizer, uint32_t frames);

// Writes the spectra of `pairs`, whose size is a binauralizer_transform_size.
//
//   gains  num_sources rows of AMBISONICS_MAX_CHANNELS: weight of a source in each channel of the
//          field that would enter the binauralizer
//
// Allocates nothing.
void binauralizer_fold_responses(const binauralizer_t& binauralizer, const float* gains,
                                 const response_pairs_t& pairs);

// binauralizer_process for the field that the folded gains make of `sources`, num_sources channels
// of `frames` samples: the same samples but for rounding, the same overlap and lengths. `pairs` is
// folded for the transform of `frames`. Allocates nothing.
void binauralizer_process_pairs(binauralizer_t* binauralizer, const response_pairs_t& pairs,
                                const float* const* sources, float* const* ears_out,
                                uint32_t frames);

#endif  // ORVANE_AMBISONICS_RESPONSE_PAIRS_H_
