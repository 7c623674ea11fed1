// SPDX-License-Identifier: Apache-2.0
// The steady stream under clang's real-time sanitizer, which ends the program where a function
// marked as not blocking may wait or allocate.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "tests/support/steady_stream.h"

// Of the sanitizer's run-time library: what is called between the two is not watched.
extern "C" void __rtsan_disable();
extern "C" void __rtsan_enable();

namespace {

constexpr int kBlocks = 2000;

class RealtimeSanitizerTest : public ::testing::TestWithParam<orvane_layout_t> {};

TEST_P(RealtimeSanitizerTest, FindsNothingInASteadyStream) {
  for (int mode = 0; mode <= 4; ++mode) {
    for (const bool dense_tail : {false, true}) {
      __rtsan_disable();  // the first blocks allocate
      SteadyStream stream({GetParam(), mode, dense_tail, 64});
      __rtsan_enable();
      for (int block = 0; block < kBlocks; ++block) {
        ASSERT_TRUE((block % 16 >= 8 || stream.turn_head()) && stream.render_block());
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, RealtimeSanitizerTest, ::testing::ValuesIn(orvane_layouts),
                         [](const auto& test) { return test_name(test.param); });

TEST(RealtimeSanitizerDeathTest, StopsABlockThatAllocates) {
  EXPECT_DEATH(SteadyStream({layout_named("5.1"), 0, false, 64}), "malloc|calloc");
}

}  // namespace
