// SPDX-License-Identifier: Apache-2.0
#include "tools/render/pose.h"

#include <algorithm>
#include <cmath>

#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

}  // namespace

std::optional<Pose> pose_parse(std::string_view text) {
  const auto angles = text_numbers(text, ',', 3);
  if (!angles) return std::nullopt;
  return Pose{(*angles)[0], (*angles)[1], (*angles)[2]};
}

Rotation pose_rotation(const Pose& pose) {
  const Rotation yaw = rotation_from_vector({0.0, 0.0, pose.yaw_deg * kRadiansPerDegree});
  const Rotation pitch = rotation_from_vector({0.0, pose.pitch_deg * kRadiansPerDegree, 0.0});
  const Rotation roll = rotation_from_vector({pose.roll_deg * kRadiansPerDegree, 0.0, 0.0});
  return rotation_multiply(rotation_multiply(yaw, pitch), roll);
}

Pose pose_from_rotation(const Rotation& head) {
  const auto& [w, x, y, z] = head;
  const double sine_of_pitch = std::clamp(2.0 * (w * y - z * x), -1.0, 1.0);
  return {std::atan2(2.0 * (w * z + x * y), 1.0 - 2.0 * (y * y + z * z)) / kRadiansPerDegree,
          std::asin(sine_of_pitch) / kRadiansPerDegree,
          std::atan2(2.0 * (w * x + y * z), 1.0 - 2.0 * (x * x + y * y)) / kRadiansPerDegree};
}

std::array<float, 6> pose_head_to_stage(const Rotation& head) {
  const std::array<double, 3> vector = rotation_to_vector(head);
  return {0.0f,
          0.0f,
          0.0f,
          static_cast<float>(vector[1]),
          static_cast<float>(-vector[0]),
          static_cast<float>(-vector[2])};
}

Rotation pose_from_head_to_stage(const std::array<double, 3>& vector) {
  return rotation_from_vector({-vector[1], vector[0], -vector[2]});
}

}  // namespace render
