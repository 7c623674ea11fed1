// The counter that every benchmark reports.
#ifndef ORVANE_BENCH_REALTIME_H_
#define ORVANE_BENCH_REALTIME_H_

#include <benchmark/benchmark.h>
#include <stdint.h>

// Real-time factor for blocks of `frames` samples at 48 kHz: seconds of sound per second of
// processor time, printed as "sound_s=71/s".
inline void report_realtime(benchmark::State& state, int64_t frames) {
  state.counters["sound_s"] = benchmark::Counter(static_cast<double>(frames) / 48000.0,
                                                 benchmark::Counter::kIsIterationInvariantRate);
}

#endif  // ORVANE_BENCH_REALTIME_H_
