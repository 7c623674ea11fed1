// For the library's own use: the transforms of a binauralizer.
#ifndef ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_
#define ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_

#include <stdint.h>

#include "ambisonics/binauralizer.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"

constexpr uint32_t kResponseOverlap = SH_HRIR_TAPS - 1;  // samples that a block sounds on for
constexpr uint32_t kSpectraGroup = 5;                    // spectra that are summed in one pass

// Transform lengths, for blocks of up to 257, 513 and 1025 samples. PFFFT takes what it needs on
// its way from the stack, as many floats.
constexpr uint32_t kTransformSizes[BINAURALIZER_MAX_TRANSFORMS] = {512, 768, 1280};

struct binauralizer_transform_t {
  PFFFT_Setup* setup;
  uint32_t size;
  uint32_t column;  // of hrtf_spectra, where the responses of this length start
};

inline uint32_t longest_transform(const binauralizer_t& b) {
  return kTransformSizes[checked_index(b.num_transforms - 1, BINAURALIZER_MAX_TRANSFORMS)];
}

// The shortest transform for a block of `frames`; the longest if none holds it.
inline binauralizer_transform_t choose_transform(const binauralizer_t& b, uint32_t frames) {
  const uint32_t last = checked_index(b.num_transforms - 1, BINAURALIZER_MAX_TRANSFORMS);
  uint32_t k = 0, column = 0;
  while (k < last && kTransformSizes[k] < frames + kResponseOverlap) column += kTransformSizes[k++];
  return {b.fft_setups[k], kTransformSizes[k], column};
}

#endif  // ORVANE_AMBISONICS_BINAURALIZER_TRANSFORMS_H_
