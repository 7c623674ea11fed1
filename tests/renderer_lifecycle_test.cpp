// SPDX-License-Identifier: Apache-2.0
// Building, growing and losing a renderer, and where its sources and its listener are.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>

#include "ambisonics/binauralizer_internal.h"
#include "renderer/ubr.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/test_renderer.h"

namespace {

struct InitCase {
  const char* name;
  uint32_t input_type, num_inputs, mode, max_frame_size, order;
  uint32_t built_order;  // 0: refused
};

class RendererInitTest : public ::testing::TestWithParam<InitCase> {};

TEST_P(RendererInitTest, AcceptsWhatItOffers) {
  const InitCase& c = GetParam();
  ubr_t r = {};
  const uint32_t code = ubr_init(&r, c.input_type, c.num_inputs, c.mode, c.max_frame_size, c.order);
  EXPECT_EQ(c.built_order ? UBR_OK : UBR_INVALID, code);
  if (c.built_order) {
    EXPECT_EQ(c.built_order, r.ambi_config.order);
    EXPECT_EQ(c.max_frame_size, r.frame_size);
  }
  EXPECT_EQ(UBR_OK, ubr_cleanup(&r));
}

INSTANTIATE_TEST_SUITE_P(Arguments, RendererInitTest,
                         ::testing::Values(InitCase{"FewestSources", 0, 1, 2, 64, 1, 1},
                                           InitCase{"MostSources", 0, 128, 0, 1024, 4, 4},
                                           InitCase{"NoSource", 0, 0, 2, 1024, 4, 0},
                                           InitCase{"TooManySources", 0, 129, 2, 1024, 4, 0},
                                           InitCase{"OrderZero", 0, 8, 2, 1024, 0, 0},
                                           InitCase{"OrderFive", 0, 8, 2, 1024, 5, 0},
                                           InitCase{"ShortFrame", 0, 8, 2, 63, 4, 0},
                                           InitCase{"LongFrame", 0, 8, 2, 1025, 4, 0},
                                           InitCase{"ShortFrameForDownmix", 0, 8, 4, 63, 4, 0},
                                           InitCase{"OrderZeroForDownmix", 0, 8, 4, 64, 0, 0},
                                           InitCase{"OtherInputTypesAreSources", 7, 3, 0, 64, 2, 2},
                                           InitCase{"FieldIsTruncated", 1, 25, 1, 64, 3, 3},
                                           InitCase{"FieldLowersTheOrder", 1, 16, 3, 64, 4, 3},
                                           InitCase{"FieldTooLarge", 1, 36, 3, 64, 4, 0},
                                           InitCase{"FieldOfOneChannel", 1, 1, 3, 64, 4, 0},
                                           InitCase{"FieldOfNoChannel", 1, 0, 3, 64, 4, 0},
                                           InitCase{"FieldOfNoFullOrder", 1, 15, 3, 64, 4, 0},
                                           InitCase{"FieldIsNotEncoded", 1, 16, 0, 64, 4, 0},
                                           InitCase{"FieldIsNotDownmixed", 1, 16, 4, 64, 4, 0}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(RendererLifecycleTest, ModulesThatAreBuiltAfterCleanUpRenderNothing) {
  for (const uint32_t input_type : {UBR_INPUT_SOURCES, UBR_INPUT_AMBISONICS}) {
    for (const uint32_t mode : {UBR_MODE_BINAURAL_TRACKED, UBR_MODE_BINAURAL}) {
      ubr_t r = {};
      ASSERT_EQ(UBR_OK, ubr_init(&r, input_type, 4, mode, 64, 1));
      ASSERT_EQ(UBR_OK, ubr_cleanup(&r));  // input type and mode stay
      r.max_frame_size = 64;
      for (auto step : {ubr_init_ambisonics, ubr_init_encoder, ubr_init_rotator,
                        ubr_init_binauralizer, ubr_init_reverb}) {
        ASSERT_EQ(UBR_OK, step(&r));
      }
      EXPECT_EQ(UBR_MISSING, ubr_process(&r, nullptr, 0, nullptr, 0, 64)) << mode;
      EXPECT_EQ(UBR_OK, ubr_cleanup(&r));
    }
  }
}

TEST(RendererLifecycleTest, AMissingOrUnconfiguredRendererIsSafeInEveryCall) {
  const float zero[3] = {};
  ubr_t unconfigured = {};
  for (ubr_t* r : {static_cast<ubr_t*>(nullptr), &unconfigured}) {
    const uint32_t refused = r ? UBR_OK : UBR_MISSING;
    EXPECT_EQ(UBR_MISSING, ubr_process(r, nullptr, 0, nullptr, 0, 0));
    EXPECT_EQ(r ? UBR_INVALID : UBR_MISSING, ubr_process(r, nullptr, 8, nullptr, 2, 64));
    EXPECT_EQ(UBR_MISSING, ubr_set_source_type(r, 0, 1));
    EXPECT_EQ(UBR_MISSING, ubr_set_source_position(r, 0, 1.0f, 0.0f, 0.0f));
    EXPECT_EQ(UBR_MISSING, ubr_set_user_orientation(r, zero, ROTATOR_ROTATION_VECTOR));
    EXPECT_EQ(UBR_MISSING, ubr_init_encoder(r));
    EXPECT_EQ(UBR_MISSING, ubr_init_rotator(r));
    EXPECT_EQ(UBR_MISSING, ubr_set_reflections_param(r, UBR_NUM_REFLECTIONS_PARAMS, 1.0f));
    EXPECT_EQ(UBR_MISSING, ubr_set_reverb_param(r, UBR_NUM_REVERB_PARAMS, 1.0f));
    EXPECT_EQ(UBR_MISSING, ubr_compute_reflections(r));
    EXPECT_EQ(refused, ubr_set_user_position(r, zero));
    EXPECT_EQ(refused, ubr_reset(r));
    EXPECT_EQ(refused, ubr_set_max_frame_size(r, 64));
    EXPECT_EQ(refused, ubr_cleanup(r));
  }
  EXPECT_EQ(UBR_MISSING, ubr_init(nullptr, 0, 8, 2, 1024, 4));
  for (const uint32_t input_type : {UBR_INPUT_SOURCES, UBR_INPUT_AMBISONICS}) {
    for (uint32_t mode = 0; mode < UBR_MODE_DOWNMIX; ++mode) {
      ubr_t without_modules = {};
      without_modules.input_type = input_type;
      without_modules.render_mode = mode;
      EXPECT_EQ(UBR_MISSING, ubr_process(&without_modules, nullptr, 0, nullptr, 0, 0)) << mode;
    }
  }
}

TEST(RendererLifecycleTest, TheStepsOfARendererNeedNoMoreThanTheirFields) {
  ubr_t r = {};
  r.max_frame_size = 64;
  r.ambi_config = {1, 0, 0, 4};
  r.render_mode = UBR_MODE_BINAURAL;
  EXPECT_EQ(UBR_OK, ubr_init_reflections(&r));
  EXPECT_EQ(UBR_OK, ubr_init_reverb(&r));
  EXPECT_EQ(UBR_OK, ubr_init_binauralizer(&r));
  EXPECT_EQ(UBR_MISSING, ubr_init_encoder(&r));
  EXPECT_EQ(UBR_MISSING, ubr_init_rotator(&r));
  EXPECT_EQ(UBR_OK, ubr_cleanup(&r));
}

TEST(RendererLifecycleTest, ModulesWithoutChannelsTouchNothing) {
  ubr_t r = {};
  ASSERT_EQ(UBR_OK, ubr_init(&r, UBR_INPUT_SOURCES, 2, UBR_MODE_DOWNMIX, 64, 4));
  for (auto step : {ubr_init_ambisonics, ubr_init_encoder, ubr_init_rotator}) {
    ASSERT_EQ(UBR_OK, step(&r));
  }
  ubr_set_source_type(&r, 1, ENCODER_SOURCE_LFE);
  const Planar in(2, 64);
  EXPECT_EQ(UBR_OK, encoder_process(r.encoder, in.data(), nullptr, 64, 0));
  EXPECT_EQ(UBR_OK, rotator_process(r.rotator, nullptr, nullptr, 64));
  EXPECT_EQ(UBR_OK, ubr_cleanup(&r));
}

TEST(RendererLifecycleTest, ARefusalStoresWhatWasAcceptedBeforeIt) {
  ubr_t r = {};
  EXPECT_EQ(UBR_INVALID, ubr_init(&r, UBR_INPUT_AMBISONICS, 16, UBR_MODE_AMBISONIC, 64, 3));
  EXPECT_EQ(0u, r.num_inputs) << "the mode is refused first";
  EXPECT_EQ(UBR_INVALID, ubr_init(&r, UBR_INPUT_SOURCES, 129, UBR_MODE_BINAURAL, 64, 3));
  EXPECT_EQ(129u, r.num_inputs);
  EXPECT_EQ(0u, r.ambi_config.num_channels);
  EXPECT_EQ(UBR_INVALID, ubr_init(&r, UBR_INPUT_SOURCES, 8, UBR_MODE_DOWNMIX, 63, 3));
  EXPECT_EQ(63u, r.max_frame_size);
  EXPECT_EQ(0u, r.frame_size);
  EXPECT_EQ(2u, r.num_outputs);
  EXPECT_EQ(1.0f, r.downmix_left[0]);
  EXPECT_EQ(UBR_INVALID, ubr_init(&r, UBR_INPUT_SOURCES, 8, UBR_MODE_AMBISONIC, 1025, 3));
  EXPECT_EQ(16u, r.num_outputs);
  EXPECT_EQ(3u, r.ambi_config.order);
  EXPECT_EQ(0u, r.max_frame_size);
}

TEST(RendererLifecycleTest, AnInitWritesNoMoreThanTheRecord) {
  struct {
    ubr_t renderer;
    uint32_t after;
  } storage = {{}, 0x5eed5eed};
  static_assert(sizeof(void*) != 8 || offsetof(decltype(storage), after) == 168);
  EXPECT_EQ(UBR_OK, ubr_init(&storage.renderer, 0, 12, UBR_MODE_BINAURAL_TRACKED, 64, 4));
  EXPECT_EQ(0x5eed5eedu, storage.after);
  EXPECT_EQ(UBR_OK, ubr_cleanup(&storage.renderer));
  EXPECT_EQ(0u, storage.renderer.num_inputs);
  EXPECT_EQ(uint32_t{UBR_MODE_BINAURAL_TRACKED}, storage.renderer.render_mode);
}

TEST(DownmixTest, KeepsTheSignOfAZero) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 1, UBR_MODE_DOWNMIX, 64, 1);
  Planar input(1, 64);
  input[0].assign(64, -0.0f);
  EXPECT_TRUE(std::signbit(renderer.render(input, {64})[0][5]));
}

class RendererGrowthTest : public ::testing::TestWithParam<std::pair<uint32_t, uint32_t>> {};

TEST_P(RendererGrowthTest, CarriesTheSignalOn) {
  const auto [input_type, mode] = GetParam();
  const Planar input = planar_noise(4, 9000, 1);
  TestRenderer growing(input_type, 4, mode, 64, 1);
  TestRenderer large(input_type, 4, mode, 1024, 1);
  growing.dry();
  large.dry();
  // A reverberator, even switched off, takes no longer blocks.
  const uint32_t last = growing.r.reverb ? UBR_MAX_FRAME_SIZE : 3000;
  Planar actual(growing.r.num_outputs, 0);
  size_t start = 0;
  for (const uint32_t size : {64u, 65u, 480u, 400u, last}) {  // 400 is no growth
    EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(&growing.r, size));
    Planar part(4, size == last ? 9000 - start : 640);
    for (size_t c = 0; c < 4; ++c) std::copy_n(&input[c][start], part[c].size(), part[c].begin());
    const Planar rendered = growing.render(part, {size});
    for (size_t c = 0; c < actual.size(); ++c) {
      actual[c].insert(actual[c].end(), rendered[c].begin(), rendered[c].end());
    }
    start += part[0].size();
  }
  EXPECT_EQ(growing.r.reverb ? UBR_INVALID : UBR_OK, ubr_set_max_frame_size(&growing.r, 3001));
  EXPECT_EQ(growing.r.reverb ? last : 3001, growing.r.max_frame_size);
  expect_same_signal(large.render(input, {1024}), actual, 1e-5f);
}

