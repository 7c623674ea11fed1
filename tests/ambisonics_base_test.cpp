// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/ambisonics_base.h"

#include <gtest/gtest.h>

#include "base/result.h"
#include "tests/support/harmonics.h"
#include "tests/support/signals.h"

namespace {

struct TestBase {
  ambisonics_base_t b = {};
  explicit TestBase(ambisonics_config_t config) {
    EXPECT_EQ(UBR_OK, ambisonics_base_init(&b, config));
  }
  ~TestBase() { ambisonics_base_cleanup(&b); }

  std::vector<float> weights(float azimuth, float elevation, float gain) const {
    std::vector<float> values(b.num_channels);
    EXPECT_EQ(UBR_OK, ambisonics_base_generate_beam(&b, values.data(), azimuth, elevation, gain));
    return values;
  }
};

TEST(AmbisonicsBeamTest, HoldsTheHarmonicsInAcnOrder) {
  const TestBase base({4, 0, 0, 25});
  for (const double azimuth : {-3.0, -1.2, 0.0, 0.4, 2.1}) {
    for (const double elevation : {-1.5707964, -0.7, 0.0, 0.3, 1.5}) {
      const std::vector<float> weights =
          base.weights(static_cast<float>(azimuth), static_cast<float>(elevation), 0.5f);
      for (int n = 0, i = 0; n <= 4; ++n) {
        for (int m = -n; m <= n; ++m, ++i) {
          EXPECT_NEAR(0.5 * test_support::harmonic(n, m, azimuth, elevation),
                      weights[static_cast<size_t>(i)], 1e-6)
              << n << ", " << m << " at " << azimuth << ", " << elevation;
        }
      }
    }
  }
}

TEST(AmbisonicsConfigTest, KeepsTheFirstChannelsAndRefusesWhatHasNoHarmonics) {
  struct {
    const char* name;
    ambisonics_config_t config;
    uint32_t code;
    float last;  // last value of the weights straight ahead
  } cases[] = {{"first channels of order 2", {2, 0, 0, 7}, UBR_OK, -0.5f},
               {"unknown ordering: omnidirectional", {1, 1, 0, 4}, UBR_OK, 1.0f},
               {"unknown normalisation: silent", {1, 0, 1, 4}, UBR_OK, 0.0f},
               {"order too high", {5, 0, 0, 25}, UBR_INVALID, 0.0f},
               {"too many channels", {4, 0, 0, 26}, UBR_NO_MEMORY, 0.0f}};
  for (const auto& c : cases) {
    ambisonics_base_t base = {};
    EXPECT_EQ(c.code, ambisonics_base_init(&base, c.config)) << c.name;
    float weights[AMBISONICS_MAX_CHANNELS] = {};
    if (c.code == UBR_OK) ambisonics_base_generate_beam(&base, weights, 0.0f, 0.0f, 1.0f);
    EXPECT_FLOAT_EQ(c.last, weights[c.code == UBR_OK ? c.config.num_channels - 1 : 0]) << c.name;
    ambisonics_base_cleanup(&base);
  }
}

}  // namespace
