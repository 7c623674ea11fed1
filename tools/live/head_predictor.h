// SPDX-License-Identifier: Apache-2.0
// Where the head will be a moment after its tracker's last pose.
#ifndef ORVANE_TOOLS_LIVE_HEAD_PREDICTOR_H_
#define ORVANE_TOOLS_LIVE_HEAD_PREDICTOR_H_

#include <array>
#include <optional>

#include "tools/render/rotation.h"

namespace live {

// Goes on evenly: the turn between the last two poses, as a rotation vector per second, smoothed
// over some poses because it is the difference of noisy numbers.
class HeadPredictor {
 public:
  // `ahead_s` is how far to look ahead; 0 leaves every pose as it is.
  explicit HeadPredictor(double ahead_s) : ahead_s_(ahead_s) {}

  // The head `ahead_s` after a pose that came at `now_s`. Poses that come after a pause, or too
  // close behind each other to tell their speed, are taken as they are.
  render::Rotation predict(const render::Rotation& head, double now_s);

 private:
  double ahead_s_, last_s_ = 0.0;
  std::optional<render::Rotation> last_;
  std::array<double, 3> speed_ = {};  // radians per second, about the head's axes
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_PREDICTOR_H_
