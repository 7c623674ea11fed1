// Time that each stage of a fourth-order block takes.
#include <benchmark/benchmark.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"
#include "bench/realtime.h"
#include "tests/support/signals.h"

namespace {

constexpr uint32_t kOrder = 4;
constexpr uint32_t kChannels = 25;
constexpr uint32_t kMaxFrameSize = 1024;
constexpr float kPoses[2][3] = {{0.1f, 0.0f, 0.3f}, {0.0f, 0.2f, -0.3f}};

struct Base {
  ambisonics_base_t base = {};
  Base() { ambisonics_base_init(&base, {kOrder, 0, 0, kChannels}); }
  ~Base() { ambisonics_base_cleanup(&base); }
};

struct Rotator : Base {
  rotator_t rotator = {};
  Rotator() { rotator_init(&rotator, &base, kMaxFrameSize); }
  ~Rotator() { rotator_cleanup(&rotator); }
};

// Range: sources, frames.
void Encode(benchmark::State& state) {
  const auto sources = static_cast<uint32_t>(state.range(0));
  const auto frames = static_cast<uint32_t>(state.range(1));
  const Base base;
  encoder_t encoder = {};
  encoder_init(&encoder, &base.base, sources, kMaxFrameSize);
  const Planar input = planar_noise(sources, frames, 1);
  Planar field(kChannels, frames);
  for (auto _ : state) encoder_process(&encoder, input.data(), field.data(), frames, 0);
  encoder_cleanup(&encoder);
  report_realtime(state, frames);
}
BENCHMARK(Encode)->Args({12, 1024})->Args({24, 1024});

void SetOrientation(benchmark::State& state) {
  Rotator r;
  size_t turn = 0;
  for (auto _ : state) {
    rotator_set_orientation(&r.rotator, kPoses[turn ^= 1], ROTATOR_ROTATION_VECTOR);
  }
}
BENCHMARK(SetOrientation);

// Range: frames, and whether the head turns before every block.
void Rotate(benchmark::State& state) {
  const auto frames = static_cast<uint32_t>(state.range(0));
  const bool turns = state.range(1) != 0;
  Rotator r;
  const Planar input = planar_noise(kChannels, frames, 2);
  Planar output(kChannels, frames);
  size_t turn = 0;
  for (auto _ : state) {
    if (turns) rotator_set_orientation(&r.rotator, kPoses[turn ^= 1], ROTATOR_ROTATION_VECTOR);
    rotator_process(&r.rotator, input.data(), output.data(), frames);
  }
  report_realtime(state, frames);
}
BENCHMARK(Rotate)->Args({1024, 0})->Args({1024, 1});

// Range: frames of a block, which is also the maximum, as it decides the transform's length.
void Binauralize(benchmark::State& state) {
  const auto frames = static_cast<uint32_t>(state.range(0));
  binauralizer_t binauralizer = {};
  binauralizer_init(&binauralizer, kOrder, static_cast<int32_t>(frames));
  const Planar field = planar_noise(kChannels, frames, 3);
  Planar ears(2, frames);
  for (auto _ : state) binauralizer_process(&binauralizer, field.data(), ears.data(), frames);
  binauralizer_cleanup(&binauralizer);
  report_realtime(state, frames);
}
BENCHMARK(Binauralize)->Arg(1024)->Arg(480)->Arg(256);

}  // namespace
