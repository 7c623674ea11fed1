// SPDX-License-Identifier: Apache-2.0
// What the renderer makes of a block.
#include <gtest/gtest.h>

#include <cmath>

#include "renderer/ubr.h"
#include "tests/support/test_renderer.h"

namespace {

constexpr float kTurnedLeft[3] = {90.0f, 0.0f, 0.0f};

TEST(RendererPipelineTest, TurningTheHeadLeftTurnsTrackedSourcesRightAndNothingElse) {
  TestRenderer turned(UBR_INPUT_SOURCES, 3, UBR_MODE_AMBISONIC_TRACKED, 256, 4);
  turned.place(0, ENCODER_SOURCE_LOUDSPEAKER, 0.8f, 0.6f, 0.0f);
  turned.place(1, ENCODER_SOURCE_HEAD_LOCKED, 0.8f, 0.6f, 0.0f);
  turned.place(2, ENCODER_SOURCE_LFE, 0.8f, 0.6f, 0.0f);
  TestRenderer moved(UBR_INPUT_SOURCES, 3, UBR_MODE_AMBISONIC, 256, 4);
  moved.place(0, ENCODER_SOURCE_LOUDSPEAKER, 0.6f, -0.8f, 0.0f);
  moved.place(1, ENCODER_SOURCE_HEAD_LOCKED, 0.8f, 0.6f, 0.0f);
  moved.place(2, ENCODER_SOURCE_LFE, 0.8f, 0.6f, 0.0f);
  ASSERT_EQ(UBR_OK, ubr_set_user_orientation(&turned.r, kTurnedLeft, ROTATOR_YAW_PITCH_ROLL));
  turned.render(Planar(3, 256), {256});  // the turn is faded in over a block
  const Planar input = planar_noise(3, 256, 2);
  expect_same_signal(moved.render(input, {256}), turned.render(input, {256}), 1e-5f);
}

TEST(RendererEarsTest, AResetBringsTheFrontBackToTheMiddleAndSilencesTheRest) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 256, 4);
  renderer.dry();
  const Planar voice = planar_noise(1, 2048, 6);
  const Planar ahead = renderer.render(voice, {256});
  EXPECT_LE(max_difference(ahead[0], ahead[1]), 1e-5f * peak(ahead[0]));

  ASSERT_EQ(UBR_OK, ubr_set_user_orientation(&renderer.r, kTurnedLeft, ROTATOR_YAW_PITCH_ROLL));
  const Planar right = renderer.render(voice, {256});
  EXPECT_GT(max_difference(right[0], right[1]), 0.1f * peak(ahead[0]));

  ASSERT_EQ(UBR_OK, ubr_reset(&renderer.r));
  const Planar silent = renderer.render(Planar(1, 256), {256});
  EXPECT_EQ(0.0f, std::max(peak(silent[0]), peak(silent[1])));
  const Planar again = renderer.render(voice, {256});
  EXPECT_LE(max_difference(again[0], again[1]), 1e-5f * peak(again[0]));
}

TEST(RendererDownmixTest, MixesTheFirstEightInputs) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 10, UBR_MODE_DOWNMIX, 64, 1);
  Planar input(10, 64);
  for (size_t c = 0; c < 10; ++c) input[c][0] = std::ldexp(1.0f, static_cast<int>(c));
  const Planar output = renderer.render(input, {64});
  EXPECT_FLOAT_EQ(1.0f + 0.707f * 4.0f + 8.0f + 0.707f * (16.0f + 64.0f), output[0][0]);
  EXPECT_FLOAT_EQ(2.0f + 0.707f * 4.0f + 8.0f + 0.707f * (32.0f + 128.0f), output[1][0]);
}

TEST(RendererBlockTest, ChecksTheBlockBeforeItTouchesTheOutput) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 2, UBR_MODE_BINAURAL, 64, 1);
  const Planar input = planar_noise(2, 65, 8);
  Planar output(2, 65);
  const struct {
    uint32_t num_inputs, num_outputs, frames;
  } kRefused[] = {{2, 1, 64}, {2, 3, 64}, {1, 2, 64}, {3, 2, 64}, {2, 2, 65}};
  for (const auto& c : kRefused) {
    EXPECT_EQ(UBR_INVALID, ubr_process(&renderer.r, input.data(), c.num_inputs, output.data(),
                                       c.num_outputs, c.frames));
  }
  EXPECT_EQ(0.0f, peak(output[0]));
  EXPECT_EQ(UBR_OK, ubr_process(&renderer.r, input.data(), 2, output.data(), 2, 0));
  EXPECT_NE(0.0f, output[0][63]);  // no frames stand for a full block
  EXPECT_EQ(0.0f, output[0][64]);
}

TEST(RendererBlockTest, AModeBeyondTheLastRendersNothing) {
  for (const uint32_t input_type : {UBR_INPUT_SOURCES, UBR_INPUT_AMBISONICS}) {
    TestRenderer renderer(input_type, 4, UBR_MODE_DOWNMIX + 1, 64, 1);
    Planar output(4, 64);
    EXPECT_EQ(UBR_MISSING, ubr_process(&renderer.r, output.data(), 4, output.data(), 4, 64));
  }
}

}  // namespace
