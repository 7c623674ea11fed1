// SPDX-License-Identifier: Apache-2.0
#include "tools/live/engine.h"

#include <algorithm>
#include <cmath>

#include "tools/render/pose.h"

namespace live {

Engine::Engine(render::EffectHost* effect, const render::ChannelPlan& plan, BedPlayer* player,
               PoseSlot* poses, float gain)
    : effect_(effect),
      plan_(plan),
      player_(player),
      poses_(poses),
      gain_(gain),
      bed_(render::kEffectMaxFrames * plan.file_channels.size()),
      stereo_(render::kEffectMaxFrames * 2) {}

size_t block_frames_of(size_t period_frames) {
  size_t blocks = (period_frames + render::kEffectMaxFrames - 1) / render::kEffectMaxFrames;
  while (period_frames % blocks != 0) ++blocks;
  return period_frames / blocks;
}

void Engine::set_period(size_t frames) noexcept {
  try {
    block_frames_ = block_frames_of(frames);
    std::fill(bed_.begin(), bed_.end(), 0.0f);
    turn_head(render::kEffectRateHz);  // longer than any movement takes
    effect_->process(bed_.data(), stereo_.data(), block_frames_);
  } catch (...) {
    fail();
  }
}

void Engine::process(const float* const* inputs, float* const* ears, size_t frames) noexcept {
  const bool runs =
      started_.load(std::memory_order_acquire) && !failed_.load(std::memory_order_relaxed);
  size_t done = 0;
  try {
    while (runs && done < frames) {
      const size_t block = std::min(block_frames_, frames - done);
      render_block(inputs, ears, done, block);
      done += block;
    }
  } catch (...) {
    fail();
  }
  for (size_t ear = 0; ear < 2; ++ear) std::fill(ears[ear] + done, ears[ear] + frames, 0.0f);
}

void Engine::render_block(const float* const* inputs, float* const* ears, size_t begin,
                          size_t frames) {
  if (player_) {
    player_->read(bed_.data(), frames);
  } else {
    read_inputs(inputs, begin, frames);
  }
  turn_head(frames);
  effect_->process(bed_.data(), stereo_.data(), frames);
  for (size_t i = 0; i < frames; ++i) {
    ears[0][begin + i] = gain_ * stereo_[2 * i];
    ears[1][begin + i] = gain_ * stereo_[2 * i + 1];
  }
}

// One bad sample of another program would be heard as long as the room sounds, so it is dropped.
void Engine::read_inputs(const float* const* inputs, size_t begin, size_t frames) {
  const size_t channels = plan_.file_channels.size();
  for (size_t channel = 0; channel < channels; ++channel) {
    const size_t port = plan_.file_channels[channel];
    for (size_t i = 0; i < frames; ++i) {
      const float input = port == render::kNoChannel ? 0.0f : inputs[port][begin + i];
      const float sample = std::isfinite(input) ? input : 0.0f;
      bed_[i * channels + channel] = plan_.gains[channel] * sample;
    }
  }
}

void Engine::turn_head(size_t frames) {
  if (const render::Rotation* pose = poses_->take()) head_.aim(*pose);
  if (const auto head = head_.advance(frames))
    effect_->set_head_to_stage(pose_head_to_stage(*head));
}

void Engine::fail() {
  failure_ = std::current_exception();
  failed_.store(true, std::memory_order_release);
}

void Engine::check() const {
  if (failed_.load(std::memory_order_acquire)) std::rethrow_exception(failure_);
}

}  // namespace live
