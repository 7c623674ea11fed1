// SPDX-License-Identifier: Apache-2.0
#include "lv2/spatializer.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lv2_plugin {
namespace {

std::array<float, 3> vector_of(const render::Rotation& head) {
  const std::array<double, 3> vector = rotation_to_vector(head);
  return {static_cast<float>(vector[0]), static_cast<float>(vector[1]),
          static_cast<float>(vector[2])};
}

bool is_number(const render::Pose& pose) {
  return std::isfinite(pose.yaw_deg) && std::isfinite(pose.pitch_deg) &&
         std::isfinite(pose.roll_deg);
}

bool is_same(const render::Pose& a, const render::Pose& b) {
  return a.yaw_deg == b.yaw_deg && a.pitch_deg == b.pitch_deg && a.roll_deg == b.roll_deg;
}

}  // namespace

std::array<float, 3> head_vector_of(const render::Pose& head) {
  return is_number(head) ? vector_of(pose_rotation(head)) : std::array<float, 3>{};
}

void Spatializer::start(std::unique_ptr<Room> room, const render::Pose& head) {
  room_ = std::move(room);
  next_.reset();
  left_.reset();
  head_ = is_number(head) ? head : render::Pose{};
  glide_ = {};
  glide_.aim(pose_rotation(head_));
  glide_.advance(ORVANE_SAMPLE_RATE);  // longer than any movement takes
  head_vector_ = head_vector_of(head_);
}

void Spatializer::enter(std::unique_ptr<Room> room) {
  next_ = std::move(room);
  next_->turn_head(head_vector_);
  faded_frames_ = 0;
}

void Spatializer::aim(const render::Pose& head) {
  if (!is_number(head) || is_same(head, head_)) return;
  head_ = head;
  glide_.aim(pose_rotation(head));
}

void Spatializer::process(const float* const* inputs, float* const* ears, uint32_t frames,
                          const render::Pose& head) {
  aim(head);
  for (uint32_t done = 0; done < frames;) {
    const uint32_t block = std::min<uint32_t>(frames - done, ORVANE_MAX_FRAME_SIZE);
    process_block(inputs, ears, done, block);
    done += block;
  }
}

// Inputs are copied because the ears may lie in their memory, and because one sample that is no
// number would be heard as long as the room sounds.
void Spatializer::process_block(const float* const* inputs, float* const* ears, uint32_t begin,
                                uint32_t frames) {
  const float* copies[max_channels()];
  for (uint32_t channel = 0; channel < channels_; ++channel) {
    copies[channel] = inputs_[channel];
    const float* from = inputs[channel] ? inputs[channel] + begin : nullptr;
    for (uint32_t i = 0; i < frames; ++i) {
      inputs_[channel][i] = from && std::isfinite(from[i]) ? from[i] : 0.0f;
    }
  }
  if (const auto head = glide_.advance(frames)) {
    head_vector_ = vector_of(*head);
    room_->turn_head(head_vector_);
    if (next_) next_->turn_head(head_vector_);
  }
  float* const rendered[] = {ears_[0], ears_[1]};
  room_->process(copies, rendered, frames);
  if (next_) {
    float* const next_rendered[] = {next_ears_[0], next_ears_[1]};
    next_->process(copies, next_rendered, frames);
    fade(rendered, faded_frames_, frames);
  }
  for (uint32_t side = 0; side < 2; ++side) {
    if (ears[side]) std::copy_n(ears_[side], frames, ears[side] + begin);
  }
}

void Spatializer::fade(float* const* ears, uint32_t begin, uint32_t frames) {
  for (uint32_t i = 0; i < frames; ++i) {
    const float share =
        std::min(1.0f, static_cast<float>(begin + i + 1) / static_cast<float>(kFadeFrames));
    for (uint32_t side = 0; side < 2; ++side) {
      ears[side][i] += share * (next_ears_[side][i] - ears[side][i]);
    }
  }
  faded_frames_ = begin + frames;
  if (faded_frames_ < kFadeFrames) return;
  left_ = std::move(room_);  // empty: the room left before was taken before this one was entered
  room_ = std::move(next_);
}

}  // namespace lv2_plugin
