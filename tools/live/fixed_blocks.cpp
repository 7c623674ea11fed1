// SPDX-License-Identifier: Apache-2.0
#include "tools/live/fixed_blocks.h"

#include <algorithm>
#include <utility>

namespace live {

FixedBlocks::FixedBlocks(size_t channels, Render render)
    : render_(std::move(render)), block_(channels, std::vector<float>(kFrames)) {
  for (const std::vector<float>& channel : block_) block_rows_.push_back(channel.data());
}

void FixedBlocks::reset() {
  filled_ = ready_ = 0;
  delays_ = false;
}

void FixedBlocks::process(const float* const* inputs, float* const* ears, size_t frames) {
  if (!delays_ && frames % kFrames != 0) {
    delays_ = true;
    ready_ = kFrames - 1;
    for (auto& ear : ears_) std::fill_n(ear.begin(), ready_, 0.0f);
  }
  for (size_t done = 0; done < frames;) {
    const size_t piece = std::min(frames - done, kFrames - filled_);
    push(inputs, done, piece);
    pop(ears, done, piece);
    done += piece;
  }
}

void FixedBlocks::push(const float* const* inputs, size_t begin, size_t frames) {
  for (size_t channel = 0; channel < block_.size(); ++channel) {
    float* const to = block_[channel].data() + filled_;
    if (inputs[channel]) {
      std::copy_n(inputs[channel] + begin, frames, to);
    } else {
      std::fill_n(to, frames, 0.0f);
    }
  }
  filled_ += frames;
  if (filled_ < kFrames) return;
  float* const to[] = {ears_[0].data() + ready_, ears_[1].data() + ready_};
  render_(block_rows_.data(), to);
  filled_ = 0;
  ready_ += kFrames;
}

// What waits are the frames of the block that is not full yet, and those of the delay: always
// enough.
void FixedBlocks::pop(float* const* ears, size_t begin, size_t frames) {
  for (size_t side = 0; side < 2; ++side) {
    float* const from = ears_[side].data();
    std::copy_n(from, frames, ears[side] + begin);
    std::copy(from + frames, from + ready_, from);
  }
  ready_ -= frames;
}

}  // namespace live
