// SPDX-License-Identifier: Apache-2.0
// The tables of a transform, made in double precision.
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/roots.h"

namespace {

constexpr uint32_t kMaxSize = 65536;  // the permutation is kept in 16 bits

// The number of bins is first_radix * 4 * ... * 4 * odd_radix. Returns whether that can be.
bool choose_radices(lane_transform_t* t) {
  if (t->size > kMaxSize || t->size % 2 != 0) return false;
  const uint32_t bins = t->size / 2;
  t->odd_radix = bins % 5 == 0 ? 5 : bins % 3 == 0 ? 3 : 1;
  uint32_t power = bins / t->odd_radix;
  if (power < 16 || (power & (power - 1)) != 0) return false;
  while (power > 8) power /= 4;
  t->first_radix = power;
  return true;
}

// For a pass that joins `radix` transforms of `length` bins.
float* write_pass(float* at, uint32_t radix, uint32_t length) {
  for (uint32_t k = 0; k < length; ++k) {
    for (uint32_t j = 1; j < radix; ++j, at += 2) {
      write_root(-static_cast<ptrdiff_t>(j) * k, size_t{length} * radix, at, at + 1);
    }
  }
  return at;
}

void write_twiddles(lane_transform_t* t) {
  const uint32_t part = t->size / 2 / t->odd_radix;
  float* at = t->twiddles;
  for (uint32_t length = t->first_radix; length < part; length *= 4) at = write_pass(at, 4, length);
  write_pass(at, t->odd_radix, part);
  at = t->spectrum_twiddles;  // -i times the root of the bin
  for (uint32_t k = 0; k <= t->size / 4; ++k, at += 2) {
    write_root(-static_cast<ptrdiff_t>(t->size / 4 + k), t->size, at, at + 1);
  }
}

// Decimation in time: the last pass joins every odd_radix-th sample, the one before every fourth of
// these, and so on.
uint32_t find_place(const lane_transform_t& t, uint32_t sample) {
  uint32_t length = t.size / 2 / t.odd_radix;
  uint32_t place = sample % t.odd_radix * length;
  for (sample /= t.odd_radix; length > t.first_radix; sample /= 4) {
    length /= 4;
    place += sample % 4 * length;
  }
  return place;
}

}  // namespace

uint32_t lane_transform_init(lane_transform_t* t, uint32_t size) {
  *t = {};
  t->size = size;
  if (!choose_radices(t)) return UBR_INVALID;
  const uint32_t butterflies = size / 2 / t->first_radix;
  t->twiddles = alloc_zeroed<float>(size);
  t->spectrum_twiddles = alloc_zeroed<float>(size / 2 + 2);
  t->permutation = alloc_zeroed<uint16_t>(butterflies);
  if (!t->twiddles || !t->spectrum_twiddles || !t->permutation) return UBR_NO_MEMORY;
  write_twiddles(t);
  for (uint32_t n = 0; n < butterflies; ++n)
    t->permutation[n] = static_cast<uint16_t>(find_place(*t, n));
  return UBR_OK;
}

void lane_transform_cleanup(lane_transform_t* t) {
  release(t->twiddles, t->spectrum_twiddles, t->permutation);
  *t = {};
}
