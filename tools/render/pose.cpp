#include "tools/render/pose.h"

#include <cmath>
#include <cstdio>

namespace render {
namespace {

struct Quaternion {
  double w, x, y, z;
};

Quaternion multiply(const Quaternion& a, const Quaternion& b) {
  return {
      a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
      a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

constexpr double kPi = 3.14159265358979323846;

double half_radians(double degrees) { return degrees * (kPi / 360.0); }

}  // namespace

std::optional<Pose> pose_parse(const std::string& text) {
  Pose pose;
  int used = -1;
  const int count = std::sscanf(text.c_str(), "%lf,%lf,%lf%n", &pose.yaw_deg, &pose.pitch_deg,
                                &pose.roll_deg, &used);
  if (count != 3 || used != static_cast<int>(text.size())) return std::nullopt;
  if (!std::isfinite(pose.yaw_deg + pose.pitch_deg + pose.roll_deg)) return std::nullopt;
  return pose;
}

std::array<double, 3> pose_rotation_vector(const Pose& pose) {
  const double yaw = half_radians(pose.yaw_deg);
  const double pitch = half_radians(pose.pitch_deg);
  const double roll = half_radians(pose.roll_deg);
  Quaternion q = multiply(multiply({std::cos(yaw), 0.0, 0.0, std::sin(yaw)},
                                   {std::cos(pitch), 0.0, std::sin(pitch), 0.0}),
                          {std::cos(roll), std::sin(roll), 0.0, 0.0});
  if (q.w < 0.0) q = {-q.w, -q.x, -q.y, -q.z};  // the shorter way round
  const double sine = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
  if (sine == 0.0) return {0.0, 0.0, 0.0};
  const double scale = 2.0 * std::atan2(sine, q.w) / sine;
  return {scale * q.x, scale * q.y, scale * q.z};
}

std::array<float, 6> pose_head_to_stage(const Pose& pose) {
  const std::array<double, 3> head = pose_rotation_vector(pose);
  return {0.0f,
          0.0f,
          0.0f,
          static_cast<float>(head[1]),
          static_cast<float>(-head[0]),
          static_cast<float>(-head[2])};
}

}  // namespace render
