// SPDX-License-Identifier: Apache-2.0
// The tail as it is heard. How it decays, and what a turning head adds, the validation report
// measures.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/test_renderer.h"

namespace {

constexpr size_t kDirectEnd = 1024;  // samples after an impulse that only the direct sound takes

TEST(RoomTailTest, FollowsTheSoundByThePreDelay) {
  for (const auto& [input_type, mode] : {std::pair{UBR_INPUT_SOURCES, UBR_MODE_BINAURAL_TRACKED},
                                         {UBR_INPUT_SOURCES, UBR_MODE_BINAURAL},
                                         {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL_TRACKED},
                                         {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL}}) {
    SCOPED_TRACE(testing::Message() << "input " << input_type << ", mode " << mode);
    TestRenderer renderer(input_type, 4, mode, 480, 1);
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&renderer.r, UBR_REVERB_PRE_DELAY, 50.0f));
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&renderer.r, UBR_REVERB_TONE_ENABLE, 0.0f));
    if (input_type == UBR_INPUT_SOURCES) renderer.place(0, ENCODER_SOURCE_LFE, 1.0f, 0.0f, 0.0f);
    Planar input(4, 16000);
    input[0][0] = 1.0f;
    const Planar ears = renderer.render(input, {480});
    for (const auto& ear : {ears[0], ears[1]}) {
      // Rounding of the transforms, at first.
      EXPECT_LT(peak({ear.begin() + kDirectEnd, ear.begin() + 2400}), 1e-7f);
      const auto pulse = std::find_if(ear.begin() + 2400, ear.end() - 1,
                                      [](float s) { return std::fabs(s) > 1e-3f; });
      const double position = static_cast<double>(pulse - ear.begin() - 2399);
      EXPECT_NEAR(0.2 * 0.1 * std::pow(0.01, position / 12000.0), std::fabs(*pulse), 2e-5);
      EXPECT_LT(peak({ear.begin() + 2400 + 12000, ear.end()}), 1e-7f);
    }
  }
}

}  // namespace
