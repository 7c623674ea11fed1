// SPDX-License-Identifier: Apache-2.0
#include "numerics/mix_channels.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/signals.h"

namespace {

struct MixCase {
  const char* name;
  uint32_t in_count, out_count, frames;
  bool transposed;  // weights stored with one row per output
};

// The channels have no room beyond `frames`, so that the sanitizer sees every step too far.
class MixChannelsTest : public ::testing::TestWithParam<MixCase> {
 protected:
  const MixCase& c = GetParam();
  const std::vector<float> weight_data = noise(size_t{c.in_count} * c.out_count, 1);
  const std::vector<float> slope_data = noise(size_t{c.in_count} * c.out_count, 2);
  const Planar in = planar_noise(c.in_count, c.frames, 3);
  const Planar before = planar_noise(c.out_count, c.frames, 4);
  const mix_weights_t weights = {weight_data.data(), c.transposed ? 1 : c.out_count,
                                 c.transposed ? c.in_count : 1};
  const bool fused = mix_channels_target().fused;

  // Rounded as a double first, which does not show with these inputs: the product is exact. With
  // std::fma of MinGW's library every fourth sum is wrong.
  float multiply_add(float a, float b, float sum) const {
    return fused ? static_cast<float>(double{a} * double{b} + double{sum}) : sum + a * b;
  }
  // One multiply-add per step, inputs ascending.
  float expected_sample(uint32_t o, uint32_t t, bool fades) const {
    float sum = 0.0f;
    for (uint32_t i = 0; i < c.in_count; ++i) {
      const size_t at = i * weights.in_stride + o * weights.out_stride;
      sum = multiply_add(weight_data[at], in[i][t], sum);
      const float scaled = in[i][t] * static_cast<float>(t & ~3u);
      if (fades) sum = multiply_add(slope_data[at], scaled, sum);
    }
    return sum;
  }
  void expect_mixed(const Planar& out, bool fades, bool accumulated) const {
    // Unfused targets may still differ in the last bit of every step.
    const float largest = static_cast<float>(c.in_count * (fades ? c.frames : 1));
    const float tolerance = fused ? 0.0f : largest * static_cast<float>(c.in_count) * 0x1p-23f;
    for (uint32_t o = 0; o < c.out_count; ++o) {
      for (uint32_t t = 0; t < c.frames; ++t) {
        const float sum = expected_sample(o, t, fades);
        const float expected = accumulated ? before[o][t] + sum : sum;
        ASSERT_NEAR(expected, out[o][t], tolerance) << "channel " << o << ", sample " << t;
      }
    }
  }
};

TEST_P(MixChannelsTest, OverwritesOrAddsTheWeightedSums) {
  for (const bool accumulate : {false, true}) {
    Planar out = before;
    mix_channels(weights, {in.data(), c.in_count}, {out.data(), c.out_count}, c.frames, accumulate);
    expect_mixed(out, false, accumulate);
  }
}

TEST_P(MixChannelsTest, FadesInStepsOfFourSamples) {
  Planar out = before;
  mix_channels_fading(weights, slope_data.data(), {in.data(), c.in_count},
                      {out.data(), c.out_count}, c.frames);
  expect_mixed(out, true, false);
}

INSTANTIATE_TEST_SUITE_P(Shapes, MixChannelsTest,
                         ::testing::Values(MixCase{"EncoderBlock", 12, 25, 96, false},
                                           MixCase{"ManySources", 150, 9, 39, false},
                                           MixCase{"DecoderBlock", 25, 25, 44, true},
                                           MixCase{"DegreeThree", 7, 7, 67, false},
                                           MixCase{"DegreeFourShorterThanAVector", 9, 9, 3, true},
                                           MixCase{"ThreeRows", 3, 3, 17, true},
                                           MixCase{"OneSample", 1, 1, 1, false},
                                           MixCase{"NoInputIsSilence", 0, 4, 21, false}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
