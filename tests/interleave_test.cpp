// SPDX-License-Identifier: Apache-2.0
#include "numerics/interleave.h"

#include <gtest/gtest.h>
#include <math.h>

#include "tests/support/signals.h"

namespace {

constexpr size_t kLengths[] = {0, 1, 3, 4, 7, 8, 13, 16, 61};

// The buffers have no room beyond their ends, so that the sanitizer sees every step too far.
TEST(InterleaveTest, DeinterleavesFramesIntoChannels) {
  for (const size_t channels : {1u, 2u, 3u, 4u, 5u, 6u, 8u, 10u, 11u, 12u, 24u}) {
    for (const size_t frames : kLengths) {
      const std::vector<float> samples = noise(channels * frames, 1);
      Planar rows(channels, frames);
      deinterleave(samples.data(), channels, frames, rows.data());
      for (size_t i = 0; i < samples.size(); ++i) {
        ASSERT_EQ(samples[i], rows[i % channels][i / channels]) << channels << " x " << frames;
      }
    }
  }
}

TEST(InterleaveTest, InterleavesEarsAndAddsThemOnlyWhereAsked) {
  for (const size_t frames : kLengths) {
    Planar ears = planar_noise(2, frames, 2);
    if (frames) ears[0][0] = -0.0f;
    const std::vector<float> before = noise(2 * frames, 4);
    std::vector<float> written(2 * frames, NAN), added = before;
    interleave_stereo(ears[0].data(), ears[1].data(), frames, false, written.data());
    interleave_stereo(ears[0].data(), ears[1].data(), frames, true, added.data());
    for (size_t i = 0; i < before.size(); ++i) {
      const float sample = ears[i % 2][i / 2];
      ASSERT_TRUE(sample == written[i] && signbit(sample) == signbit(written[i])) << i;
      ASSERT_EQ(sample + before[i], added[i]) << i;
    }
  }
}

}  // namespace
