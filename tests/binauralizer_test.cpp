// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/binauralizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ambisonics/sh_hrir.h"
#include "base/result.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/responses.h"
#include "tests/support/signals.h"

namespace {

// Both ears by direct convolution in double.
Planar convolve(const Planar& input) {
  Planar ears(2, input[0].size());
  for (size_t t = 0; t < input[0].size(); ++t) {
    double left = 0.0, right = 0.0;
    for (uint32_t c = 0; c < input.size(); ++c) {
      double sum = 0.0;
      for (size_t k = 0; k < SH_HRIR_TAPS && k <= t; ++k) {
        const float tap = binauralizer_sh_hrir[k * SH_HRIR_CHANNELS + c];
        sum += static_cast<double>(tap) * static_cast<double>(input[c][t - k]);
      }
      left += sum;
      right += is_antisymmetric(c) ? -sum : sum;
    }
    ears[0][t] = static_cast<float>(left);
    ears[1][t] = static_cast<float>(right);
  }
  return ears;
}

struct TestBinauralizer {
  binauralizer_t b;

  TestBinauralizer(uint32_t order, uint32_t max_frame_size) {
    EXPECT_EQ(UBR_OK, binauralizer_init(&b, order, static_cast<int32_t>(max_frame_size)));
  }
  ~TestBinauralizer() { binauralizer_cleanup(&b); }

  // Renders samples begin to end into the same place of `ears`, cycling through the block lengths.
  void render(const Planar& input, Planar* ears, size_t begin, size_t end,
              const std::vector<uint32_t>& blocks) {
    for (size_t i = 0; begin < end; ++i) {
      const uint32_t frames =
          static_cast<uint32_t>(std::min<size_t>(blocks[i % blocks.size()], end - begin));
      std::vector<const float*> in;
      for (size_t c = 0; c < input.size(); ++c) in.push_back(&input[c][begin]);
      float* out[2] = {&(*ears)[0][begin], &(*ears)[1][begin]};
      EXPECT_EQ(UBR_OK, binauralizer_process(&b, in.data(), out, frames));
      begin += frames;
    }
  }
  Planar render(const Planar& input, const std::vector<uint32_t>& blocks) {
    Planar ears(2, input[0].size());
    render(input, &ears, 0, input[0].size(), blocks);
    return ears;
  }
};

// Rounding of the transforms against the direct sum: 3e-7 of the signal's peak were measured.
void expect_same(const Planar& expected, const Planar& actual) {
  for (size_t ear = 0; ear < 2; ++ear) {
    EXPECT_LT(max_difference(expected[ear], actual[ear]), 1e-6f * peak(expected[ear]));
  }
}

struct BlockCase {
  const char* name;
  uint32_t order, max_frame_size;
  std::vector<uint32_t> blocks;
};

class BinauralizerBlockTest : public ::testing::TestWithParam<BlockCase> {};

TEST_P(BinauralizerBlockTest, BlocksJoinIntoOneConvolution) {
  const BlockCase& c = GetParam();
  const Planar input = planar_noise((c.order + 1) * (c.order + 1), 2500, 1);
  TestBinauralizer binauralizer(c.order, c.max_frame_size);
  expect_same(convolve(input), binauralizer.render(input, c.blocks));
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, BinauralizerBlockTest,
    ::testing::Values(BlockCase{"OrderZero", 0, 240, {240}}, BlockCase{"OrderFour", 4, 256, {256}},
                      BlockCase{"MixedLengths", 4, 480, {480, 17, 1, 300, 480, 64}},
                      BlockCase{"EveryTransform", 4, 1024, {1024, 257, 3, 258, 513, 64, 514}},
                      BlockCase{"LongerThanEveryTransform", 1, 4000, {2000, 500}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(BinauralizerTest, RightEarHearsNegativeOrdersNegated) {
  for (uint32_t c = 0; c < SH_HRIR_CHANNELS; ++c) {
    Planar input(SH_HRIR_CHANNELS, 300);
    input[c][0] = 1.0f;
    Planar ears = TestBinauralizer(4, 128).render(input, {128});
    EXPECT_GT(peak(ears[0]), 0.0f);
    for (float& s : ears[0]) s = is_antisymmetric(c) ? -s : s;
    EXPECT_EQ(ears[0], ears[1]) << "channel " << c;
  }
}

TEST(BinauralizerTest, TransformHoldsBlockAndResponse) {
  const uint32_t sizes[][2] = {{1, 512}, {256, 512}, {257, 1024}, {960, 2048}, {1024, 2048}};
  for (const auto& [max_frame_size, fft_size] : sizes) {
    EXPECT_EQ(fft_size, TestBinauralizer(0, max_frame_size).b.fft_size) << max_frame_size;
  }
}

TEST(BinauralizerTest, OverlapIsCountedByTheWholeTransformAndEndsWithTheResponse) {
  TestBinauralizer binauralizer(4, 1024);
  EXPECT_EQ(1024u, binauralizer.b.prev_tail_length);
  binauralizer.render(planar_noise(25, 1041, 6), {1024, 17});
  EXPECT_EQ(2048u - 17, binauralizer.b.prev_tail_length);
  EXPECT_EQ(2048u - 17, binauralizer.b.tail_length);
  for (const uint32_t ear : {0u, 1u}) {
    const float* overlap = binauralizer.b.overlap_tails[ear];
    EXPECT_GT(peak({overlap, overlap + SH_HRIR_TAPS - 1}), 0.0f);
    EXPECT_EQ(0.0f, peak({overlap + SH_HRIR_TAPS - 1, overlap + 2047}));
  }
}

TEST(BinauralizerTest, GrowingCarriesTheOverlapOn) {
  const Planar input = planar_noise(25, 1500, 2);
  Planar ears(2, 1500), save(2, 512);
  TestBinauralizer binauralizer(4, 128);
  binauralizer.render(input, &ears, 0, 500, {128});
  {
    FailingAlloc guard(0);
    EXPECT_EQ(UBR_OK, binauralizer_reset_max_frame_size(&binauralizer.b, 256, save.data()));
    EXPECT_FALSE(guard.reached()) << "the transform is long enough";
  }
  EXPECT_EQ(UBR_OK, binauralizer_reset_max_frame_size(&binauralizer.b, 1000, save.data()));
  EXPECT_EQ(2048u, binauralizer.b.fft_size);
  EXPECT_EQ(512u - 500 % 128, binauralizer.b.prev_tail_length);
  EXPECT_EQ(0.0f, peak(save[0]) + peak(save[1]));
  binauralizer.render(input, &ears, 500, 1500, {700, 300});
  expect_same(convolve(input), ears);
}

TEST(BinauralizerTest, ResetForgetsTheInput) {
  const Planar input = planar_noise(4, 400, 3);
  TestBinauralizer used(1, 200), fresh(1, 200);
  used.render(planar_noise(4, 200, 9), {200});
  EXPECT_EQ(UBR_OK, binauralizer_reset(&used.b));
  EXPECT_EQ(fresh.render(input, {200})[0], used.render(input, {200})[0]);
}

}  // namespace