constexpr std::pair<uint32_t, uint32_t> kBuilds[] = {
    {UBR_INPUT_SOURCES, UBR_MODE_AMBISONIC_TRACKED},
    {UBR_INPUT_SOURCES, UBR_MODE_BINAURAL_TRACKED},
    {UBR_INPUT_SOURCES, UBR_MODE_BINAURAL},
    {UBR_INPUT_SOURCES, UBR_MODE_DOWNMIX},
    {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL_TRACKED},
    {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL}};

INSTANTIATE_TEST_SUITE_P(Builds, RendererGrowthTest, ::testing::ValuesIn(kBuilds));

TEST(RendererMemoryTest, AFailedGrowthKeepsTheOldMaximumAndCanBeRetried) {
  const Planar input = planar_noise(4, 64, 2);
  bool reached = true;
  uint32_t silenced = 0, refused = 0;
  for (uint32_t n = 0; reached; ++n) {
    TestRenderer growing(UBR_INPUT_SOURCES, 4, UBR_MODE_BINAURAL_TRACKED, 64, 1);
    TestRenderer steady(UBR_INPUT_SOURCES, 4, UBR_MODE_BINAURAL_TRACKED, 64, 1);
    growing.reflect(1);  // later than the 64 samples that are compared
    growing.render(input, {64});
    steady.render(input, {64});
    uint32_t code = 0;
    {
      FailingAlloc failing(n);
      code = ubr_set_max_frame_size(&growing.r, 1000);
      reached = failing.reached();
    }
    EXPECT_EQ(reached ? UBR_NO_MEMORY : UBR_OK, code) << "allocation " << n;
    EXPECT_EQ(reached ? 64u : 1000u, growing.r.max_frame_size);
    const bool is_silent = !binauralizer_is_built(*growing.r.binauralizer);
    const bool is_refused =
        !growing.r.reflections->ready || !growing.r.reverb->velvet_noise.fft_setup;
    silenced += is_silent;
    refused += is_refused;
    const Planar expected = is_silent ? Planar(2, 64) : steady.render(input, {64});
    Planar actual(2, 64);
    EXPECT_EQ(is_refused ? UBR_MISSING : UBR_OK,
              ubr_process(&growing.r, input.data(), 4, actual.data(), 2, 64));
    for (uint32_t ear = 0; ear < 2 && !is_refused; ++ear) {
      EXPECT_LE(max_difference(expected[ear], actual[ear]), 1e-5f);
    }
    EXPECT_EQ(UBR_OK, ubr_reset(&growing.r));
    EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(&growing.r, 1000));
    const Planar more = growing.render(planar_noise(4, 2000, 3), {1000});
    EXPECT_TRUE(std::isfinite(peak(more[0])) && peak(more[0]) > 0.0f);
    EXPECT_EQ(12000 + 999, growing.r.reverb->velvet_noise.convolution_length);
  }
  EXPECT_GT(silenced, 0u);
  EXPECT_GT(refused, 6u);
}

