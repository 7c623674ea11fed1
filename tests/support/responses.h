// SPDX-License-Identifier: Apache-2.0
// Tables of responses for tests: those of heads whose ears differ.
#ifndef ORVANE_TESTS_SUPPORT_RESPONSES_H_
#define ORVANE_TESTS_SUPPORT_RESPONSES_H_

#include <math.h>

#include <vector>

#include "ambisonics/sh_hrir.h"
#include "tests/support/signals.h"

using ResponseTable = std::vector<float>;  // SH_HRIR_TAPS rows of SH_HRIR_CHANNELS

// ACN channels of negative order m: a symmetric head hears them negated at its right ear.
inline bool is_antisymmetric(size_t channel) {
  const auto n = static_cast<size_t>(sqrt(static_cast<double>(channel)));
  return channel < n * n + n;
}

inline ResponseTable built_in_responses() {
  return {binauralizer_sh_hrir, binauralizer_sh_hrir + SH_HRIR_TAPS * SH_HRIR_CHANNELS};
}

// What the right ear of a symmetric head hears.
inline ResponseTable mirrored(ResponseTable table) {
  for (size_t i = 0; i < table.size(); ++i) {
    if (is_antisymmetric(i % SH_HRIR_CHANNELS)) table[i] = -table[i];
  }
  return table;
}

// Noise about as loud as the built-in table, a different one for each seed.
inline ResponseTable noise_responses(uint32_t seed) {
  ResponseTable table = noise(SH_HRIR_TAPS * SH_HRIR_CHANNELS, seed);
  for (float& tap : table) tap *= 0.02f;
  return table;
}

struct Ears {
  ResponseTable left = built_in_responses();
  ResponseTable right = mirrored(left);
};

#endif  // ORVANE_TESTS_SUPPORT_RESPONSES_H_
