// SPDX-License-Identifier: Apache-2.0
// What the compiled-in tables must hold, whatever they are made from.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ambisonics/sh_hrir.h"
#include "ambisonics/sphere_directions.h"

namespace {

float hrir_at(int tap, int channel) {
  return binauralizer_sh_hrir[tap * SH_HRIR_CHANNELS + channel];
}

int main_peak(int channel) {
  int peak = 0;
  for (int k = 0; k < SH_HRIR_TAPS; ++k) {
    if (std::fabs(hrir_at(k, channel)) > std::fabs(hrir_at(peak, channel))) peak = k;
  }
  return peak;
}

TEST(ShHrirTest, FixedEntriesAreExact) {
  EXPECT_EQ(hrir_at(0, 0), 0.0015932900132611394f);
  EXPECT_EQ(hrir_at(0, 1), 0.0020018299110233784f);
  EXPECT_EQ(hrir_at(1, 0), -2.798000059556216e-05f);
  EXPECT_EQ(hrir_at(145, 0), -0.03594272956252098f);
  EXPECT_EQ(hrir_at(146, 1), -0.07282113283872604f);
}

TEST(ShHrirTest, MainPeaksLieWhereTheLatencyIs) {
  EXPECT_EQ(main_peak(0), BINAURALIZER_LATENCY);
  EXPECT_EQ(main_peak(1), 146);
  for (int c = 0; c < SH_HRIR_CHANNELS; ++c) {
    EXPECT_GE(main_peak(c), 139) << "channel " << c;
    EXPECT_LE(main_peak(c), 155) << "channel " << c;
  }
}

TEST(ShHrirTest, SourceAtTheLeftIsLouderAndEarlierInTheLeftEar) {
  // Spherical harmonics of +y; of the channels that are not 0, 1, 9 and 11 have negative order.
  double weights[SH_HRIR_CHANNELS] = {1.0, 1.0};
  weights[6] = -0.5, weights[8] = -std::sqrt(0.75);
  weights[9] = -std::sqrt(0.625), weights[11] = -std::sqrt(0.375);
  weights[20] = 0.375, weights[22] = std::sqrt(0.3125), weights[24] = std::sqrt(35.0) / 8.0;
  double left[SH_HRIR_TAPS] = {}, right[SH_HRIR_TAPS] = {};
  for (int i = 0; i < SH_HRIR_TAPS * SH_HRIR_CHANNELS; ++i) {
    const int k = i / SH_HRIR_CHANNELS, c = i % SH_HRIR_CHANNELS;
    const double tap = double{hrir_at(k, c)};
    left[k] += weights[c] * tap;
    right[k] += (c == 1 || c == 9 || c == 11 ? -weights[c] : weights[c]) * tap;
  }
  const auto correlate = [](const double* a, const double* b, int lag) {
    double sum = 0.0;
    for (int k = std::max(0, -lag); k < SH_HRIR_TAPS - std::max(0, lag); ++k)
      sum += a[k] * b[k + lag];
    return sum;
  };
  EXPECT_GT(correlate(left, left, 0), 4.0 * correlate(right, right, 0));
  int delay = 0;  // of the right ear
  for (int lag = -60; lag <= 60; ++lag) {
    if (correlate(left, right, lag) > correlate(left, right, delay)) delay = lag;
  }
  EXPECT_NEAR(delay, 34, 6);  // 0.6 to 0.8 ms around a head
}

TEST(SphereDirectionsTest, UnitVectorsMatchTheAngles) {
  for (uint32_t order = 1; order <= 4; ++order) {
    const sphere_direction_t* set = sphere_directions(order);
    ASSERT_NE(set, nullptr);
    EXPECT_NEAR(set[0].z, 1.0f, 1e-6f) << "the first direction is the zenith";
    for (uint32_t d = 0; d < (order + 1) * (order + 1); ++d) {
      const double a = set[d].azimuth, e = set[d].elevation;
      EXPECT_NEAR(set[d].x, std::cos(e) * std::cos(a), 3e-7) << order << "/" << d;
      EXPECT_NEAR(set[d].y, std::cos(e) * std::sin(a), 3e-7) << order << "/" << d;
      EXPECT_NEAR(set[d].z, std::sin(e), 3e-7) << order << "/" << d;
    }
  }
  EXPECT_EQ(sphere_directions(0), nullptr);
  EXPECT_EQ(sphere_directions(5), nullptr);
}

}  // namespace
