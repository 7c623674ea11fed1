// For the library's own use: the transforms of a binauralizer.
#ifndef ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_
#define ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_

#include <stddef.h>
#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"
#include "numerics/lane_transform.h"

constexpr uint32_t kResponseOverlap = SH_HRIR_TAPS - 1;  // samples that a block sounds on for

// Transform lengths, for blocks of up to 257, 513 and 1025 samples. Channels are transformed eight
// at a time, S and A transformed back by PFFFT, which takes as many floats from the stack on its
// way.
constexpr uint32_t kTransformSizes[BINAURALIZER_MAX_TRANSFORMS] = {512, 768, 1280};

struct binauralizer_transform_t {
  PFFFT_Setup* setup;
  const lane_transform_t* lanes;
  uint32_t size;
  uint32_t shorter;  // sum of the sizes of the shorter ones, whose responses come first
};

inline uint32_t longest_transform(const binauralizer_t& b) {
  return kTransformSizes[checked_index(b.num_transforms - 1, BINAURALIZER_MAX_TRANSFORMS)];
}

// The shortest transform for a block of `frames`; the longest if none holds it.
inline binauralizer_transform_t choose_transform(const binauralizer_t& b, uint32_t frames) {
  const uint32_t last = checked_index(b.num_transforms - 1, BINAURALIZER_MAX_TRANSFORMS);
  uint32_t k = 0, shorter = 0;
  for (; k < last && kTransformSizes[k] < frames + kResponseOverlap; ++k) {
    shorter += kTransformSizes[k];
  }
  return {b.fft_setups[k], &b.lane_transforms[k], kTransformSizes[k], shorter};
}

// The channels of S, or of A, which are the `mirrored` ones; the place of a channel is its lane.
struct lane_channels_t {
  uint32_t count;
  uint32_t channels[AMBISONICS_MAX_CHANNELS];
};

inline lane_channels_t find_channels(const binauralizer_t& b, bool mirrored) {
  lane_channels_t found = {};
  for (uint32_t c = 0; c < b.num_sh_channels; ++c) {
    if ((b.sh_degree_m[c] < 0) == mirrored) found.channels[found.count++] = c;
  }
  return found;
}

// Spectra of the responses of S, or of A, which has so many channels, batch after batch.
inline float* find_responses(const binauralizer_t& b, const binauralizer_transform_t& transform,
                             bool mirrored, uint32_t num_channels) {
  const size_t shorter = batch_size(transform.shorter) * count_batches(num_channels);
  return align_batches(b.hrtf_spectra[mirrored]) + shorter;
}

#endif  // ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_
