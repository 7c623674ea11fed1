#include "tools/validate/geometry.h"

#include <cmath>
#include <stdexcept>
#include <utility>

#include "tools/measure/harmonics.h"
#include "tools/validate/random.h"

namespace validate {

using render::Rotation;

Vector unit_vector(const Direction& direction) {
  return {std::cos(direction.elevation) * std::cos(direction.azimuth),
          std::cos(direction.elevation) * std::sin(direction.azimuth),
          std::sin(direction.elevation)};
}

Direction direction_of(const Vector& v) {
  return {std::atan2(v[1], v[0]), std::atan2(v[2], std::hypot(v[0], v[1]))};
}

Rotation inverse(const Rotation& rotation) {
  return {rotation.w, -rotation.x, -rotation.y, -rotation.z};
}

Vector turn(const Rotation& rotation, const Vector& v) {
  const Rotation turned = render::rotation_multiply(
      render::rotation_multiply(rotation, {0.0, v[0], v[1], v[2]}), inverse(rotation));
  return {turned.x, turned.y, turned.z};
}

Direction heard_from(const Rotation& head, const Direction& direction) {
  return direction_of(turn(inverse(head), unit_vector(direction)));
}

Rotation head_hearing_ahead_at(const Direction& direction) {
  const Rotation azimuth = render::rotation_from_vector({0.0, 0.0, direction.azimuth});
  const Rotation elevation = render::rotation_from_vector({0.0, -direction.elevation, 0.0});
  return inverse(render::rotation_multiply(azimuth, elevation));
}

Rotation random_head(std::mt19937* generator) {
  const auto pair = [&] {  // two normal deviates (Box and Muller)
    const double radius = std::sqrt(-2.0 * std::log(random_unit(generator)));
    const double angle = 2.0 * kPi * random_unit(generator);
    return std::pair(radius * std::cos(angle), radius * std::sin(angle));
  };
  const auto [w, x] = pair();
  const auto [y, z] = pair();
  const double length = std::sqrt(w * w + x * x + y * y + z * z);
  return {w / length, x / length, y / length, z / length};
}

std::vector<Direction> spread_directions(size_t count) {
  const double golden_turn = kPi * (3.0 - std::sqrt(5.0));
  std::vector<Direction> directions;
  for (size_t i = 0; i < count; ++i) {
    const double position = static_cast<double>(i);
    directions.push_back({std::remainder(golden_turn * position, 2.0 * kPi),
                          std::asin((2.0 * position + 1.0) / static_cast<double>(count) - 1.0)});
  }
  return directions;
}

std::vector<double> harmonics(int order, const Direction& direction) {
  std::vector<double> values;
  for (int n = 0; n <= order; ++n) {
    for (int m = -n; m <= n; ++m) {
      values.push_back(measure::harmonic(n, m, direction.azimuth, direction.elevation));
    }
  }
  return values;
}

std::vector<double> solve(std::vector<std::vector<double>> a, std::vector<double> b) {
  const size_t size = b.size();
  for (size_t k = 0; k < size; ++k) {
    size_t pivot = k;
    for (size_t i = k + 1; i < size; ++i) {
      if (std::fabs(a[i][k]) > std::fabs(a[pivot][k])) pivot = i;
    }
    if (std::fabs(a[pivot][k]) < 1e-12) throw std::logic_error("a matrix has no inverse");
    std::swap(a[k], a[pivot]);
    std::swap(b[k], b[pivot]);
    for (size_t i = 0; i < size; ++i) {
      if (i == k) continue;
      const double factor = a[i][k] / a[k][k];
      for (size_t j = k; j < size; ++j) a[i][j] -= factor * a[k][j];
      b[i] -= factor * b[k];
    }
  }
  for (size_t k = 0; k < size; ++k) b[k] /= a[k][k];
  return b;
}

}  // namespace validate
