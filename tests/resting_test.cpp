// When the shortcut of a scene at rest is taken; render_order_test.cpp has what it sounds like.
#include "renderer/resting.h"

#include <gtest/gtest.h>

#include "tests/support/test_renderer.h"

namespace {

TEST(RestingTest, OnlyTheSecondBlockOfAStillSceneIsFolded) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  const ubr_resting_t& resting = *renderer.r.resting;
  const auto folds = [&](uint32_t frames) {
    renderer.render(Planar(3, frames), {frames});
    return resting.is_folded;
  };
  const float turned[3] = {0.0f, 0.0f, 1.0f}, ahead[3] = {};
  EXPECT_FALSE(folds(512));
  EXPECT_TRUE(folds(512));
  EXPECT_TRUE(folds(400));   // the same transform
  EXPECT_FALSE(folds(256));  // another one
  EXPECT_TRUE(folds(256));
  for (const float* pose : {turned, ahead}) {  // there and back
    EXPECT_EQ(UBR_OK, ubr_set_user_orientation(&renderer.r, pose, ROTATOR_ROTATION_VECTOR));
    EXPECT_FALSE(folds(256));
  }
  EXPECT_FALSE(folds(256));
  EXPECT_TRUE(folds(256));
  const float* const increments = renderer.r.rotator->delta_matrix;
  EXPECT_EQ(0.0f, peak({increments, increments + 16})) << "of a rotator that has come to rest";
  renderer.r.encoder->sources[2].beam[1] += 1.0f;  // by whatever way a beam changes
  EXPECT_FALSE(folds(256));
  EXPECT_TRUE(folds(256));
  renderer.reflect(1);
  EXPECT_FALSE(folds(256));
  EXPECT_FALSE(folds(256));
}

TEST(RestingTest, IsNotBuiltWhereTheFieldIsTheShorterWay) {
  EXPECT_EQ(nullptr, TestRenderer(0, 25, UBR_MODE_BINAURAL, 64, 4).r.resting);
  EXPECT_EQ(nullptr, TestRenderer(0, 12, UBR_MODE_AMBISONIC_TRACKED, 64, 4).r.resting);
  EXPECT_EQ(nullptr, TestRenderer(1, 16, UBR_MODE_BINAURAL, 64, 4).r.resting);
}

TEST(RestingTest, ABinauralizerWithoutBuffersIsSilent) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 2, UBR_MODE_BINAURAL, 64, 1);
  renderer.dry();
  const Planar input = planar_noise(2, 256, 1);
  EXPECT_GT(peak(renderer.render(input, {64})[0]), 0.0f);
  binauralizer_cleanup(renderer.r.binauralizer);
  EXPECT_EQ(0.0f, peak(renderer.render(input, {64})[0]));
}

}  // namespace
