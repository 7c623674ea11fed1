// Spherical harmonics in double precision, the reference that the library's beams are held against.
#ifndef ORVANE_TOOLS_MEASURE_HARMONICS_H_
#define ORVANE_TOOLS_MEASURE_HARMONICS_H_

#include <cmath>
#include <cstdlib>

namespace measure {

// Degree n, order m with SN3D normalisation and without Condon-Shortley phase; angles in radians.
// From the standard library's Legendre functions.
inline double harmonic(int n, int m, double azimuth, double elevation) {
  const unsigned k = static_cast<unsigned>(std::abs(m));
  const double norm = std::sqrt((m ? 2.0 : 1.0) * std::tgamma(n - std::abs(m) + 1) /
                                std::tgamma(n + std::abs(m) + 1));
  return norm * std::assoc_legendre(static_cast<unsigned>(n), k, std::sin(elevation)) *
         (m < 0 ? std::sin(k * azimuth) : std::cos(k * azimuth));
}

}  // namespace measure

#endif  // ORVANE_TOOLS_MEASURE_HARMONICS_H_
