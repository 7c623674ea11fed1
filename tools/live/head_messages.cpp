// SPDX-License-Identifier: Apache-2.0
#include "tools/live/head_messages.h"

#include <algorithm>
#include <cmath>

namespace live {
namespace {

using render::Pose;
using render::Rotation;

constexpr std::string_view kScenePrefix = "/SceneRotator";
constexpr std::string_view kQuaternions[] = {"/quaternion", "/quaternions", "/orientation"};

struct AngleMessage {
  std::string_view path;
  std::span<double Pose::*const> angles;
};

constexpr double Pose::*kAngles[] = {&Pose::yaw_deg, &Pose::pitch_deg, &Pose::roll_deg};
constexpr AngleMessage kAngleMessages[] = {
    {"/ypr", {kAngles, 3}}, {"/adm/lis/ypr", {kAngles, 3}}, {"/orientation", {kAngles, 3}},
    {"/yaw", {kAngles, 1}}, {"/pitch", {kAngles + 1, 1}},   {"/roll", {kAngles + 2, 1}},
};

}  // namespace

std::optional<Rotation> HeadMessages::read(std::string_view path, std::span<const double> values) {
  if (!std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); })) {
    return std::nullopt;
  }
  const bool to_scene = path.starts_with(kScenePrefix);
  if (to_scene) path.remove_prefix(kScenePrefix.size());
  const bool inverse = to_scene && scene_ == SceneMessages::kTurnScene;
  if (values.size() == 4) {
    const bool is_turn = std::ranges::find(kQuaternions, path) != std::end(kQuaternions);
    return is_turn ? turn(values.data(), inverse) : std::nullopt;
  }
  for (const AngleMessage& message : kAngleMessages) {
    if (path != message.path || values.size() != message.angles.size()) continue;
    // The scene turns about its fixed axes in the order yaw, pitch, roll. The inverse of that are
    // the negative angles about the head's own axes in the same order, which is how a pose turns.
    for (size_t i = 0; i < values.size(); ++i) {
      angles_.*message.angles[i] = inverse ? -values[i] : values[i];
    }
    return pose_rotation(axes_.pose(angles_));
  }
  return std::nullopt;
}

std::optional<Rotation> HeadMessages::turn(const double* values, bool inverse) {
  const double length = std::hypot(std::hypot(values[0], values[1]),  //
                                   std::hypot(values[2], values[3]));
  if (length == 0.0 || !std::isfinite(length)) return std::nullopt;
  const double sign = inverse ? -1.0 : 1.0;
  const Rotation head = axes_.turn({values[0] / length, sign * values[1] / length,
                                    sign * values[2] / length, sign * values[3] / length});
  angles_ = axes_.tracker_pose(pose_from_rotation(head));
  return head;
}

}  // namespace live
