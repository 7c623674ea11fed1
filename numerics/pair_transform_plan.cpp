// SPDX-License-Identifier: Apache-2.0
// The tables of a transform of two spectra.
#include "base/memory.h"
#include "base/result.h"
#include "numerics/pair_transform.h"
#include "numerics/roots.h"

namespace {

constexpr size_t kGroup = 4;  // roots whose cosines stand together, and then their sines

// i times the root of every bin below size / 2.
void write_spectrum_twiddles(const pair_transform_t& t) {
  float* at = t.spectrum_twiddles;
  for (size_t k = 0; k < t.size / 2; k += kGroup, at += 2 * kGroup) {
    for (size_t i = 0; i < kGroup; ++i) {
      const size_t part = t.size / 4 + k + i;
      write_root(static_cast<ptrdiff_t>(part), t.size, at + i, at + kGroup + i);
    }
  }
}

// Of bins m to m + 3 for quarter 1, 2 and 3 in turn.
void write_join_twiddles(const pair_transform_t& t) {
  float* at = t.join_twiddles;
  for (size_t m = 0; m < t.size / 8; m += kGroup) {
    for (size_t quarter = 1; quarter < 4; ++quarter, at += 2 * kGroup) {
      for (size_t i = 0; i < kGroup; ++i) {
        const size_t part = quarter * (m + i);
        write_root(-static_cast<ptrdiff_t>(part), t.size / 2, at + i, at + kGroup + i);
      }
    }
  }
}

}  // namespace

uint32_t pair_transform_init(pair_transform_t* t, uint32_t size) {
  *t = {};
  t->size = size;
  if (size % 4 != 0) return UBR_INVALID;
  if (const uint32_t code = lane_transform_init(&t->quarters, size / 4)) return code;
  t->spectrum_twiddles = alloc_aligned<float>(size);
  t->join_twiddles = alloc_aligned<float>(size / 32, 3u, 2 * kGroup);
  if (!t->spectrum_twiddles || !t->join_twiddles) return UBR_NO_MEMORY;
  write_spectrum_twiddles(*t);
  write_join_twiddles(*t);
  return UBR_OK;
}

void pair_transform_cleanup(pair_transform_t* t) {
  lane_transform_cleanup(&t->quarters);
  release_aligned(t->spectrum_twiddles, t->join_twiddles);
  *t = {};
}
