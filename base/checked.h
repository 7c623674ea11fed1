// SPDX-License-Identifier: Apache-2.0
// Size and index arithmetic that stops the process instead of wrapping. For programmer errors only:
// values that come from a caller are validated before they reach these.
#ifndef ORVANE_BASE_CHECKED_H_
#define ORVANE_BASE_CHECKED_H_

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

template <typename T>
constexpr T checked_add(T a, T b) {
  T sum{};
  if (__builtin_add_overflow(a, b, &sum)) abort();
  return sum;
}

template <typename T>
constexpr T checked_sub(T a, T b) {
  T difference{};
  if (__builtin_sub_overflow(a, b, &difference)) abort();
  return difference;
}

template <typename T>
constexpr T checked_mul(T a, T b) {
  T product{};
  if (__builtin_mul_overflow(a, b, &product)) abort();
  return product;
}

// `index`, if it is below `size`.
constexpr uint32_t checked_index(uint32_t index, uint32_t size) {
  if (index >= size) abort();
  return index;
}

// Whether a record of 64-bit processes, where callers keep storage for it, has the size or offset
// that they count on. Elsewhere pointers are narrower and records are as the compiler makes them.
constexpr bool is_laid_out(size_t actual, size_t expected) {
  return sizeof(void*) != 8 || actual == expected;
}

// `n` rounded up to a multiple of four: rows and columns of the matrices that the kernels read.
constexpr uint32_t round_up_to_4(uint32_t n) { return checked_add(n, 3u) & ~3u; }

#endif  // ORVANE_BASE_CHECKED_H_
