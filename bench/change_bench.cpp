// SPDX-License-Identifier: Apache-2.0
// What happens between blocks of a 7.1.4 bed: start, commands and parameters, each through the
// effect. All but start and the reverb's parameters hold the lock that a block needs, so a block
// may have to wait for as long.
#include <string>
#include <vector>

#include "bench/effect_scene.h"
#include "bench/measure.h"
#include "tests/support/signals.h"

namespace {

constexpr const orvane_layout_t& kLayout = layout_named("7.1.4");
constexpr int32_t kIgnored = 7;  // accepted, without taking the lock

// Create, configure, enable, the longest block, release.
void start(Run& run) {
  std::vector<float> in = noise(size_t{kLayout.num_channels} * ORVANE_MAX_FRAME_SIZE, 1);
  std::vector<float> out(size_t{2} * ORVANE_MAX_FRAME_SIZE);
  bool ok = true;
  measure(run, 0, [&] {
    EffectHost effect;
    ok &= effect.configure_and_enable(kLayout.mask) == 0 && effect.process(in, out) == 0;
  });
  if (!ok) run.state.SkipWithError("the effect refused to start");
}

void turn_head(Run& run) {
  EffectHost effect;
  bool ok = effect.configure_and_enable(kLayout.mask) == 0;
  TurningHead head;
  measure(run, 0, [&] { ok &= head.turn(effect) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a pose");
}

// One setting of `id` after another, values taken in turn, with the reflections in `mode`.
void set_parameter(Run& run, int32_t id, const std::vector<float>& values, float mode) {
  EffectHost effect;
  bool ok = effect.configure_and_enable(kLayout.mask) == 0 &&
            set_float(effect, kReflectionsMode, mode) == 0;
  size_t turn = 0;
  measure(run, 0, [&] { ok &= set_float(effect, id, values[turn++ % values.size()]) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a parameter");
}

void reset(Run& run) {
  EffectHost effect;
  bool ok = effect.configure_and_enable(kLayout.mask) == 0;
  measure(run, 0,
          [&] { ok &= effect.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a reset");
}

void configure(Run& run) {
  EffectHost effect;
  bool ok = true;
  measure(run, 0, [&] { ok &= effect.configure(kLayout.mask) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a configuration");
}

// The longest tail with the densest pulses.
void set_dense_reverb(Run& run) {
  EffectHost effect;
  bool ok = effect.configure_and_enable(kLayout.mask) == 0 &&
            set_float(effect, kReverbSpacing, 3.0f) == 0;
  measure(run, 0, [&] { ok &= set_float(effect, kReverbDecay, 2.0f) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a parameter");
}

}  // namespace

void add_change_benchmarks() {
  add_benchmark("change/start", start);
  add_benchmark("change/configure", configure);
  add_benchmark("change/reset", reset);
  add_benchmark("change/ignored", [](Run& r) { set_parameter(r, kIgnored, {0.0f}, 0.0f); });
  add_benchmark("change/pose", turn_head);
  add_benchmark("change/reverb/0.25s",
                [](Run& r) { set_parameter(r, kReverbDecay, {0.25f}, 0.0f); });
  add_benchmark("change/reverb/2s", [](Run& r) { set_parameter(r, kReverbDecay, {2.0f}, 0.0f); });
  add_benchmark("change/reverb/2s-dense", set_dense_reverb);
  add_benchmark("change/reflections", [](Run& r) {
    set_parameter(r, kReflectionsMode, {3.0f, 4.0f}, 4.0f);
  });
  for (const int mode : {1, 2, 3, 4}) {
    add_benchmark("change/room/" + std::to_string(mode), [=](Run& r) {
      set_parameter(r, kRoomLength, {5.0f, 6.0f}, static_cast<float>(mode));
    });
  }
}
