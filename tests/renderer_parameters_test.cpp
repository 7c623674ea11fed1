// SPDX-License-Identifier: Apache-2.0
// Room and reverb parameters of the renderer: every range, and where an accepted value goes.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <tuple>

#include "renderer/reverb_internal.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/test_renderer.h"

namespace {

using Setter = uint32_t (*)(ubr_t*, uint32_t, float);
constexpr Setter kReflections = ubr_set_reflections_param, kReverb = ubr_set_reverb_param;

// Sets a parameter of the table, of a renderer of order 3 that has its default room.
uint32_t set(TestRenderer& test, const orvane_parameter_t& parameter, float value) {
  const bool is_reverb = parameter.number < ORVANE_PARAM_REFLECTIONS;
  const int32_t first = is_reverb ? ORVANE_PARAM_REVERB : ORVANE_PARAM_REFLECTIONS;
  return (is_reverb ? kReverb : kReflections)(
      &test.r, static_cast<uint32_t>(parameter.number - first), value);
}

// The first and the last value that such a renderer accepts.
std::pair<float, float> ends(const orvane_parameter_t& parameter) {
  if (parameter.kind == ORVANE_KIND_SWITCH) {
    return {std::nextafter(-1.0f, 0.0f), std::nextafter(2.0f, 0.0f)};
  }
  if (parameter.limit == ORVANE_LIMIT_ORDER) return {parameter.minimum, 3.0f};
  if (parameter.limit == ORVANE_LIMIT_NONE) return {parameter.minimum, parameter.maximum};
  const float room = orvane_find_parameter(parameter.limiting)->default_value;
  if (parameter.limit == ORVANE_LIMIT_BELOW) return {parameter.minimum, room};
  return {-0.5f * room, 0.5f * room};
}

TEST(ParameterRangeTest, BothEndsAreInsideAndNothingBeyond) {
  for (const orvane_parameter_t& parameter : orvane_parameters) {
    SCOPED_TRACE(parameter.name);
    TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 3);
    const auto [first, last] = ends(parameter);
    for (const float value : {first, last}) EXPECT_EQ(UBR_OK, set(test, parameter, value)) << value;
    const shoebox_params_t room = test.r.reflections->room.params;
    const vn_config_t settings = test.r.reverb->velvet_noise.settings;
    const uint32_t mode = test.r.reflections->reflections_mode;
    for (const float value : {std::nextafter(first, -INFINITY), -INFINITY, INFINITY, NAN,
                              std::nextafter(last, INFINITY)}) {
      EXPECT_EQ(UBR_INVALID, set(test, parameter, value)) << value;
    }
    EXPECT_EQ(0, memcmp(&room, &test.r.reflections->room.params, sizeof(room)));
    EXPECT_EQ(0, memcmp(&settings, &test.r.reverb->velvet_noise.settings, sizeof(settings)));
    EXPECT_EQ(mode, test.r.reflections->reflections_mode);
  }
}

TEST(ParameterDefaultTest, VirtualLoudspeakersStandAMetreAwayAndARoomAloneIsOfOtherSize) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 3);
  test.reflect(3);
  for (uint32_t v = 0; v < 16; ++v) {
    EXPECT_EQ(1.0f, test.r.reflections->virtual_sources[v].distance);
  }
  shoebox_params_t params;
  EXPECT_EQ((std::array<float, 9>{3, 4, 5, 0.2f, 0.2f, 0.2f, 0.2f, 0.11f, 0.63f}),
            (std::bit_cast<std::array<float, 9>>(*shoebox_config_init(&params))));
}

TEST(ParameterDefaultTest, ADefaultSetOnANewRendererChangesNothing) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 4);
  const ubr_reflections_t& reflections = *test.r.reflections;
  const auto state = [&] {
    return std::tuple(std::bit_cast<std::array<float, 9>>(reflections.room.params),
                      std::bit_cast<std::array<float, 10>>(test.r.reverb->velvet_noise.settings),
                      std::to_array(reflections.listener_position), reflections.reflections_mode);
  };
  const auto before = state();
  for (const orvane_parameter_t& parameter : orvane_parameters) {
    if (!parameter.has_default) continue;
    EXPECT_EQ(UBR_OK, set(test, parameter, parameter.default_value));
    EXPECT_EQ(before, state()) << parameter.name;
  }
}

TEST(ParameterRangeTest, IdsBeyondTheLastAreUnknown) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 3);
  for (const uint32_t id : {19u, 20u, UINT32_MAX}) {
    EXPECT_EQ(UBR_INVALID, ubr_set_reflections_param(&test.r, id, 1.0f));
  }
  for (const uint32_t id : {10u, UINT32_MAX}) {
    EXPECT_EQ(UBR_INVALID, ubr_set_reverb_param(&test.r, id, 1.0f));
  }
}

