// SPDX-License-Identifier: Apache-2.0
// Directions, spherical harmonics and small least-squares problems, in double precision.
#ifndef ORVANE_TOOLS_EARS_SPHERE_H_
#define ORVANE_TOOLS_EARS_SPHERE_H_

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "tools/ears/frequency_grid.h"

namespace ears {

// Radians: to the left, and upwards.
struct Direction {
  double azimuth = 0.0, elevation = 0.0;
};

using Vector = std::array<double, 3>;  // +x ahead, +y left, +z up

Vector unit_vector(const Direction& direction);
double dot(const Vector& a, const Vector& b);

// Real harmonics in ACN order with SN3D normalisation, no Condon-Shortley phase; (order + 1)^2 of
// them, order at most 5 (Nachbar et al., "AmbiX - a suggested ambisonics format", 2011).
void harmonics(const Direction& direction, size_t order, double* values);

// Degree n of a channel.
size_t degree_of(size_t channel);

// `count` directions spread evenly over the sphere (A. Gonzalez, "Measurement of areas on a sphere
// using Fibonacci and latitude-longitude lattices", Mathematical Geosciences 42, 2010).
std::vector<Direction> spread_directions(size_t count);

// Share of the sphere that is closest to each direction; adds up to 1.
std::vector<double> area_weights(std::span<const Direction> directions);

// Largest cosine between `vector` and any of `others`.
double nearest_cosine(const Vector& vector, std::span<const Vector> others);

// How far from a direction, in radians, the sphere counts as measured.
double reach_of(std::span<const Direction> directions);

// A symmetric positive definite matrix of size x size, row after row, of which the lower half is
// read; factored on construction.
class Cholesky {
 public:
  Cholesky(size_t size, std::vector<double> matrix);

  // Replaces the right-hand side, `size` values, with the solution.
  void solve(Complex* values) const;

 private:
  size_t size_;
  std::vector<double> lower_;
};

// Least squares in harmonics: coefficients = solve of (B'WB + penalty) with B'W values.
class HarmonicFit {
 public:
  // penalty  added to the diagonal, one per channel
  HarmonicFit(std::span<const Direction> directions, std::span<const double> weights, size_t order,
              std::span<const double> penalty);

  size_t channels() const { return channels_; }

  // `values` are one per direction, `stride` apart; writes channels() coefficients.
  void solve(const Complex* values, size_t stride, Complex* coefficients) const;

 private:
  size_t channels_, directions_;
  std::vector<double> weighted_;  // rows of directions
  Cholesky factor_;
};

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_SPHERE_H_
