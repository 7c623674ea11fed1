// SPDX-License-Identifier: Apache-2.0
#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "base/limits.h"
#include "bench/heap_use.h"
#include "bench/reference_kernel.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name)
#endif

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr uint32_t kWarmUpCalls = 20;
constexpr size_t kMaxSamples = 150;
constexpr size_t kMinSamples = 5;
constexpr Microseconds kTimeLimit = std::chrono::milliseconds(200);  // beyond kMinSamples
constexpr uint32_t kCountedWarmUpCalls = 3;
constexpr uint32_t kCountedCalls = 4;

double time_us(const std::function<void()>& call, uint32_t repeats = 1) {
  const auto start = Clock::now();
  for (uint32_t i = 0; i < repeats; ++i) call();
  return Microseconds(Clock::now() - start).count() / repeats;
}

double median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void count_instructions(const Run& run, const std::function<void()>& call) {
  const std::string label = std::to_string(kCountedCalls) + " " + run.name;
  for (uint32_t i = 0; i < kCountedWarmUpCalls; ++i) call();
  CALLGRIND_ZERO_STATS;
  CALLGRIND_TOGGLE_COLLECT;
  for (uint32_t i = 0; i < kCountedCalls; ++i) call();
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS_AT(label.c_str());
}

struct Samples {
  std::vector<double> call_us, reference_us, ratio;
  double allocations;  // per call
};

Samples sample(const std::function<void()>& call) {
  static ReferenceKernel kernel;
  const auto reference = [] { kernel.run(); };
  for (uint32_t i = 0; i < kWarmUpCalls; ++i) call();
  double before = time_us(reference);
  // What is shorter than the kernel is repeated until it is not, for the clock's sake.
  const auto repeats = static_cast<uint32_t>(std::clamp(before / time_us(call), 1.0, 1e4));
  Samples samples;
  const int64_t allocations = heap_use().allocations;
  const auto start = Clock::now();
  while (samples.ratio.size() < kMinSamples ||
         (samples.ratio.size() < kMaxSamples && Clock::now() - start < kTimeLimit)) {
    samples.call_us.push_back(time_us(call, repeats));
    const double after = time_us(reference);
    samples.reference_us.push_back(0.5 * (before + after));
    samples.ratio.push_back(samples.call_us.back() / samples.reference_us.back());
    before = after;
  }
  const double calls = repeats * static_cast<double>(samples.ratio.size());
  samples.allocations = static_cast<double>(heap_use().allocations - allocations) / calls;
  return samples;
}

}  // namespace

void add_benchmark(const std::string& name, const std::function<void(Run&)>& body) {
  const auto start = [=](benchmark::State& state) {
    Run run = {state, name};
    body(run);
  };
  // One iteration is the whole measurement; its time is the median of a call.
  benchmark::RegisterBenchmark(name.c_str(), start)
      ->Iterations(1)
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

void measure(Run& run, uint32_t frames, const std::function<void()>& call) {
  for (auto _ : run.state) {
    if (RUNNING_ON_VALGRIND) {
      count_instructions(run, call);
      run.state.SetIterationTime(0.0);
      continue;
    }
    Samples samples = sample(call);
    const double seconds = median(samples.call_us) * 1e-6;
    run.state.SetIterationTime(seconds);
    run.state.counters["units"] = median(samples.ratio);
    run.state.counters["reference_us"] = median(samples.reference_us);
    run.state.counters["allocations"] = samples.allocations;
    if (frames) run.state.counters["realtime"] = frames / double{ORVANE_SAMPLE_RATE} / seconds;
  }
}