TEST(RendererSourcesTest, TheBeamFollowsThePositionNotTheTypeOrTheListener) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 2, UBR_MODE_BINAURAL_TRACKED, 64, 1);
  const encoder_source_t& source = renderer.r.encoder->sources[1];
  const float behind[3] = {3.0f, 0.0f, 0.0f};
  renderer.place(1, ENCODER_SOURCE_LOUDSPEAKER, 2.0f, 0.0f, 0.0f);
  EXPECT_EQ(UBR_OK, ubr_set_source_type(&renderer.r, 1, ENCODER_SOURCE_WORLD));
  EXPECT_FLOAT_EQ(0.5f, source.distance_gain);
  EXPECT_FLOAT_EQ(1.0f, source.beam[0]);
  renderer.place(1, ENCODER_SOURCE_WORLD, 2.0f, 0.0f, 0.0f);
  EXPECT_FLOAT_EQ(0.5f, source.beam[0]);

  EXPECT_EQ(UBR_OK, ubr_set_user_position(&renderer.r, behind));
  EXPECT_FLOAT_EQ(0.5f, source.beam[0]);
  for (const float bad : {NAN, INFINITY}) {
    const float nowhere[3] = {0.0f, bad, 0.0f};
    EXPECT_EQ(UBR_INVALID, ubr_set_user_position(&renderer.r, nowhere));
  }
  EXPECT_FLOAT_EQ(3.0f, renderer.r.encoder->user_position[0]);
  EXPECT_EQ(UBR_OK, ubr_reset(&renderer.r));
  EXPECT_FLOAT_EQ(2.0f, source.distance);
}

TEST(RendererSourcesTest, AnAmbisonicInputHasNone) {
  TestRenderer renderer(UBR_INPUT_AMBISONICS, 4, UBR_MODE_BINAURAL_TRACKED, 64, 1);
  EXPECT_EQ(UBR_MISSING, ubr_set_source_type(&renderer.r, 0, ENCODER_SOURCE_LOUDSPEAKER));
  EXPECT_EQ(UBR_MISSING, ubr_set_source_position(&renderer.r, 0, 1.0f, 0.0f, 0.0f));
}

}  // namespace
