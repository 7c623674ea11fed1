// SPDX-License-Identifier: Apache-2.0
// The newest head pose on its way from the thread that receives it to the audio callback.
#ifndef ORVANE_TOOLS_LIVE_POSE_SLOT_H_
#define ORVANE_TOOLS_LIVE_POSE_SLOT_H_

#include <atomic>

#include "tools/render/rotation.h"

namespace live {

// For one writing and one reading thread, neither of which ever waits. Of three buffers each thread
// owns one; what is exchanged is the third, so that a pose is never seen half written.
class PoseSlot {
 public:
  // Replaces a pose that has not been taken yet.
  void write(const render::Rotation& pose) {
    buffers_[back_] = pose;
    back_ = middle_.exchange(back_ | kFresh, std::memory_order_acq_rel) & kIndex;
  }

  // The newest pose, valid until the next call; null if none was written since the last call.
  const render::Rotation* take() {
    if (!(middle_.load(std::memory_order_relaxed) & kFresh)) return nullptr;
    front_ = middle_.exchange(front_, std::memory_order_acq_rel) & kIndex;
    return &buffers_[front_];
  }

 private:
  static constexpr unsigned kIndex = 3, kFresh = 4;

  render::Rotation buffers_[3];
  unsigned back_ = 0;                 // the writer's
  std::atomic<unsigned> middle_ = 1;  // with kFresh while the reader has not seen it
  unsigned front_ = 2;                // the reader's
  static_assert(std::atomic<unsigned>::is_always_lock_free);
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_POSE_SLOT_H_
