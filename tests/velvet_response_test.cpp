// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <array>
#include <numbers>
#include <random>
#include <vector>

#include "tests/support/signals.h"
#include "tests/support/velvet_reverb.h"

namespace {

using Change = VelvetChange;
using Config = vn_config_t;
using Reverb = VelvetReverb;

// Both responses in double precision, from the numbers that `random` gives next.
std::array<std::vector<double>, 2> reference_responses(const vn_state_t& v, std::mt19937* random) {
  const vn_config_t& s = v.settings;
  const auto draw = [random] {
    const auto high = static_cast<double>((*random)() >> 5);
    return (high * 0x1p26 + static_cast<double>((*random)() >> 6)) * 0x1p-53;
  };
  std::vector<double> left(static_cast<size_t>(v.fft_size)), right = left;
  const double spacing = s.pulse_spacing, half = floor(spacing / 2.0), level = s.level;
  for (double start = 0.0; start < v.response_length; start += spacing) {
    double p = start + 1.0;
    for (auto* h : {&left, s.stereo == 1.0f ? &right : nullptr}) {
      if (!h) continue;
      p += start == 0.0 ? floor(draw() * (half + 1.0)) : floor(draw() * (2.0 * half + 1.0)) - half;
      p = std::min<double>(p, v.response_length);
      const double magnitude =
          level * pow(0.001 / level, p / (double{s.decay_s} * double{Reverb::kRate}));
      h->at(static_cast<size_t>(p) - 1) = draw() < 0.5 ? -magnitude : magnitude;
    }
  }
  if (s.stereo != 1.0f) right = left;
  if (s.tone_enable == 0.0f) return {left, right};
  const double a = pow(10.0, (double{s.tone_gain} - 1.0) * 12.0 / 40.0);  // the cookbook's A
  const double w = std::numbers::pi * double{s.tone_corner_hz} / 24000.0, c = cos(w);
  const double q =
      sqrt(a) * sin(w) * sqrt((a + 1.0 / a) * (1.0 / double{s.tone_slope} - 1.0) + 2.0);
  for (auto* h : {&left, &right, &left, &right}) {  // forwards, then backwards
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    for (double& x : *h) {
      const double y = (a * ((a + 1 + (a - 1) * c + q) * x - 2 * (a - 1 + (a + 1) * c) * x1 +
                             (a + 1 + (a - 1) * c - q) * x2) -
                        2 * (a - 1 - (a + 1) * c) * y1 - (a + 1 - (a - 1) * c - q) * y2) /
                       (a + 1 - (a - 1) * c + q);
      x2 = x1, x1 = x, y2 = y1, y1 = x = y;
    }
    std::ranges::reverse(*h);
  }
  return {left, right};
}

TEST(VelvetResponseTest, IsWhatTheGeneratorLeadsTo) {
  // Switches between 0 and 1 are on, stereo apart.
  const std::vector<Change> cases[] = {{},
                                       {{&Config::tone_enable, 0.0f}},
                                       {{&Config::enable, 0.5f},
                                        {&Config::stereo, 0.5f},
                                        {&Config::pulse_spacing, 81.0f},
                                        {&Config::tone_enable, 0.5f},
                                        {&Config::tone_corner_hz, 3000.0f},
                                        {&Config::tone_gain, 0.5f},
                                        {&Config::tone_slope, 0.5f}}};
  for (const std::vector<Change>& changes : cases) {
    Reverb reverb(changes);
    std::mt19937 random;  // starts from the same seed, and goes on
    for (int preparation = 0; preparation < 2; ++preparation) {
      ASSERT_EQ(UBR_OK, reverb.prepare());
      const auto expected = reference_responses(reverb.state, &random);
      for (int32_t c : {0, 1}) {
        const std::vector<double> h = reverb.response(c);
        for (size_t i = 0; i < h.size(); ++i)
          ASSERT_NEAR(expected.at(static_cast<size_t>(c))[i], h[i], 1e-7);
      }
    }
    EXPECT_GT(peak(reverb.render(noise(3000, 1))[0]), 0.0f);
  }
}

}  // namespace
