// SPDX-License-Identifier: Apache-2.0
// What OSC messages say about the head.
#ifndef ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_
#define ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_

#include <optional>
#include <span>
#include <string_view>

#include "tools/live/tracker_axes.h"
#include "tools/render/pose.h"
#include "tools/render/rotation.h"

namespace live {

// How messages to /SceneRotator are meant. The SceneRotator of the IEM Plug-in Suite turns the
// scene by what it receives, and the other way round where its user has told it to invert.
enum class SceneMessages {
  kTurnScene,  // the inverse of the head's turn
  kTurnHead,   // the head's turn, as trackers send it for a plug-in that inverts
};

class HeadMessages {
 public:
  // `axes` say what the angles of all messages mean.
  HeadMessages(const render::Pose& start, SceneMessages scene, const TrackerAxes& axes = {})
      : angles_(axes.tracker_pose(start)), scene_(scene), axes_(axes) {}

  // The turn of the head in the room after a message; nothing for one that is not listed here, or
  // whose values are not finite or of another number.
  //
  //   /ypr  /adm/lis/ypr          yaw, pitch, roll in degrees, as render::Pose
  //   /yaw  /pitch  /roll         one of them; the others keep what the last message said
  //   /quaternion  /quaternions   w, x, y, z in the room frame, of any length but 0
  //   /orientation                three angles or a quaternion, as above
  //   /SceneRotator/<the same>    as `scene` says
  std::optional<render::Rotation> read(std::string_view path, std::span<const double> values);

 private:
  std::optional<render::Rotation> turn(const double* values, bool inverse);

  render::Pose angles_;  // of the tracker
  SceneMessages scene_;
  TrackerAxes axes_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_