TEST(ReverbParameterTest, EverySettingHasItsPlace) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 1);
  const float values[] = {1.9f, 0.0f, 100.5f, 0.5f, 0.3f, 20.0f, 0.7f, 0.25f, 5000.0f, 0.5f};
  for (uint32_t id = 0; id < 10; ++id) {
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, id, values[id]));
  }
  const vn_config_t s = test.r.reverb->velvet_noise.settings;
  const float stored[] = {s.enable,         s.stereo,       s.pulse_spacing, s.decay_s,
                          s.level,          s.pre_delay_ms, s.tone_enable,   s.tone_gain,
                          s.tone_corner_hz, s.tone_slope};
  for (uint32_t id = 0; id < 10; ++id) EXPECT_EQ(values[id], stored[id]) << id;
  EXPECT_EQ(24000, test.r.reverb->velvet_noise.response_length);
}

TEST(ReverbParameterTest, ABlockWhileAChangeIsPreparedHasTheOldResponse) {
  TestRenderer changing(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  TestRenderer untouched(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  const Planar input = planar_noise(1, 4096, 1);
  const auto expect_same_tail = [&] {
    const Planar a = changing.render(input, {512}), b = untouched.render(input, {512});
    for (const size_t ear : {0u, 1u}) EXPECT_EQ(b[ear], a[ear]);
  };
  reverb_change_t change;
  EXPECT_EQ(UBR_OK, reverb_change_begin(changing.r.reverb, UBR_REVERB_DECAY, 0.5f, &change));
  expect_same_tail();
  reverb_change_prepare(changing.r.reverb, &change);
  expect_same_tail();
  reverb_change_apply(changing.r.reverb, &change);
  reverb_change_release(&change);
  EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&untouched.r, UBR_REVERB_DECAY, 0.5f));
  expect_same_tail();
}

TEST(ReverbParameterTest, ASettingMadeDuringShortBlocksPreparesForLongOnes) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  test.render(planar_noise(1, 64, 1), {64});
  EXPECT_EQ(64, test.r.reverb->velvet_noise.block_size);
  EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, UBR_REVERB_DECAY, 0.5f));
  EXPECT_EQ(24000 + 511, test.r.reverb->velvet_noise.convolution_length);
}

TEST(ReverbParameterTest, BesideAMeaninglessOneASettingIsKeptForLater) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  vn_state_t& reverb = test.r.reverb->velvet_noise;
  reverb.settings.tone_slope = NAN;
  EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, UBR_REVERB_DECAY, 0.5f));
  EXPECT_EQ(0.5f, reverb.settings.decay_s);
  EXPECT_EQ(12000, reverb.response_length) << "of the response that there was";
}

TEST(ReverbParameterTest, WithoutMemoryBlocksAreDryAndSaySo) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  TestRenderer dry(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  dry.dry();
  const Planar input = planar_noise(1, 2048, 1);
  test.render(input, {512});
  dry.render(input, {512});
  for (uint32_t n = 0; n < 3; ++n) {
    {
      const FailingAlloc guard(n);
      EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, UBR_REVERB_LEVEL, 0.5f));
    }
    Planar ears(2, 512);
    EXPECT_EQ(UBR_MISSING, ubr_process(&test.r, input.data(), 1, ears.data(), 2, 512));
    Planar expected(2, 512);
    EXPECT_EQ(UBR_OK, ubr_process(&dry.r, input.data(), 1, expected.data(), 2, 512));
    EXPECT_EQ(expected[0], ears[0]);
  }
  EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, UBR_REVERB_LEVEL, 0.5f));
  test.render(input, {512});
}

TEST(ReflectionsParameterTest, TheLastOfAbsorptionAndMaterialCounts) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 3);
  const float* absorption = test.r.reflections->room.params.absorption;
  for (uint32_t wall = 0; wall < 6; ++wall) {
    ubr_set_reflections_param(&test.r, UBR_REFLECTIONS_ABSORPTION + wall, 0.125f);
    EXPECT_EQ(0.125f, absorption[wall]);
    ubr_set_reflections_param(&test.r, UBR_REFLECTIONS_MATERIAL + wall, 4.9f);
    EXPECT_EQ(0.75f, absorption[wall]);
    ubr_set_reflections_param(&test.r, UBR_REFLECTIONS_ABSORPTION + wall, 0.5f);
    EXPECT_EQ(0.5f, absorption[wall]);
  }
}

TEST(ReflectionsParameterTest, TheListenerHasToBeInTheRoomOfTheMoment) {
  TestRenderer test(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 3);
  ubr_t* r = &test.r;
  const float* listener = r->reflections->listener_position;
  EXPECT_EQ(UBR_OK, ubr_set_reflections_param(r, UBR_REFLECTIONS_LISTENER_X, 2.4f));
  EXPECT_EQ(UBR_OK, ubr_set_reflections_param(r, UBR_REFLECTIONS_ROOM_X, 2.0f));
  EXPECT_EQ(2.4f, listener[0]) << "the scene brings it inside";
  EXPECT_EQ(UBR_INVALID, ubr_set_reflections_param(r, UBR_REFLECTIONS_LISTENER_X, 2.4f));
  EXPECT_EQ(UBR_OK, ubr_set_reflections_param(r, UBR_REFLECTIONS_MODE, 2.7f));
  EXPECT_EQ(2u, r->reflections->reflections_mode);
  EXPECT_EQ(UBR_OK, ubr_compute_reflections(r));
  EXPECT_NEAR(0.9f, r->reflections->room.listener[0], 1e-6f);
}

}  // namespace
