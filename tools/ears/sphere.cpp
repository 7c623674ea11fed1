// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/sphere.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace ears {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kMinReach = 10.0 * kPi / 180.0;
constexpr size_t kAreaPoints = 20000;
constexpr size_t kMaxOrder = 5;

// Lower half of B'WB.
std::vector<double> gram_matrix(std::span<const Direction> directions,
                                std::span<const double> weights, size_t order,
                                std::span<const double> penalty) {
  const size_t channels = (order + 1) * (order + 1);
  std::vector<double> gram(channels * channels), row(channels);
  for (size_t i = 0; i < directions.size(); ++i) {
    harmonics(directions[i], order, row.data());
    for (size_t a = 0; a < channels; ++a) {
      for (size_t b = 0; b <= a; ++b) gram[a * channels + b] += weights[i] * row[a] * row[b];
    }
  }
  for (size_t c = 0; c < channels; ++c) gram[c * channels + c] += penalty[c];
  return gram;
}

}  // namespace

Vector unit_vector(const Direction& d) {
  const double level = std::cos(d.elevation);
  return {level * std::cos(d.azimuth), level * std::sin(d.azimuth), std::sin(d.elevation)};
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

size_t degree_of(size_t channel) {
  size_t n = 0;
  while ((n + 1) * (n + 1) <= channel) ++n;
  return n;
}

void harmonics(const Direction& direction, size_t order, double* values) {
  const double s = std::sin(direction.elevation), c = std::cos(direction.elevation);
  double legendre[kMaxOrder + 1][kMaxOrder + 1] = {};
  legendre[0][0] = 1.0;
  for (size_t m = 0; m <= order; ++m) {
    const double twice = 2.0 * static_cast<double>(m);
    if (m > 0) legendre[m][m] = legendre[m - 1][m - 1] * (twice - 1.0) * c;
    if (m < order) legendre[m + 1][m] = s * (twice + 1.0) * legendre[m][m];
    for (size_t n = m + 2; n <= order; ++n) {
      const double nn = static_cast<double>(n), mm = static_cast<double>(m);
      legendre[n][m] =
          ((2.0 * nn - 1.0) * s * legendre[n - 1][m] - (nn + mm - 1.0) * legendre[n - 2][m]) /
          (nn - mm);
    }
  }
  for (size_t n = 0; n <= order; ++n) {
    for (size_t m = 0; m <= n; ++m) {
      double norm = m ? 2.0 : 1.0;
      for (size_t k = n - m + 1; k <= n + m; ++k) norm /= static_cast<double>(k);
      const double value = std::sqrt(norm) * legendre[n][m];
      const double angle = static_cast<double>(m) * direction.azimuth;
      values[n * n + n + m] = value * std::cos(angle);
      if (m > 0) values[n * n + n - m] = value * std::sin(angle);
    }
  }
}

std::vector<Direction> spread_directions(size_t count) {
  std::vector<Direction> directions(count);
  const double golden_turn = kPi * (3.0 - std::sqrt(5.0));
  for (size_t i = 0; i < count; ++i) {
    const double height = (2.0 * static_cast<double>(i) + 1.0) / static_cast<double>(count) - 1.0;
    directions[i] = {std::remainder(golden_turn * static_cast<double>(i), 2.0 * kPi),
                     std::asin(height)};
  }
  return directions;
}

std::vector<double> area_weights(std::span<const Direction> directions) {
  std::vector<Vector> vectors;
  for (const Direction& d : directions) vectors.push_back(unit_vector(d));
  std::vector<double> weights(directions.size());
  for (const Direction& point : spread_directions(kAreaPoints)) {
    const Vector v = unit_vector(point);
    size_t nearest = 0;
    double highest = -2.0;
    for (size_t i = 0; i < vectors.size(); ++i) {
      const double cosine = dot(v, vectors[i]);
      if (cosine > highest) highest = cosine, nearest = i;
    }
    weights[nearest] += 1.0 / kAreaPoints;
  }
  return weights;
}

double nearest_cosine(const Vector& vector, std::span<const Vector> others) {
  double highest = -1.0;
  for (const Vector& other : others) highest = std::max(highest, dot(vector, other));
  return highest;
}

double reach_of(std::span<const Direction> directions) {
  std::vector<Vector> vectors;
  for (const Direction& d : directions) vectors.push_back(unit_vector(d));
  std::vector<double> cosines;
  for (size_t i = 0; i < vectors.size(); ++i) {
    std::swap(vectors[i], vectors.back());
    cosines.push_back(nearest_cosine(vectors.back(), {vectors.data(), vectors.size() - 1}));
    std::swap(vectors[i], vectors.back());
  }
  const auto middle = cosines.begin() + static_cast<ptrdiff_t>(cosines.size() / 2);
  std::nth_element(cosines.begin(), middle, cosines.end());
  return std::max(std::acos(std::clamp(*middle, -1.0, 1.0)), kMinReach);
}

Cholesky::Cholesky(size_t size, std::vector<double> matrix)
    : size_(size), lower_(std::move(matrix)) {
  for (size_t j = 0; j < size; ++j) {
    for (size_t i = j; i < size; ++i) {
      double sum = lower_[i * size + j];
      for (size_t k = 0; k < j; ++k) sum -= lower_[i * size + k] * lower_[j * size + k];
      lower_[i * size + j] = i == j ? std::sqrt(sum) : sum / lower_[j * size + j];
    }
  }
}

void Cholesky::solve(Complex* values) const {
  for (size_t i = 0; i < size_; ++i) {
    for (size_t k = 0; k < i; ++k) values[i] -= lower_[i * size_ + k] * values[k];
    values[i] /= lower_[i * size_ + i];
  }
  for (size_t i = size_; i-- > 0;) {
    for (size_t k = i + 1; k < size_; ++k) values[i] -= lower_[k * size_ + i] * values[k];
    values[i] /= lower_[i * size_ + i];
  }
}

HarmonicFit::HarmonicFit(std::span<const Direction> directions, std::span<const double> weights,
                         size_t order, std::span<const double> penalty)
    : channels_((order + 1) * (order + 1)),
      directions_(directions.size()),
      weighted_(channels_ * directions_),
      factor_(channels_, gram_matrix(directions, weights, order, penalty)) {
  std::vector<double> row(channels_);
  for (size_t i = 0; i < directions_; ++i) {
    harmonics(directions[i], order, row.data());
    for (size_t c = 0; c < channels_; ++c) weighted_[c * directions_ + i] = weights[i] * row[c];
  }
}

void HarmonicFit::solve(const Complex* values, size_t stride, Complex* coefficients) const {
  for (size_t c = 0; c < channels_; ++c) {
    Complex sum = 0.0;
    const double* const row = &weighted_[c * directions_];
    for (size_t i = 0; i < directions_; ++i) sum += row[i] * values[i * stride];
    coefficients[c] = sum;
  }
  factor_.solve(coefficients);
}

}  // namespace ears
