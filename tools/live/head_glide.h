// SPDX-License-Identifier: Apache-2.0
// The head on its way from pose to pose, as a tracker sends them now and then.
#ifndef ORVANE_TOOLS_LIVE_HEAD_GLIDE_H_
#define ORVANE_TOOLS_LIVE_HEAD_GLIDE_H_

#include <cstddef>
#include <optional>

#include "tools/render/rotation.h"

namespace live {

// A tracker's poses come every 10 ms or so, between blocks of any length. Given to the effect as
// they come, they make the head turn in steps, which is heard as roughness. So each pose is reached
// evenly in the time that passes between two of them, and the effect is given a pose for every
// block.
class HeadGlide {
 public:
  // A new pose, at the beginning of a block.
  void aim(const render::Rotation& head);

  // The head's turn at the end of the block of `frames` that begins now; nothing while it rests.
  std::optional<render::Rotation> advance(size_t frames);

 private:
  render::Rotation from_, head_, aim_;
  double interval_ = 0.0;  // frames between poses, as they have come lately
  size_t since_aim_ = 0;
  bool has_aim_ = false, rests_ = true;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_GLIDE_H_
