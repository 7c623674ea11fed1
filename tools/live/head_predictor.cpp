// SPDX-License-Identifier: Apache-2.0
#include "tools/live/head_predictor.h"

#include <algorithm>
#include <cmath>

namespace live {
namespace {

constexpr double kShortest = 1e-3, kLongest = 0.1;  // seconds between poses of one movement
constexpr double kSmoothingS = 0.02;
constexpr double kFastest = 15.0;  // radians per second; no head turns faster

}  // namespace

render::Rotation HeadPredictor::predict(const render::Rotation& head, double now_s) {
  if (ahead_s_ <= 0.0) return head;
  const double interval = now_s - last_s_;
  if (last_ && interval >= kShortest && interval <= kLongest) {
    const render::Rotation inverse = {last_->w, -last_->x, -last_->y, -last_->z};
    std::array<double, 3> step = rotation_to_vector(rotation_multiply(inverse, head));
    const double length = std::hypot(step[0], step[1], step[2]);
    const double limit = length > kFastest * interval ? kFastest * interval / length : 1.0;
    const double share = 1.0 - std::exp(-interval / kSmoothingS);
    for (size_t i = 0; i < 3; ++i) {
      speed_[i] += share * (step[i] * limit / interval - speed_[i]);
    }
  } else if (!last_ || interval > kLongest) {
    speed_ = {};
  }
  if (!last_ || interval >= kShortest || interval < 0.0) {
    last_ = head;
    last_s_ = now_s;
  }
  std::array<double, 3> way = speed_;
  for (double& component : way) component *= ahead_s_;
  return rotation_multiply(head, render::rotation_from_vector(way));
}

}  // namespace live
