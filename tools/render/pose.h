// SPDX-License-Identifier: Apache-2.0
// Head poses: from what people write to the rotation that the effect is given.
#ifndef ORVANE_TOOLS_RENDER_POSE_H_
#define ORVANE_TOOLS_RENDER_POSE_H_

#include <array>
#include <optional>
#include <string_view>

#include "tools/render/rotation.h"

namespace render {

// Orientation of the head in the room (+x ahead, +y left, +z up), as right-handed turns in degrees
// about the head's own axes, yaw first: yaw about +z (positive to the left), pitch about +y
// (positive nose down), roll about +x (positive towards the right shoulder).
struct Pose {
  double yaw_deg = 0.0;
  double pitch_deg = 0.0;
  double roll_deg = 0.0;
};

// Reads "YAW,PITCH,ROLL"; nothing where the text is not three finite numbers.
std::optional<Pose> pose_parse(std::string_view text);

// The turn from a head that looks ahead to the pose, in the room frame.
Rotation pose_rotation(const Pose& pose);

// The inverse, with a pitch of at most 90 degrees. Face up or down, only the difference or the sum
// of yaw and roll is defined: what comes out is one of the poses that mean the same turn.
Pose pose_from_rotation(const Rotation& head);

// Value of the effect's head-to-stage parameter for a head turned by `head`: translation (0, 0, 0),
// then the rotation vector in the platform's head frame (+x right, +y ahead, +z up), which carries
// the stage as the head sees it. That is the inverse of the head's own turn.
std::array<float, 6> pose_head_to_stage(const Rotation& head);

// The inverse: the head's turn from such a rotation vector.
Rotation pose_from_head_to_stage(const std::array<double, 3>& vector);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_POSE_H_
