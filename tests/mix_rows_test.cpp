#include "numerics/mix_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/signals.h"

namespace {

constexpr float kUntouched = 123.0f;

struct MixCase {
  const char* name;
  uint32_t in_count, out_count, frames;
  bool transposed;  // weights stored with one row per output
};

class MixRowsTest : public ::testing::TestWithParam<MixCase> {};

// What mix_rows promises: one multiply-add per step, inputs ascending.
float expected_sample(const mix_weights_t& w, const sample_rows_t<const float>& in, uint32_t o,
                      uint32_t t, bool fused) {
  float sum = 0.0f;
  for (uint32_t i = 0; i < in.count; ++i) {
    const float weight = w.data[i * w.in_stride + o * w.out_stride];
    const float sample = in.data[i * in.stride + t];
    sum = fused ? std::fma(weight, sample, sum) : sum + weight * sample;
  }
  return sum;
}

TEST_P(MixRowsTest, SumsTheWeightedRowsAndLeavesTheRestAlone) {
  const MixCase& c = GetParam();
  const uint32_t stride = c.frames + 4;
  const std::vector<float> weight_data = noise(size_t{c.in_count + 1} * c.out_count, 1);
  const std::vector<float> samples = noise(size_t{c.in_count + 1} * stride, 2);
  std::vector<float> mixed(size_t{c.out_count} * stride, kUntouched);
  const mix_weights_t weights = c.transposed ? mix_weights_t{weight_data.data(), 1, c.in_count}
                                             : mix_weights_t{weight_data.data(), c.out_count, 1};
  const sample_rows_t<const float> in = {samples.data(), stride, c.in_count};
  mix_rows(weights, in, {mixed.data(), stride, c.out_count}, c.frames);

  const bool fused = mix_rows_target().fused;
  // Unfused targets may still differ in the last bit of every step: half an ulp of a sum below 4.
  const float tolerance = fused ? 0.0f : static_cast<float>(c.in_count) * 0x1p-23f;
  for (uint32_t o = 0; o < c.out_count; ++o) {
    for (uint32_t t = 0; t < stride; ++t) {
      const float expected = t < c.frames ? expected_sample(weights, in, o, t, fused) : kUntouched;
      ASSERT_NEAR(expected, mixed[o * stride + t], tolerance) << "row " << o << ", sample " << t;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, MixRowsTest,
                         ::testing::Values(MixCase{"OneRotationTile", 28, 28, 4, false},
                                           MixCase{"EncoderBlock", 12, 28, 96, false},
                                           MixCase{"TailShorterThanAnyVector", 24, 16, 52, false},
                                           MixCase{"DecoderBlock", 25, 28, 44, true},
                                           MixCase{"OneInput", 1, 4, 20, false},
                                           MixCase{"NoInputIsSilence", 0, 4, 20, false}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
