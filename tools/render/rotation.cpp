// SPDX-License-Identifier: Apache-2.0
#include "tools/render/rotation.h"

#include <cmath>

namespace render {

Rotation rotation_multiply(const Rotation& a, const Rotation& b) {
  return {
      a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
      a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

Rotation rotation_from_vector(const std::array<double, 3>& vector) {
  const double angle = std::hypot(vector[0], vector[1], vector[2]);
  if (angle == 0.0) return {};
  const double scale = std::sin(0.5 * angle) / angle;
  return {std::cos(0.5 * angle), scale * vector[0], scale * vector[1], scale * vector[2]};
}

std::array<double, 3> rotation_to_vector(const Rotation& rotation) {
  const double sign = rotation.w < 0.0 ? -1.0 : 1.0;  // both signs are the same rotation
  const double sine = std::hypot(rotation.x, rotation.y, rotation.z);
  if (sine == 0.0) return {0.0, 0.0, 0.0};
  const double scale = sign * 2.0 * std::atan2(sine, sign * rotation.w) / sine;
  return {scale * rotation.x, scale * rotation.y, scale * rotation.z};
}

Rotation rotation_slerp(const Rotation& a, const Rotation& b, double fraction) {
  const Rotation inverse = {a.w, -a.x, -a.y, -a.z};
  std::array<double, 3> way = rotation_to_vector(rotation_multiply(inverse, b));
  for (double& component : way) component *= fraction;
  return rotation_multiply(a, rotation_from_vector(way));
}

}  // namespace render
