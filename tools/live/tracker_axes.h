// SPDX-License-Identifier: Apache-2.0
// What a tracker's yaw, pitch and roll mean.
#ifndef ORVANE_TOOLS_LIVE_TRACKER_AXES_H_
#define ORVANE_TOOLS_LIVE_TRACKER_AXES_H_

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "tools/render/pose.h"
#include "tools/render/rotation.h"

namespace live {

// The head's yaw (to the left), pitch (nose down) and roll (to the right), each as one of the
// tracker's angles, with a sign.
class TrackerAxes {
 public:
  TrackerAxes() = default;  // the tracker's own are the head's

  // Reads "YAW,PITCH,ROLL", each y, p or r with or without a minus, each letter once: "-y,-p,r" is
  // a tracker whose yaw grows to the right and whose pitch grows upwards. Nothing for another text.
  static std::optional<TrackerAxes> parse(std::string_view text);

  // The head's pose from the tracker's angles.
  render::Pose pose(const render::Pose& tracker) const;

  // The head's turn from the tracker's, whose axes x, y and z are those of roll, pitch and yaw.
  render::Rotation turn(const render::Rotation& tracker) const;

  // The angles of which `pose` makes this one.
  render::Pose tracker_pose(const render::Pose& head) const;

 private:
  std::array<size_t, 3> source_ = {0, 1, 2};  // of yaw, pitch, roll
  std::array<double, 3> sign_ = {1.0, 1.0, 1.0};
};

// How a kind of tracker is taken.
struct TrackerPreset {
  const char* name;
  const char* axes;  // as TrackerAxes::parse reads them
  bool opentrack;    // it sends datagrams of opentrack, not OSC
  bool turns_head;   // its /SceneRotator messages carry the turn of the head
};

// Null where `name` is none.
const TrackerPreset* tracker_preset_find(std::string_view name);

// "aitrack|nvsonic|..."
std::string tracker_preset_names();

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_TRACKER_AXES_H_
