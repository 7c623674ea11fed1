// SPDX-License-Identifier: Apache-2.0
// Runs the benchmarks: Google Benchmark's flags, and --avx2, which keeps the kernels from using
// anything beyond AVX2. scripts/bench makes tables of what this prints.
#include <benchmark/benchmark.h>
#include <hwy/targets.h>
#include <stdio.h>
#include <string.h>

#include "bench/measure.h"
#include "numerics/mix_channels.h"

namespace {

bool keep_to_avx2() {
#if defined(HWY_COMPILE_ONLY_STATIC) || !HWY_ARCH_X86
  return false;
#else
  hwy::DisableTargets(HWY_AVX2 - 1);  // Highway numbers its targets downwards
  return true;
#endif
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--avx2") != 0 || !keep_to_avx2()) {
      fprintf(stderr, "orvane-bench: cannot use %s\n", argv[i]);
      return 2;
    }
  }
  benchmark::AddCustomContext("compiler", __VERSION__);
  benchmark::AddCustomContext("kernels", mix_channels_target().name);
  add_effect_benchmarks();
  add_stage_benchmarks();
  add_change_benchmarks();
  return benchmark::RunSpecifiedBenchmarks() == 0;
}
