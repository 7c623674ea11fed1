// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/encoder.h"

#include <gtest/gtest.h>

#include <string>

#include "base/result.h"
#include "tests/support/overlapping_rows.h"
#include "tests/support/test_renderer.h"

namespace {

struct TestEncoder {
  ambisonics_base_t base = {};
  encoder_t e = {};
  TestEncoder(uint32_t num_sources, uint32_t max_frame_size) {
    EXPECT_EQ(UBR_OK, ambisonics_base_init(&base, {2, 0, 0, 9}));
    EXPECT_EQ(UBR_OK, encoder_init(&e, &base, num_sources, max_frame_size));
  }
  ~TestEncoder() {
    encoder_cleanup(&e);
    ambisonics_base_cleanup(&base);
  }
  void place(uint32_t index, uint32_t type, float x, float y, float z) {
    EXPECT_EQ(UBR_OK, encoder_set_source_type(&e, index, type));
    EXPECT_EQ(UBR_OK, encoder_set_source_position(&e, index, x, y, z));
  }
};

TEST(EncoderDistanceTest, OnlyWorldSourcesBeyondOneMetreFade) {
  struct {
    uint32_t type;
    float x, gain;
  } cases[] = {{0, 3.0f, 1.0f / 3.0f}, {0, 0.5f, 1.0f}, {1, 3.0f, 1.0f}, {2, 3.0f, 1.0f}};
  TestEncoder encoder(1, 64);
  for (const auto& c : cases) {
    encoder.place(0, c.type, c.x, 0.0f, 0.0f);
    EXPECT_FLOAT_EQ(c.gain, encoder.e.sources[0].beam[0]) << "type " << c.type << " at " << c.x;
  }
}

TEST(EncoderListenerTest, MovesWorldSourcesOnceTheyArePlacedAgain) {
  TestEncoder encoder(2, 64);
  encoder.place(0, ENCODER_SOURCE_WORLD, 1.0f, 4.0f, 0.0f);
  encoder.place(1, ENCODER_SOURCE_LOUDSPEAKER, 1.0f, 4.0f, 0.0f);
  const encoder_source_t world = encoder.e.sources[0], loudspeaker = encoder.e.sources[1];
  encoder_set_user_position(&encoder.e, 1.0f, 0.0f, 0.0f);
  EXPECT_FLOAT_EQ(1.5707964f, encoder.e.sources[0].azimuth);
  EXPECT_FLOAT_EQ(0.25f, encoder.e.sources[0].distance_gain);
  EXPECT_EQ(world.beam[1], encoder.e.sources[0].beam[1]);
  for (const uint32_t s : {0u, 1u}) encoder_set_source_position(&encoder.e, s, 1.0f, 4.0f, 0.0f);
  EXPECT_FLOAT_EQ(0.25f, encoder.e.sources[0].beam[1]);
  EXPECT_EQ(loudspeaker.beam[1], encoder.e.sources[1].beam[1]);
  encoder_set_source_direction(&encoder.e, 0, -1.5707964f, 0.0f);
  encoder_reset(&encoder.e);
  EXPECT_FLOAT_EQ(-1.0f, encoder.e.sources[0].beam[1]) << "a direction set by hand stays";
  EXPECT_FLOAT_EQ(world.distance, encoder.e.sources[0].distance);
}

// One source of every type and one of an unknown type, at different places.
void place_all_types(TestEncoder& encoder) {
  encoder.place(0, ENCODER_SOURCE_HEAD_LOCKED, 0.0f, 1.0f, 0.2f);
  encoder.place(1, ENCODER_SOURCE_WORLD, 2.0f, 1.0f, 0.0f);
  encoder.place(2, ENCODER_SOURCE_LFE, 1.0f, 0.0f, 0.0f);
  encoder.place(3, 7, 1.0f, 1.0f, 1.0f);
  encoder.place(4, ENCODER_SOURCE_LOUDSPEAKER, 0.0f, -1.0f, -1.0f);
}

struct ModeCase {
  const char* name;
  uint32_t mode;
  bool overwrites, dynamic, fixed;
};

class EncoderModeTest : public ::testing::TestWithParam<ModeCase> {};

TEST_P(EncoderModeTest, EncodesItsSourcesSampleBySample) {
  const ModeCase& c = GetParam();
  const uint32_t frames = 61, max_frames = 64;
  TestEncoder encoder(5, max_frames);
  place_all_types(encoder);
  const Planar input = planar_noise(5, max_frames, 1);
  const Planar before = planar_noise(9, max_frames, 20);
  Planar output = before;
  EXPECT_EQ(UBR_OK, encoder_process(&encoder.e, input.data(), output.data(), frames, c.mode));
  for (size_t h = 0; h < 9; ++h) {
    for (size_t t = 0; t < max_frames; ++t) {
      float expected = c.overwrites && t < frames ? 0.0f : before[h][t];
      for (size_t s = 0; s < 5 && t < frames; ++s) {
        const encoder_source_t& source = encoder.e.sources[s];
        const bool heard = source.type <= 1 ? c.dynamic : source.type <= 3 && c.fixed;
        const bool lfe = source.type == ENCODER_SOURCE_LFE;
        const float weight = lfe ? (h == 0 ? 1.0f : 0.0f) : source.beam[h];
        if (heard) expected += weight * input[s][t];
      }
      ASSERT_NEAR(expected, output[h][t], 1e-6f) << "channel " << h << ", sample " << t;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, EncoderModeTest,
                         ::testing::Values(ModeCase{"Everything", 0, true, true, true},
                                           ModeCase{"Dynamic", 1, true, true, false},
                                           ModeCase{"Static", 2, true, false, true},
                                           ModeCase{"DynamicAdded", 3, false, true, false},
                                           ModeCase{"StaticAdded", 4, false, false, true},
                                           ModeCase{"UnknownDoesNothing", 5, false, false, false}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(EncoderLimitTest, RefusesWhatIsOutOfRange) {
  TestEncoder encoder(1, 64);
  const Planar input = planar_noise(1, 65, 1), before = planar_noise(9, 65, 2);
  Planar output = before;
  EXPECT_EQ(UBR_MISSING, encoder_process(&encoder.e, input.data(), output.data(), 65, 0));
  EXPECT_EQ(0.0f, max_difference(before[0], output[0]));
  EXPECT_EQ(UBR_INVALID, encoder_set_source_position(&encoder.e, 1, 0.0f, 0.0f, 0.0f));
  EXPECT_EQ(UBR_INVALID, encoder_set_source_type(&encoder.e, 1, 0));
  EXPECT_EQ(UBR_INVALID, encoder_set_source_direction(&encoder.e, 1, 0.0f, 0.0f));
}

TEST(EncoderInPlaceTest, OutputsMayOverlapTheInputs) {
  constexpr uint32_t kFrames = 1000, kSources = 24;
  ambisonics_base_t base = {};
  ASSERT_EQ(UBR_OK, ambisonics_base_init(&base, {4, 0, 0, AMBISONICS_MAX_CHANNELS}));
  encoder_t e = {};
  ASSERT_EQ(UBR_OK, encoder_init(&e, &base, kSources, kFrames));
  for (const uint32_t type : {ENCODER_SOURCE_LOUDSPEAKER, ENCODER_SOURCE_HEAD_LOCKED}) {
    for (uint32_t s = 0; s < kSources; ++s) {
      encoder_set_source_type(&e, s, type);
      encoder_set_source_position(&e, s, 1.0f, static_cast<float>(s) - 12.0f, 2.0f);
    }
    encoder_set_source_type(&e, kSources - 1, ENCODER_SOURCE_LFE);
    const auto pass =
        type == ENCODER_SOURCE_LOUDSPEAKER ? encoder_process_dynamic : encoder_process_static;
    for (const uint32_t accumulate : {0u, 1u}) {
      for (const int32_t offset : OverlappingRows::kOffsets) {
        OverlappingRows rows(AMBISONICS_MAX_CHANNELS, kFrames, offset);
        const Planar input = rows.copy(rows.inputs);
        Planar apart = rows.copy(rows.outputs);
        EXPECT_EQ(UBR_OK, pass(&e, input.data(), apart.data(), kFrames, accumulate));
        EXPECT_EQ(UBR_OK, pass(&e, rows.inputs.data(), rows.outputs.data(), kFrames, accumulate));
        expect_same_signal(apart, rows.copy(rows.outputs), 1e-7f);
      }
    }
  }
  encoder_cleanup(&e);
  ambisonics_base_cleanup(&base);
}

}  // namespace
