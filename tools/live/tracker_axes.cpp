// SPDX-License-Identifier: Apache-2.0
#include "tools/live/tracker_axes.h"

namespace live {
namespace {

using render::Pose;

constexpr std::string_view kLetters = "ypr";
constexpr double Pose::*kAngles[] = {&Pose::yaw_deg, &Pose::pitch_deg, &Pose::roll_deg};

// docs/head-trackers.md says where each of them comes from.
constexpr TrackerPreset kPresets[] = {
    {"aitrack", "-y,-p,r", true, false},   {"nvsonic", "y,p,r", false, false},
    {"opentrack", "-y,-p,r", true, false}, {"phone", "-y,-p,r", false, false},
    {"supperware", "y,p,r", false, true},  {"webcam", "-y,-p,r", true, false},
};

}  // namespace

std::optional<TrackerAxes> TrackerAxes::parse(std::string_view text) {
  TrackerAxes axes;
  unsigned seen = 0;
  for (size_t i = 0; i < 3; ++i) {
    if (i > 0) {
      if (!text.starts_with(',')) return std::nullopt;
      text.remove_prefix(1);
    }
    axes.sign_[i] = text.starts_with('-') ? -1.0 : 1.0;
    if (text.starts_with('-')) text.remove_prefix(1);
    axes.source_[i] = text.empty() ? kLetters.npos : kLetters.find(text.front());
    if (axes.source_[i] == kLetters.npos) return std::nullopt;
    seen |= 1u << axes.source_[i];
    text.remove_prefix(1);
  }
  if (!text.empty() || seen != 7u) return std::nullopt;
  return axes;
}

Pose TrackerAxes::pose(const Pose& tracker) const {
  Pose head;
  for (size_t i = 0; i < 3; ++i) head.*kAngles[i] = sign_[i] * tracker.*kAngles[source_[i]];
  return head;
}

Pose TrackerAxes::tracker_pose(const Pose& head) const {
  Pose tracker;
  for (size_t i = 0; i < 3; ++i) tracker.*kAngles[source_[i]] = sign_[i] * head.*kAngles[i];
  return tracker;
}

render::Rotation TrackerAxes::turn(const render::Rotation& tracker) const {
  const double vector[] = {tracker.z, tracker.y, tracker.x};  // yaw, pitch, roll
  return {tracker.w, sign_[2] * vector[source_[2]], sign_[1] * vector[source_[1]],
          sign_[0] * vector[source_[0]]};
}

const TrackerPreset* tracker_preset_find(std::string_view name) {
  for (const TrackerPreset& preset : kPresets) {
    if (name == preset.name) return &preset;
  }
  return nullptr;
}

std::string tracker_preset_names() {
  std::string names;
  for (const TrackerPreset& preset : kPresets) {
    if (!names.empty()) names += '|';
    names += preset.name;
  }
  return names;
}

}  // namespace live
