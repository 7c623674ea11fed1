// SPDX-License-Identifier: Apache-2.0
// The stages of a fourth-order block, each alone, prepared for the longest blocks as the
// effect prepares them.
#include <span>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "renderer/routes/route.h"
#include "renderer/ubr.h"
#include "tests/support/signals.h"

namespace {

constexpr uint32_t kChannels = ORVANE_MAX_CHANNELS;
constexpr float kPoses[2][3] = {{0.1f, 0.0f, 0.3f}, {0.0f, 0.2f, -0.3f}};

// A renderer with everything that the effect's has. Its sources stand straight ahead.
struct Renderer {
  ubr_t r = {};
  explicit Renderer(uint32_t num_sources = 1) {
    ubr_init(&r, UBR_INPUT_SOURCES, num_sources, UBR_MODE_BINAURAL_TRACKED, UBR_MAX_FRAME_SIZE,
             ORVANE_MAX_ORDER);
  }
  ~Renderer() { ubr_cleanup(&r); }
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;
};

// Both passes of a block: the sources of the room, and those that move with the head.
void encode(Run& run, uint32_t sources, uint32_t frames) {
  Renderer renderer(sources);
  const Planar input = planar_noise(sources, frames, 1);
  Planar field(kChannels, frames);
  bool ok = true;
  measure(run, frames, [&] {
    ok &= encoder_process_dynamic(renderer.r.encoder, input.data(), field.data(), frames, 0) == 0;
    ok &= encoder_process_static(renderer.r.encoder, input.data(), field.data(), frames, 1) == 0;
  });
  if (!ok) run.state.SkipWithError("the encoder refused a block");
}

// At rest, or after an orientation set before every block.
void rotate(Run& run, bool turning, uint32_t frames) {
  Renderer renderer;
  const Planar input = planar_noise(kChannels, frames, 2);
  Planar output(kChannels, frames);
  rotator_t* rotator = renderer.r.rotator;
  size_t turn = 0;
  bool ok = true;
  measure(run, frames, [&] {
    if (turning) rotator_set_orientation(rotator, kPoses[turn ^= 1], ROTATOR_ROTATION_VECTOR);
    ok &= rotator_process(rotator, input.data(), output.data(), frames) == 0;
  });
  if (!ok) run.state.SkipWithError("the rotator refused a block");
}

void binauralize(Run& run, uint32_t frames) {
  Renderer renderer;
  const Planar field = planar_noise(kChannels, frames, 3);
  Planar ears(2, frames);
  bool ok = true;
  measure(run, frames, [&] {
    ok &= binauralizer_process(renderer.r.binauralizer, field.data(), ears.data(), frames) == 0;
  });
  if (!ok) run.state.SkipWithError("the binauralizer refused a block");
}

void reflect(Run& run, int mode, uint32_t frames) {
  Renderer renderer;
  ubr_set_reflections_param(&renderer.r, UBR_REFLECTIONS_MODE, static_cast<float>(mode));
  bool ok = ubr_compute_reflections(&renderer.r) == 0;
  const Planar input = planar_noise(kChannels, frames, 4);
  Planar output(kChannels, frames);
  measure(run, frames, [&] {
    ok &= ubr_process_reflections(renderer.r.reflections, input.data(), output.data(), frames) == 0;
  });
  if (!ok) run.state.SkipWithError("the reflections refused a block");
}

constexpr float kSparse = 80.0f, kDense = 3.0f;  // samples per pulse: the default, and the fewest

void reverberate(Run& run, float decay_s, float spacing, uint32_t frames) {
  Renderer renderer;
  bool ok = ubr_set_reverb_param(&renderer.r, UBR_REVERB_PULSE_SPACING, spacing) == 0 &&
            ubr_set_reverb_param(&renderer.r, UBR_REVERB_DECAY, decay_s) == 0;
  const Planar input = planar_noise(1, frames, 5);
  Planar output(2, frames);
  measure(run, frames, [&] {
    ok &= ubr_process_reverb(renderer.r.reverb, input.data()[0], output.data(), frames) == 0;
  });
  if (!ok) run.state.SkipWithError("the reverb refused a block");
}

// A dry block of twelve sources by one route, which is asked first, as the renderer asks it; the
// head turns before the block where the route does not fit a static one. Its ears may differ.
void take_route(Run& run, uint32_t index, bool two_ears, uint32_t frames) {
  Renderer renderer(12);
  ubr_t& r = renderer.r;
  bool ok = ubr_set_reverb_param(&r, UBR_REVERB_ENABLE, 0.0f) == 0;
  if (two_ears) {
    const Planar ears = planar_noise(2, BINAURALIZER_TAPS * BINAURALIZER_RESPONSE_CHANNELS, 7);
    ok &= ubr_set_responses(&r, ears.data()[0], ears.data()[1]) == 0;
  }
  const Planar input = planar_noise(12, frames, 6);
  Planar ears(2, frames);
  const block_t block = {input.data(), ears.data(), frames};
  const route_t& route = *kRoutes[index];
  void* const memory = routes_memory(r, index);
  route.fits(r, block, memory);  // the first block of a static scene fits none but the plain route
  const bool turning = !route.fits(r, block, memory) || &route == &kPlainRoute;
  size_t turn = 0;
  measure(run, frames, [&] {
    if (turning) rotator_set_orientation(r.rotator, kPoses[turn ^= 1], ROTATOR_ROTATION_VECTOR);
    ok &= route.fits(r, block, memory) && route.render(r, block, memory) == 0;
  });
  if (!ok) run.state.SkipWithError("the route refused a block");
}

// Adds `body(run, frames)` for every block length.
template <typename Body>
void add_stage(const std::string& name, Body body) {
  for (const uint32_t frames : kBlockLengths) {
    add_benchmark("stage/" + name + "/" + std::to_string(frames),
                  [=](Run& run) { body(run, frames); });
  }
}

}  // namespace

void add_stage_benchmarks() {
  for (uint32_t i = 0; i < kNumRoutes; ++i) {
    for (const uint32_t frames : std::span(kBlockLengths).first(3)) {
      const std::string name = std::string("route/") + kRoutes[i]->name + "/";
      const std::string length = std::to_string(frames);
      add_benchmark(name + length, [=](Run& run) { take_route(run, i, false, frames); });
      add_benchmark(name + "two-ears/" + length,
                    [=](Run& run) { take_route(run, i, true, frames); });
    }
  }
  add_stage("encode/12", [](Run& run, uint32_t frames) { encode(run, 12, frames); });
  add_stage("encode/24", [](Run& run, uint32_t frames) { encode(run, 24, frames); });
  add_stage("rotate/turning", [](Run& run, uint32_t frames) { rotate(run, true, frames); });
  add_stage("rotate/rest", [](Run& run, uint32_t frames) { rotate(run, false, frames); });
  add_stage("binauralize", binauralize);
  for (const int mode : {1, 2, 3, 4}) {
    add_stage("reflections/" + std::to_string(mode),
              [=](Run& run, uint32_t frames) { reflect(run, mode, frames); });
  }
  struct Tail {
    const char* name;
    float decay_s, spacing;
  };
  for (const Tail& tail :
       {Tail{"0.25s", 0.25f, kSparse}, Tail{"1s", 1.0f, kSparse}, Tail{"2s", 2.0f, kSparse},
        Tail{"0.25s-dense", 0.25f, kDense}, Tail{"2s-dense", 2.0f, kDense}}) {
    add_stage(std::string("reverb/") + tail.name, [=](Run& run, uint32_t frames) {
      reverberate(run, tail.decay_s, tail.spacing, frames);
    });
  }
}
