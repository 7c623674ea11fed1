// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "room/iir_filter.h"
#include "room/random.h"

namespace {

TEST(RandomTest, DrawsFiftyThreeBitsOfTheTwister) {
  std::vector<uint32_t> state(RANDOM_STATE_WORDS);
  random_init(state.data());
  std::mt19937 reference;  // starts from the same seed, 5489
  for (int i = 0; i < 2000; ++i) {
    const auto high = static_cast<double>(reference() >> 5);
    const auto low = static_cast<double>(reference() >> 6);
    ASSERT_EQ((high * 67108864.0 + low) / 9007199254740992.0, b_rand(state.data()));
  }
}

TEST(FilterTest, FollowsTheDifferenceEquationInEveryColumn) {
  const float b[3] = {1.0f, 2.0f, 3.0f};
  const float a[3] = {1.0f, -0.5f, 0.25f};
  const std::vector<float> x = {1, 0, 0, 0, 0, /**/ 0, 2, 0, 0, 0};
  const std::vector<float> expected = {1, 2.5, 4, 1.375, -0.3125, /**/ 0, 2, 5, 8, 2.75};
  const int32_t size[2] = {5, 2};
  std::vector<float> y(x.size(), 9.0f);
  int32_t y_size[2] = {};
  filter(b, a, x.data(), size, y.data(), y_size);
  EXPECT_EQ(expected, y);
}

TEST(FilterTest, KeepsOutputsHoweverSmall) {
  const float b[3] = {1.0f, 0.0f, 0.0f}, a[3] = {1.0f, -0.5f, 0.0f};
  const float x[3] = {0x1p-110f, 0.0f, 0.0f};
  const int32_t size[2] = {3, 1};
  float y[3];
  int32_t y_size[2];
  filter(b, a, x, size, y, y_size);
  EXPECT_EQ(0x1p-110f, y[0]);
  EXPECT_EQ(0x1p-112f, y[2]);
}

}  // namespace
