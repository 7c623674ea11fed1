// SPDX-License-Identifier: Apache-2.0
// The movement of a head over time, from a CSV file.
#ifndef ORVANE_TOOLS_RENDER_TRAJECTORY_H_
#define ORVANE_TOOLS_RENDER_TRAJECTORY_H_

#include <string>
#include <string_view>
#include <vector>

#include "tools/render/rotation.h"

namespace render {

class Trajectory {
 public:
  // The first line says what the columns are; every other line is a pose, times in seconds and
  // growing. Throws Failure with the line.
  //
  //   time,yaw,pitch,roll   degrees, as Pose
  //   time,qw,qx,qy,qz      the same turn of the head as a unit quaternion in the room frame
  //   time,rx,ry,rz         radians, as the effect takes it (see pose_head_to_stage)
  explicit Trajectory(const std::string& path);

  // The head's turn at a time: between two rows about one axis at constant speed, the shorter way
  // round; before the first and after the last row as they say.
  Rotation at(double seconds) const;

  // What is turned otherwise than its angles say; empty: nothing.
  const std::string& notice() const { return notice_; }

 private:
  struct Row {
    double time_s;
    Rotation head;
  };
  struct Format;

  void add_row(const Format& format, std::string_view text);
  void note_full_turn(double time_s, const std::vector<double>& row);

  std::vector<Row> rows_;
  std::vector<double> last_row_;
  std::string notice_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_TRAJECTORY_H_
