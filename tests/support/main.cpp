// SPDX-License-Identifier: Apache-2.0
// Runs the tests and says which instruction set the kernels use: the best of the machine, or what
// ORVANE_TEST_TARGET in the environment names, as Highway does (AVX2, SSE4), or as "lowest", the
// least capable that was compiled in. Where there is no such target, nothing is run and the exit
// status is 77.
#include <gtest/gtest.h>
#include <hwy/targets.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "numerics/mix_channels.h"

namespace {

#if defined(HWY_COMPILE_ONLY_STATIC)
bool use_target(const std::string& name) { return name == hwy::TargetName(HWY_STATIC_TARGET); }
#else
bool use_target(const std::string& name) {
  const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();  // the best first
  for (const int64_t target : targets) {
    const bool is_lowest = target == targets.back();
    if (name != hwy::TargetName(target) && !(is_lowest && name == "lowest")) continue;
    hwy::SetSupportedTargetsForTest(target);
    return true;
  }
  return false;
}
#endif

constexpr int kSkipped = 77;

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const char* name = getenv("ORVANE_TEST_TARGET");
  if (name && !use_target(name)) {
    printf("No kernel target %s here\n", name);
    return kSkipped;
  }
  const mix_target_t target = mix_channels_target();
  printf("Kernel target: %s (%s)\n", target.name, target.fused ? "fused" : "not fused");
  return RUN_ALL_TESTS();
}
