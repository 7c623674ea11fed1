// What OSC messages say about the head.
#ifndef ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_
#define ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_

#include <optional>
#include <span>
#include <string_view>

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
  HeadMessages(const render::Pose& start, SceneMessages scene) : pose_(start), scene_(scene) {}

  // The turn of the head in the room after a message; nothing for one that is not listed here, or
  // whose values are not finite or of another number.
  //
  //   /ypr                        yaw, pitch, roll in degrees, as render::Pose
  //   /yaw  /pitch  /roll         one of them; the others keep what the last message said
  //   /quaternions                w, x, y, z in the room frame, of any length but 0
  //   /SceneRotator/<the same>    as `scene` says
  std::optional<render::Rotation> read(std::string_view path, std::span<const double> values);

 private:
  std::optional<render::Rotation> turn(const double* values, bool inverse);

  render::Pose pose_;
  SceneMessages scene_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_MESSAGES_H_
