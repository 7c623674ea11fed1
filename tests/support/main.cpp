// Runs the tests and says which instruction set the kernels use. With ORVANE_TEST_LOWEST_TARGET=1
// in the environment that is the least capable one that was compiled in.
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "numerics/mix_channels.h"

namespace {

void use_lowest_target() {
#if !defined(HWY_COMPILE_ONLY_STATIC)
  // Highway numbers its targets downwards: the highest bit is the least capable one.
  hwy::SetSupportedTargetsForTest(int64_t{1} << (63 - __builtin_clzll(HWY_TARGETS)));
#endif
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const char* lowest = getenv("ORVANE_TEST_LOWEST_TARGET");
  if (lowest && strcmp(lowest, "1") == 0) use_lowest_target();
  const mix_target_t target = mix_channels_target();
  printf("Kernel target: %s (%s)\n", target.name, target.fused ? "fused" : "not fused");
  return RUN_ALL_TESTS();
}
