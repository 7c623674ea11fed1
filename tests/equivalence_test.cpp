// The sound of the effect is the same however it is cut into blocks, whatever instruction set the
// kernels use, and on every processor.
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/effect_host.h"
#include "tests/support/signals.h"

namespace {

constexpr float kTolerance = 1e-5f;  // of the peak

// Every reflections mode with and without a tail, and one whose pulses are so dense that it takes
// the way of a long transform; these layouts are taken in turn.
constexpr size_t kNumScenes = 11;
constexpr const char* kSceneLayouts[] = {"5.1", "7.1", "5.1.2", "5.1.4", "7.1.4", "22.2"};

class Scene {
 public:
  explicit Scene(size_t index) {
    const orvane_layout_t& layout = layout_named(kSceneLayouts[index % std::size(kSceneLayouts)]);
    channels_ = layout.num_channels;
    EXPECT_EQ(0, host_.configure_and_enable(layout.mask));
    EXPECT_EQ(0, host_.set_float(200, static_cast<float>(index % 5)));
    EXPECT_EQ(0, host_.set_float(100, index < 5 ? 0.0f : 1.0f));
    EXPECT_EQ(0, host_.set_float(105, 10.0f));  // a tail that soon begins
    EXPECT_EQ(0, host_.set_float(102, index + 1 < kNumScenes ? 80.0f : 3.0f));
  }

  // A new pose, reached after the next block.
  void turn(size_t step) {
    const float angle = 0.1f * static_cast<float>(step + 1);
    EXPECT_EQ(0, host_.set_pose(0.3f * angle, -0.2f * angle, angle));
  }

  // Noise in all channels, in blocks of lengths taken in turn.
  std::vector<float> render(size_t frames, uint32_t seed, const std::vector<size_t>& blocks) {
    return host_.render(noise(channels_ * frames, seed), channels_, blocks);
  }

 private:
  size_t channels_;
  EffectHost host_;
};

// Lengths from 1 to 1024, short ones as likely as long ones, each two to four times in a row:
// the second block of a length is rendered in another way than the first.
std::vector<size_t> random_blocks(uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<size_t> blocks = {1, 1, 1024, 1024};
  while (blocks.size() < 50) {
    const double exponent = static_cast<double>(random() % 1000) * 0.01;
    blocks.insert(blocks.end(), 2 + random() % 3, static_cast<size_t>(exp2(exponent)));
  }
  return blocks;
}

TEST(EquivalenceTest, BlocksDoNotShowInTheSound) {
  constexpr size_t kFrames = 5000;
  for (size_t s = 0; s < kNumScenes; ++s) {
    std::vector<float> whole;
    const std::vector<size_t> partitions[] = {
        {1024}, {333}, {17, 17, 480, 3}, random_blocks(static_cast<uint32_t>(s))};
    for (const auto& blocks : partitions) {
      Scene scene(s);
      scene.turn(s);
      scene.render(480, 1, {480});
      const std::vector<float> out = scene.render(kFrames, 2, blocks);
      if (whole.empty()) whole = out;
      EXPECT_LT(max_difference(whole, out), kTolerance * peak(whole)) << s << ", " << blocks[0];
    }
  }
}

// Calls `body` with the kernels kept to each instruction set of this machine in turn.
void for_each_target(const std::function<void(const std::string& target)>& body) {
#if defined(HWY_COMPILE_ONLY_STATIC)
  body(hwy::TargetName(HWY_STATIC_TARGET));
#else
  const int64_t before = hwy::SupportedTargets();
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    body(hwy::TargetName(target));
  }
  hwy::SetSupportedTargetsForTest(before);
#endif
}

// A head that turns, then is at rest.
std::vector<float> render_turning(size_t index) {
  Scene scene(index);
  std::vector<float> out;
  for (size_t part = 0; part < 5; ++part) {
    if (part < 3) scene.turn(part);
    const auto rendered = scene.render(960, static_cast<uint32_t>(part), {479, 479, 1, 1});
    out.insert(out.end(), rendered.begin(), rendered.end());
  }
  return out;
}

constexpr size_t kNumSamples = 48, kSpacing = 199;  // odd: both ears, all lanes of a vector

// Samples of what render_turning gives; a row for each scene.
constexpr float kReference[kNumScenes][kNumSamples] = {
#include "tests/equivalence_table.inc"
};

std::vector<float> pick_samples(const std::vector<float>& sound) {
  std::vector<float> samples;
  for (size_t i = 1; i <= kNumSamples; ++i) samples.push_back(sound.at(i * kSpacing));
  return samples;
}

void write_reference(const char* path) {
  FILE* file = fopen(path, "w");
  ASSERT_NE(nullptr, file);
  fputs("// SPDX-License-Identifier: Apache-2.0\n", file);
  fputs("// Made by ORVANE_TEST_TARGET=lowest ORVANE_WRITE_REFERENCE=tests/equivalence_table.inc\n",
        file);
  fputs(
      "// build/release/tests/orvane_tests "
      "--gtest_filter=EquivalenceTest.ProcessorsDoNotShowInTheSound\n",
      file);
  for (size_t s = 0; s < kNumScenes; ++s) {
    fputs("{", file);
    const char* separator = "";
    for (const float sample : pick_samples(render_turning(s))) {
      fprintf(file, "%s%.6ff", separator, static_cast<double>(sample));
      separator = ", ";
    }
    fputs("},\n", file);
  }
  EXPECT_EQ(0, fclose(file));
}

TEST(EquivalenceTest, ProcessorsDoNotShowInTheSound) {
  if (const char* path = getenv("ORVANE_WRITE_REFERENCE")) return write_reference(path);
  for (size_t s = 0; s < kNumScenes; ++s) {
    const std::vector<float> expected(std::begin(kReference[s]), std::end(kReference[s]));
    std::vector<float> first;
    for_each_target([&](const std::string& target) {
      const std::vector<float> sound = render_turning(s);
      if (first.empty()) first = sound;
      const float tolerance = kTolerance * peak(first);
      EXPECT_LT(max_difference(expected, pick_samples(sound)), tolerance) << target << ", " << s;
      EXPECT_LT(max_difference(first, sound), tolerance) << target << ", " << s;
    });
  }
}

}  // namespace
