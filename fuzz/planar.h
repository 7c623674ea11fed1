// SPDX-License-Identifier: Apache-2.0
// Blocks of planar channels, every one of exactly as many samples as the call may touch.
#ifndef ORVANE_FUZZ_PLANAR_H_
#define ORVANE_FUZZ_PLANAR_H_

#include "fuzz/input.h"
#include "tests/support/signals.h"

// Returns whether all samples are tame.
inline bool fill_planar(Input* input, Planar* planar) {
  bool tame = true;
  for (size_t c = 0; c < planar->size(); ++c) {
    // The later channels repeat the first ones: many channels need not take many bytes.
    if (c < 4) {
      tame = fill_samples(input, (*planar)[c]) && tame;
    } else {
      std::ranges::copy((*planar)[c % 4], (*planar)[c].begin());
    }
  }
  return tame;
}

inline Planar unwritten_planar(size_t channels, size_t frames) {
  Planar planar(channels, frames);
  for (size_t c = 0; c < channels; ++c) std::ranges::fill(planar[c], kUnwritten);
  return planar;
}

inline bool all_finite(const Planar& planar) {
  for (size_t c = 0; c < planar.size(); ++c) {
    if (!all_finite(std::span<const float>(planar[c]))) return false;
  }
  return true;
}

inline bool same_bits(const Planar& a, const Planar& b) {
  for (size_t c = 0; c < a.size(); ++c) {
    if (!same_bits(a[c], b[c])) return false;
  }
  return true;
}

#endif  // ORVANE_FUZZ_PLANAR_H_
