// SPDX-License-Identifier: Apache-2.0
// Responses that are set while a binauralizer or a renderer is in use.
#include "tests/support/responses.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "ambisonics/binauralizer.h"
#include "base/result.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/signals.h"
#include "tests/support/test_renderer.h"

namespace {

struct TestBinauralizer {
  binauralizer_t b;

  explicit TestBinauralizer(uint32_t order, int32_t max_frame_size = 1024) {
    EXPECT_EQ(UBR_OK, binauralizer_init(&b, order, max_frame_size));
  }
  ~TestBinauralizer() { binauralizer_cleanup(&b); }

  uint32_t set(const ResponseTable& left, const ResponseTable& right) {
    return binauralizer_set_responses(&b, left.data(), right.data());
  }
  Planar render(const Planar& in) {
    Planar ears(2, in[0].size());
    const auto frames = static_cast<uint32_t>(in[0].size());
    EXPECT_EQ(UBR_OK, binauralizer_process(&b, in.data(), ears.data(), frames));
    return ears;
  }
};

// One ear by direct convolution in double.
std::vector<float> convolve(const Planar& in, const ResponseTable& table) {
  std::vector<double> ear(in[0].size());
  for (size_t c = 0; c < in.size(); ++c) {
    for (size_t k = 0; k < SH_HRIR_TAPS; ++k) {
      const auto tap = static_cast<double>(table[k * SH_HRIR_CHANNELS + c]);
      for (size_t t = k; t < ear.size(); ++t) ear[t] += tap * static_cast<double>(in[c][t - k]);
    }
  }
  return {ear.begin(), ear.end()};
}

void expect_equal(const Planar& a, const Planar& b) {
  EXPECT_GT(peak(a[0]), 0.0f);
  for (size_t c = 0; c < a.size(); ++c) EXPECT_EQ(a[c], b[c]);
}

TEST(ResponsesTest, TheBuiltInTableSetAgainGivesTheSameSamples) {
  const ResponseTable built_in = built_in_responses(), mirror = mirrored(built_in);
  for (const uint32_t order : {1u, 4u}) {
    const Planar in = planar_noise((order + 1) * (order + 1), 777, 1);
    const Planar expected = TestBinauralizer(order).render(in);
    const float* const tables[][2] = {
        {built_in.data(), nullptr}, {built_in.data(), mirror.data()}, {nullptr, nullptr}};
    for (const auto& [left, right] : tables) {
      TestBinauralizer test(order);
      EXPECT_EQ(UBR_OK, test.set(noise_responses(1), noise_responses(2)));
      EXPECT_EQ(UBR_OK, binauralizer_set_responses(&test.b, left, right));
      expect_equal(expected, test.render(in));
    }
  }
}

TEST(ResponsesTest, EarsThatDifferAreTwoConvolutions) {
  const Ears ears = {noise_responses(1), noise_responses(2)};
  for (const uint32_t order : {0u, 1u, 2u, 4u}) {
    SCOPED_TRACE(testing::Message() << "order " << order);
    const Planar in = planar_noise((order + 1) * (order + 1), 1000, order);
    TestBinauralizer test(order);
    EXPECT_EQ(UBR_OK, test.set(ears.left, ears.right));
    const Planar heard = test.render(in);
    const std::vector<float> expected[] = {convolve(in, ears.left), convolve(in, ears.right)};
    for (size_t ear = 0; ear < 2; ++ear) {
      EXPECT_LT(max_difference(expected[ear], heard[ear]), 1e-6f * peak(expected[ear]));
    }
    EXPECT_EQ(UBR_OK, binauralizer_set_responses(&test.b, ears.left.data(), nullptr));
    binauralizer_reset(&test.b);
    const std::vector<float> right = convolve(in, mirrored(ears.left));
    EXPECT_LT(max_difference(right, test.render(in)[1]), 1e-6f * peak(right));
  }
}

TEST(ResponsesTest, SoundInFlightEndsWithTheOldOnes) {
  Planar in = planar_noise(25, 200, 5), silence(25, 400);
  TestBinauralizer kept(4), changed(4);
  expect_equal(kept.render(in), changed.render(in));
  EXPECT_EQ(UBR_OK, changed.set(noise_responses(1), noise_responses(2)));
  expect_equal(kept.render(silence), changed.render(silence));
}

TEST(ResponsesTest, OutliveGrowthAndOneThatFailed) {
  const Ears ears = {noise_responses(3), noise_responses(4)};
  const Planar in = planar_noise(4, 900, 6);
  TestBinauralizer expected(1, 1000);
  EXPECT_EQ(UBR_OK, expected.set(ears.left, ears.right));
  const Planar heard = expected.render(in);
  Planar save(2, 2048);
  for (uint32_t failing = 0;; ++failing) {
    TestBinauralizer test(1, 64);
    EXPECT_EQ(UBR_OK, test.set(ears.left, ears.right));
    bool reached = false;
    {
      const FailingAlloc guard(failing);
      binauralizer_reset_max_frame_size(&test.b, 1000, save.data());
      reached = guard.reached();
    }
    binauralizer_reset_max_frame_size(&test.b, 1000, save.data());
    expect_equal(heard, test.render(in));
    if (!reached) break;
  }
}

TEST(ResponsesTest, ThoseThatCannotBeTakenLeaveTheOldOnes) {
  const ResponseTable good = noise_responses(1);
  ResponseTable bad = noise_responses(2);
  bad[6399] = std::numeric_limits<float>::quiet_NaN();
  const Planar in = planar_noise(25, 500, 7);
  const Planar expected = TestBinauralizer(4).render(in);
  TestBinauralizer test(4);
  EXPECT_EQ(UBR_INVALID, test.set(good, bad));
  EXPECT_EQ(UBR_INVALID, test.set(bad, good));
  EXPECT_EQ(UBR_INVALID, binauralizer_set_responses(&test.b, nullptr, good.data()));
  uint32_t failures = 0;
  for (bool reached = true; reached; ++failures) {
    const FailingAlloc guard(failures);
    const uint32_t code = test.set(good, noise_responses(2));
    reached = guard.reached();
    EXPECT_EQ(reached ? UBR_NO_MEMORY : UBR_OK, code);
    if (!reached) break;
    expect_equal(expected, test.render(in));
    binauralizer_reset(&test.b);
  }
  EXPECT_GT(failures, 3u);
  binauralizer_t unbuilt = {};
  EXPECT_EQ(UBR_MISSING, binauralizer_set_responses(&unbuilt, good.data(), nullptr));
  EXPECT_EQ(UBR_MISSING, binauralizer_set_responses(nullptr, good.data(), nullptr));
}

// The renderer has computed the folded HRIRs of a static scene before the responses change.
TEST(RendererResponsesTest, AStaticSceneTakesThemUp) {
  const Ears ears = {noise_responses(1), noise_responses(2)};
  const Planar silence(3, 256), in = planar_noise(3, 256, 1);
  for (const bool grows : {false, true}) {
    TestRenderer test(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 2);
    TestRenderer fresh(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 256, 2);
    for (TestRenderer* renderer : {&test, &fresh}) {
      renderer->dry();
      for (uint32_t s = 0; s < 3; ++s) renderer->place(s, 1, 1.0f, static_cast<float>(s), 0.5f);
    }
    for (int block = 0; block < 3; ++block) test.render(silence, {256});
    for (TestRenderer* renderer : {&test, &fresh}) {
      EXPECT_EQ(UBR_OK, ubr_set_responses(&renderer->r, ears.left.data(), ears.right.data()));
    }
    if (grows) {
      EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(&test.r, 1000));
    }
    EXPECT_EQ(UBR_OK, ubr_reset(&test.r));
    expect_same_signal(fresh.render(in, {256}), test.render(in, {256}), 2e-6f);
  }
}

TEST(RendererResponsesTest, NeedARendererWithEars) {
  const ResponseTable table = noise_responses(1);
  TestRenderer field(UBR_INPUT_SOURCES, 3, UBR_MODE_AMBISONIC, 256, 2);
  EXPECT_EQ(UBR_MISSING, ubr_set_responses(&field.r, table.data(), nullptr));
  EXPECT_EQ(UBR_MISSING, ubr_set_responses(nullptr, table.data(), nullptr));
}

}  // namespace
