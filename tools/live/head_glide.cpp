// SPDX-License-Identifier: Apache-2.0
#include "tools/live/head_glide.h"

#include <algorithm>

#include "tools/render/effect_host.h"

namespace live {
namespace {

constexpr double kFirstInterval = render::kEffectRateHz / 100;  // until a tracker's own is known
constexpr size_t kPause = render::kEffectRateHz / 20;  // after it, a pose begins a new movement
constexpr double kFollow = 0.25;                       // share of what the last interval says

}  // namespace

void HeadGlide::aim(const render::Rotation& head) {
  if (!has_aim_ || since_aim_ > kPause) {
    interval_ = kFirstInterval;
  } else {
    interval_ += kFollow * (static_cast<double>(since_aim_) - interval_);
  }
  from_ = head_;
  aim_ = head;
  since_aim_ = 0;
  has_aim_ = true;
  rests_ = false;
}

std::optional<render::Rotation> HeadGlide::advance(size_t frames) {
  since_aim_ = std::min(since_aim_, kPause) + frames;
  if (rests_) return std::nullopt;
  const double way = static_cast<double>(since_aim_) / interval_;
  rests_ = way >= 1.0;
  head_ = rests_ ? aim_ : rotation_slerp(from_, aim_, way);
  return head_;
}

}  // namespace live
