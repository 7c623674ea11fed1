// Time of a whole block through the effect, for every layout, driven as the platform drives it. The
// program is linked with the log of the tests, which drops the messages.
#include <benchmark/benchmark.h>

#include <bit>
#include <vector>

#include "bench/realtime.h"
#include "platform/effect_abi.h"
#include "tests/support/effect_host.h"
#include "tests/support/signals.h"

namespace {

// Blocks of `state.range(0)` frames; the head turns before every block if `state.range(1)`.
void Block(benchmark::State& state, uint32_t mask) {
  const auto frames = static_cast<size_t>(state.range(0));
  const bool turns = state.range(1) != 0;
  EffectHost effect;
  if (effect.configure_and_enable(mask) != 0) {
    state.SkipWithError("the effect refused the layout");
    return;
  }
  std::vector<float> in = noise(frames * static_cast<size_t>(std::popcount(mask)), 1);
  std::vector<float> out(2 * frames);
  float yaw = 0.3f;
  for (auto _ : state) {
    if (turns) effect.set_pose(0.0f, 0.0f, yaw = -yaw);
    if (effect.process(in, out) != 0) state.SkipWithError("the effect refused a block");
  }
  report_realtime(state, state.range(0));
}

// The platform's blocks at 48 kHz: 20 ms and 10 ms, and the renderer's largest.
void sizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"frames", "turns"})
      ->Args({1024, 0})
      ->Args({1024, 1})
      ->Args({960, 0})
      ->Args({480, 0});
}

BENCHMARK_CAPTURE(Block, 5_1, AUDIO_CHANNEL_OUT_5POINT1)->Apply(sizes);
BENCHMARK_CAPTURE(Block, 7_1, AUDIO_CHANNEL_OUT_7POINT1)->Apply(sizes);
BENCHMARK_CAPTURE(Block, 5_1_2, AUDIO_CHANNEL_OUT_5POINT1POINT2)->Apply(sizes);
BENCHMARK_CAPTURE(Block, 5_1_4, AUDIO_CHANNEL_OUT_5POINT1POINT4)->Apply(sizes);
BENCHMARK_CAPTURE(Block, 7_1_4, AUDIO_CHANNEL_OUT_7POINT1POINT4)->Apply(sizes);
BENCHMARK_CAPTURE(Block, 22_2, AUDIO_CHANNEL_OUT_22POINT2)->Apply(sizes);

}  // namespace
