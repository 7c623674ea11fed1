// SPDX-License-Identifier: Apache-2.0
// How everything here is measured, and the lists of what is.
#ifndef ORVANE_BENCH_MEASURE_H_
#define ORVANE_BENCH_MEASURE_H_

#include <benchmark/benchmark.h>
#include <stdint.h>

#include <functional>
#include <string>

#include "base/limits.h"

// Frames of the blocks that everything is measured with, the longest first.
constexpr uint32_t kBlockLengths[] = {ORVANE_MAX_FRAME_SIZE, 480, 256, 64};

// One benchmark while it runs. A name is a path; that of a block ends in its frames.
struct Run {
  benchmark::State& state;
  std::string name;
};

// Registers `body`, which prepares what it needs and then calls measure once.
void add_benchmark(const std::string& name, const std::function<void(Run&)>& body);

// Measures `call` over many calls, each between two runs of the reference kernel, and reports its
// median time and the counters
//   units          median of the ratio of a call's time to that of the reference kernel beside it
//   reference_us   median time of the reference kernel
//   allocations    per call
//   realtime       seconds of sound per second, for a block of `frames` samples at
//   ORVANE_SAMPLE_RATE
// Under callgrind it counts instructions instead and dumps them under "<calls> <name>".
void measure(Run& run, uint32_t frames, const std::function<void()>& call);

void add_effect_benchmarks();  // whole blocks, every layout
void add_stage_benchmarks();   // the stages of a block
void add_change_benchmarks();  // start and parameters

#endif  // ORVANE_BENCH_MEASURE_H_
