// SPDX-License-Identifier: Apache-2.0
// How a pose travels to the audio thread of orvane-live. Races show under the thread sanitizer.
#include "tools/live/pose_slot.h"

#include <gtest/gtest.h>

#include <thread>

namespace live {
namespace {

using render::Rotation;

TEST(PoseSlotThreadsTest, HandsOverTheNewestPoseAndNeverHalfOfOne) {
  constexpr int kPoses = 200000;
  PoseSlot slot;
  EXPECT_EQ(nullptr, slot.take());
  std::thread writer([&] {
    for (int i = 1; i <= kPoses; ++i) {
      const double value = i;
      slot.write({value, value, value, value});
    }
  });
  double last = 0.0;
  while (last < kPoses) {
    const Rotation* pose = slot.take();
    if (!pose) continue;
    ASSERT_LT(last, pose->w);
    last = pose->w;
    for (const double value : {pose->x, pose->y, pose->z}) ASSERT_EQ(last, value);
  }
  writer.join();
  EXPECT_EQ(nullptr, slot.take());
}

}  // namespace
}  // namespace live
