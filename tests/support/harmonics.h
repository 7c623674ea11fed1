// SPDX-License-Identifier: Apache-2.0
// Spherical harmonics in double precision, the reference that the library's SH weights are held
// against.
#ifndef ORVANE_TESTS_SUPPORT_HARMONICS_H_
#define ORVANE_TESTS_SUPPORT_HARMONICS_H_

#include <cmath>
#include <cstdlib>

namespace test_support {

// Degree n, order m with SN3D normalisation and without Condon-Shortley phase; angles in radians.
// From the standard library's Legendre functions.
inline double harmonic(int n, int m, double azimuth, double elevation) {
  const unsigned k = static_cast<unsigned>(std::abs(m));
  const double norm = std::sqrt((m ? 2.0 : 1.0) * std::tgamma(n - std::abs(m) + 1) /
                                std::tgamma(n + std::abs(m) + 1));
  return norm * std::assoc_legendre(static_cast<unsigned>(n), k, std::sin(elevation)) *
         (m < 0 ? std::sin(k * azimuth) : std::cos(k * azimuth));
}

}  // namespace test_support

#endif  // ORVANE_TESTS_SUPPORT_HARMONICS_H_
