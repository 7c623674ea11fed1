// Cost of the room: of a change of its parameters, and of a block that has reflections or a tail.
#include <benchmark/benchmark.h>

#include "bench/realtime.h"
#include "renderer/ubr.h"
#include "tests/support/signals.h"

namespace {

constexpr uint32_t kFrames = 1024;

struct Renderer {
  ubr_t r = {};
  Renderer() { ubr_init(&r, UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, kFrames, 4); }
  ~Renderer() { ubr_cleanup(&r); }
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;
};

// Range: decay time in milliseconds.
void SetReverb(benchmark::State& state) {
  Renderer renderer;
  const float decay_s = static_cast<float>(state.range(0)) * 0.001f;
  for (auto _ : state) ubr_set_reverb_param(&renderer.r, UBR_REVERB_DECAY, decay_s);
}
BENCHMARK(SetReverb)->Arg(250)->Arg(2000)->Unit(benchmark::kMicrosecond);

// Range: mode.
void ComputeReflections(benchmark::State& state) {
  Renderer renderer;
  const auto mode = static_cast<float>(state.range(0));
  ubr_set_reflections_param(&renderer.r, UBR_REFLECTIONS_MODE, mode);
  for (auto _ : state) ubr_compute_reflections(&renderer.r);
}
BENCHMARK(ComputeReflections)->DenseRange(1, 4)->Unit(benchmark::kMicrosecond);

// Range: mode, selected from off each time.
void SelectMode(benchmark::State& state) {
  Renderer renderer;
  const auto mode = static_cast<float>(state.range(0));
  for (auto _ : state) {
    ubr_set_reflections_param(&renderer.r, UBR_REFLECTIONS_MODE, mode);
    ubr_set_reflections_param(&renderer.r, UBR_REFLECTIONS_MODE, 0.0f);
  }
}
BENCHMARK(SelectMode)->DenseRange(1, 4)->Unit(benchmark::kMicrosecond);

// Range: mode.
void Reflect(benchmark::State& state) {
  Renderer renderer;
  const auto mode = static_cast<float>(state.range(0));
  ubr_set_reflections_param(&renderer.r, UBR_REFLECTIONS_MODE, mode);
  ubr_compute_reflections(&renderer.r);
  const Planar input = planar_noise(25, kFrames, 1);
  Planar output(25, kFrames);
  for (auto _ : state) {
    ubr_process_reflections(renderer.r.reflections, input.data(), output.data(), kFrames);
  }
  report_realtime(state, kFrames);
}
BENCHMARK(Reflect)->DenseRange(1, 4)->Unit(benchmark::kMicrosecond);

// Range: decay time in milliseconds.
void Reverberate(benchmark::State& state) {
  Renderer renderer;
  const float decay_s = static_cast<float>(state.range(0)) * 0.001f;
  ubr_set_reverb_param(&renderer.r, UBR_REVERB_DECAY, decay_s);
  const Planar input = planar_noise(1, kFrames, 1);
  Planar output(2, kFrames);
  for (auto _ : state) {
    ubr_process_reverb(renderer.r.reverb, input.data()[0], output.data(), kFrames);
  }
  report_realtime(state, kFrames);
}
BENCHMARK(Reverberate)->Arg(250)->Arg(1000)->Arg(2000)->Unit(benchmark::kMicrosecond);

}  // namespace
