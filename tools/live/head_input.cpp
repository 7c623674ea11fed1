// SPDX-License-Identifier: Apache-2.0
#include "tools/live/head_input.h"

namespace live {
namespace {

constexpr double kPauseS = 0.15;  // without a pose: the head is where the last one says

}  // namespace

HeadInput::HeadInput(const render::Rotation& start, double predict_s, PoseSlot* poses)
    : poses_(poses), predictor_(predict_s) {
  state_.head = start;
  poses_->write(start);
}

void HeadInput::take(const render::Rotation& head, double now_s) {
  const std::lock_guard lock(mutex_);
  raw_ = head;
  if (recentres_next_) centre_ = raw_;
  recentres_next_ = false;
  ++state_.poses;
  state_.last_s = now_s;
  write(now_s);
}

void HeadInput::recentre() {
  const std::lock_guard lock(mutex_);
  if (state_.poses == 0) {
    recentres_next_ = true;
    return;
  }
  centre_ = raw_;
  write(state_.last_s);
}

void HeadInput::settle(double now_s) {
  const std::lock_guard lock(mutex_);
  if (!is_ahead_ || now_s - state_.last_s < kPauseS) return;
  is_ahead_ = false;
  poses_->write(state_.head);
}

HeadInput::State HeadInput::state() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

// The turn from the centre to the head, about the centre's own axes.
void HeadInput::write(double now_s) {
  const render::Rotation inverse = {centre_.w, -centre_.x, -centre_.y, -centre_.z};
  state_.head = rotation_multiply(inverse, raw_);
  poses_->write(predictor_.predict(state_.head, now_s));
  is_ahead_ = true;
}

}  // namespace live
