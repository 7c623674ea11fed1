// SPDX-License-Identifier: Apache-2.0
// Roots of unity for the tables of transforms, made in double precision.
#ifndef ORVANE_NUMERICS_ROOTS_H_
#define ORVANE_NUMERICS_ROOTS_H_

#include <math.h>
#include <stddef.h>

// exp(2 pi i part / whole)
inline void write_root(ptrdiff_t part, size_t whole, float* cosine, float* sine) {
  constexpr double kTwoPi = 6.28318530717958647693;
  const double angle = kTwoPi * static_cast<double>(part) / static_cast<double>(whole);
  *cosine = static_cast<float>(cos(angle));
  *sine = static_cast<float>(sin(angle));
}

#endif  // ORVANE_NUMERICS_ROOTS_H_
