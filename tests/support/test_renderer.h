// SPDX-License-Identifier: Apache-2.0
// A renderer that releases itself, and block-wise rendering of whole signals.
#ifndef ORVANE_TESTS_SUPPORT_TEST_RENDERER_H_
#define ORVANE_TESTS_SUPPORT_TEST_RENDERER_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/result.h"
#include "renderer/ubr.h"
#include "tests/support/signals.h"

struct TestRenderer {
  ubr_t r = {};

  TestRenderer(uint32_t input_type, uint32_t num_inputs, uint32_t mode, uint32_t max_frame_size,
               uint32_t order) {
    EXPECT_EQ(UBR_OK, ubr_init(&r, input_type, num_inputs, mode, max_frame_size, order));
  }
  ~TestRenderer() { ubr_cleanup(&r); }
  TestRenderer(const TestRenderer&) = delete;
  TestRenderer& operator=(const TestRenderer&) = delete;

  void place(uint32_t index, uint32_t type, float x, float y, float z) {
    EXPECT_EQ(UBR_OK, ubr_set_source_type(&r, index, type));
    EXPECT_EQ(UBR_OK, ubr_set_source_position(&r, index, x, y, z));
  }

  // Switches the reverb off where there is one, for tests of what is left.
  void dry() {
    if (!r.reverb) return;
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&r, UBR_REVERB_ENABLE, 0.0f));
  }

  void reflect(uint32_t mode) {
    EXPECT_EQ(UBR_OK,
              ubr_set_reflections_param(&r, UBR_REFLECTIONS_MODE, static_cast<float>(mode)));
    EXPECT_EQ(UBR_OK, ubr_compute_reflections(&r));
  }

  // All of `input`, in blocks whose lengths cycle through `blocks`.
  Planar render(const Planar& input, const std::vector<uint32_t>& blocks) {
    const size_t total = input[0].size();
    Planar output(r.num_outputs, total);
    size_t done = 0;
    for (size_t b = 0; done < total; ++b) {
      const size_t frames = std::min<size_t>(blocks[b % blocks.size()], total - done);
      std::vector<const float*> in;
      std::vector<float*> out;
      for (size_t c = 0; c < input.size(); ++c) in.push_back(&input[c][done]);
      for (size_t c = 0; c < output.size(); ++c) out.push_back(&output[c][done]);
      EXPECT_EQ(UBR_OK,
                ubr_process(&r, in.data(), static_cast<uint32_t>(in.size()), out.data(),
                            static_cast<uint32_t>(out.size()), static_cast<uint32_t>(frames)));
      done += frames;
    }
    return output;
  }
};

// Every channel of `actual` within `tolerance` times the peak of `expected`, which is not silent.
inline void expect_same_signal(const Planar& expected, const Planar& actual, float tolerance) {
  ASSERT_EQ(expected.size(), actual.size());
  float loudest = 0.0f;
  for (size_t c = 0; c < expected.size(); ++c) loudest = std::max(loudest, peak(expected[c]));
  EXPECT_GT(loudest, 0.0f);
  for (size_t c = 0; c < expected.size(); ++c) {
    EXPECT_LE(max_difference(expected[c], actual[c]), tolerance * loudest) << "channel " << c;
  }
}

#endif  // ORVANE_TESTS_SUPPORT_TEST_RENDERER_H_
