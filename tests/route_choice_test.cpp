// SPDX-License-Identifier: Apache-2.0
// Which route the pipeline takes, and what makes it take another.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/responses.h"
#include "tests/support/test_renderer.h"

namespace {

// Which route the pipeline takes is seen by what it leaves: only the plain one writes field A.
class ChoiceTest : public ::testing::Test {
 protected:
  ChoiceTest() : renderer_(UBR_INPUT_SOURCES, 2, UBR_MODE_BINAURAL_TRACKED, 512, 1) {
    renderer_.dry();
  }
  void turn(float yaw) {
    const float pose[3] = {0.0f, 0.0f, yaw};
    EXPECT_EQ(UBR_OK, ubr_set_user_orientation(&renderer_.r, pose, ROTATOR_ROTATION_VECTOR));
  }
  bool is_plain(uint32_t frames) {
    float& mark = renderer_.r.hoa_buffer_a[0][0];
    mark = 1.0f;
    renderer_.render(Planar(2, frames), {frames});
    return mark == 0.0f;
  }

  TestRenderer renderer_;
};

TEST_F(ChoiceTest, TheSecondBlockOfAStaticSceneTakesTheShortcut) {
  EXPECT_TRUE(is_plain(512));
  EXPECT_FALSE(is_plain(512));
  EXPECT_FALSE(is_plain(400));  // the same transform
  EXPECT_TRUE(is_plain(256));   // another one
  EXPECT_FALSE(is_plain(256));
  turn(1.0f);
  EXPECT_TRUE(is_plain(64)) << "too short to turn the weights";
  EXPECT_TRUE(is_plain(64));
  EXPECT_FALSE(is_plain(64));
  const float* const increments = renderer_.r.rotator->delta_matrix;
  EXPECT_EQ(0.0f, peak({increments, increments + 16})) << "of a static rotator";
  turn(0.0f);
  EXPECT_FALSE(is_plain(512)) << "turning";
  renderer_.r.encoder->sources[1].beam[1] += 1.0f;  // in whatever way a weight changes
  EXPECT_TRUE(is_plain(256));
  EXPECT_FALSE(is_plain(256));
  renderer_.reflect(1);
  EXPECT_TRUE(is_plain(256));
  EXPECT_TRUE(is_plain(256));
}

// The rotation changes without a block of sources, which is then rendered from a fresh renderer,
// too, whose first block is plain.
TEST(AtRestTest, SeesARotationThatChangedOutsideThePipeline) {
  const float pose[3] = {0.2f, 0.0f, 1.0f};
  const Planar silence(3, 256), input = planar_noise(3, 256, 1);
  Planar field(4, 256), ears(2, 256);
  for (const int way : {0, 1, 2}) {
    TestRenderer test(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 1);
    TestRenderer fresh(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 1);
    for (TestRenderer* renderer : {&test, &fresh}) {
      renderer->dry();
      for (uint32_t s = 0; s < 3; ++s) renderer->place(s, 1, 1.0f, static_cast<float>(s), 0.5f);
    }
    for (int block = 0; block < 3; ++block) test.render(silence, {256});
    rotator_t& rotator = *test.r.rotator;
    EXPECT_EQ(UBR_OK, rotator_set_orientation(&rotator, pose, ROTATOR_ROTATION_VECTOR));
    if (way == 0) ubr_process_hoa(&test.r, Planar(4, 256).data(), ears.data());
    if (way == 1) rotator_process(&rotator, Planar(4, 256).data(), field.data(), 256);
    if (way == 2) std::copy_n(rotator.current_matrix, 16, rotator.previous_matrix);
    std::copy_n(rotator.current_matrix, 16, fresh.r.rotator->previous_matrix);
    std::copy_n(rotator.current_matrix, 16, fresh.r.rotator->current_matrix);
    SCOPED_TRACE(way);
    expect_same_signal(fresh.render(input, {256}), test.render(input, {256}), 2e-6f);
  }
}

// Modules may be built anew between blocks, also with other ears or other numbers of sources.
TEST(AtRestTest, SeesModulesThatAreBuiltAnew) {
  const Planar silence(3, 256), input = planar_noise(3, 256, 1);
  TestRenderer test(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 1);
  TestRenderer fresh(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 1);
  test.dry();
  fresh.dry();
  EXPECT_EQ(UBR_OK, ubr_set_responses(&test.r, noise_responses(1).data(), nullptr));
  for (int block = 0; block < 3; ++block) test.render(silence, {256});
  EXPECT_EQ(UBR_OK, ubr_init_binauralizer(&test.r));
  for (TestRenderer* renderer : {&test, &fresh}) {
    EXPECT_EQ(UBR_OK, ubr_set_responses(&renderer->r, noise_responses(2).data(), nullptr));
  }
  for (int block = 0; block < 3; ++block) {
    expect_same_signal(fresh.render(input, {256}), test.render(input, {256}), 2e-6f);
  }
  encoder_t* const encoder = test.r.encoder;
  encoder_cleanup(encoder);
  EXPECT_EQ(UBR_OK, encoder_init(encoder, test.r.ambisonics, 1, 256));
  for (int block = 0; block < 3; ++block) test.render(input, {256});
  for (auto step : {ubr_init_ambisonics, ubr_init_encoder, ubr_init_rotator, ubr_init_reflections,
                    ubr_init_reverb}) {
    EXPECT_EQ(UBR_OK, step(&test.r));
  }
  test.dry();
  for (TestRenderer* renderer : {&test, &fresh}) {
    for (int block = 0; block < 3; ++block) renderer->render(silence, {256});
  }
  expect_same_signal(fresh.render(input, {256}), test.render(input, {256}), 2e-6f);
}

// Both shortcuts are for blocks of this length.
TEST(TurningTest, LeavesOtherModesAlone) {
  const float pose[3] = {0.2f, 0.0f, 1.0f};
  const Planar input = planar_noise(2, 256, 1);
  for (const uint32_t mode : {UBR_MODE_AMBISONIC, UBR_MODE_BINAURAL}) {
    TestRenderer plain(UBR_INPUT_SOURCES, 2, mode, 256, 1);
    TestRenderer given(UBR_INPUT_SOURCES, 2, mode, 256, 1);
    EXPECT_EQ(UBR_OK, ubr_init_rotator(&given.r));
    EXPECT_EQ(UBR_OK, ubr_set_user_orientation(&given.r, pose, ROTATOR_ROTATION_VECTOR));
    for (TestRenderer* test : {&plain, &given}) test->place(1, 1, 0.0f, 1.0f, 0.5f);
    SCOPED_TRACE(mode);
    for (int block = 0; block < 3; ++block) {
      expect_same_signal(plain.render(input, {256}), given.render(input, {256}), 0.0f);
    }
  }
}

}  // namespace
