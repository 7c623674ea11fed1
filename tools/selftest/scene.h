// SPDX-License-Identifier: Apache-2.0
// What is rendered, and the few numbers that stand for what came out.
#ifndef ORVANE_TOOLS_SELFTEST_SCENE_H_
#define ORVANE_TOOLS_SELFTEST_SCENE_H_

#include "renderer/loudspeaker_layouts.h"
#include "tools/effect_client.h"

namespace selftest {

enum Scene {
  kDry,   // no room, the head straight ahead
  kRoom,  // reflections and tail, the head turned
  kNumScenes,
};

constexpr const char* kSceneNames[kNumScenes] = {"dry", "in a room"};

constexpr uint32_t kBlockFrames = 480;  // 10 ms
constexpr uint32_t kNumBlocks = 40;
constexpr uint32_t kNumSums = 8;

struct Outcome {
  // Per ear: the level (root of the mean square), and three correlations of the ear with noise that
  // is known, in the same unit. An ear that is off anywhere moves at least one of them.
  double sums[kNumSums];
  double median_us;  // of a block
  double worst_us;
};

// Returns null, or in a word what did not succeed.
const char* render(const audio_effect_library_t& library, const orvane_layout_t& layout,
                   Scene scene, Outcome* outcome);

}  // namespace selftest

#endif  // ORVANE_TOOLS_SELFTEST_SCENE_H_
