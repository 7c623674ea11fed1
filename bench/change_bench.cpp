// What happens between blocks of a 7.1.4 bed: start and parameters, each through the effect. A pose
// or a parameter of the room holds the lock that a block needs, so a block may have to wait for as
// long.
#include <string>
#include <vector>

#include "bench/effect_scene.h"
#include "bench/measure.h"
#include "tests/support/signals.h"

namespace {

constexpr uint32_t kMask = AUDIO_CHANNEL_OUT_7POINT1POINT4;

// Create, configure, enable, the first block of 1024 samples, release.
void start(Run& run) {
  std::vector<float> in = noise(12 * 1024, 1);
  std::vector<float> out(2 * 1024);
  bool ok = true;
  measure(run, 0, [&] {
    EffectHost effect;
    ok &= effect.configure_and_enable(kMask) == 0 && effect.process(in, out) == 0;
  });
  if (!ok) run.state.SkipWithError("the effect refused to start");
}

void turn_head(Run& run) {
  EffectHost effect;
  bool ok = effect.configure_and_enable(kMask) == 0;
  TurningHead head;
  measure(run, 0, [&] { ok &= head.turn(effect) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a pose");
}

// One setting of `id` after another, values taken in turn, with the reflections in `mode`.
void set_parameter(Run& run, int32_t id, const std::vector<float>& values, float mode) {
  EffectHost effect;
  bool ok =
      effect.configure_and_enable(kMask) == 0 && set_float(effect, kReflectionsMode, mode) == 0;
  size_t turn = 0;
  measure(run, 0, [&] { ok &= set_float(effect, id, values[turn++ % values.size()]) == 0; });
  if (!ok) run.state.SkipWithError("the effect refused a parameter");
}

}  // namespace

void add_change_benchmarks() {
  add_benchmark("change/start", start);
  add_benchmark("change/pose", turn_head);
  add_benchmark("change/reverb/0.25s",
                [](Run& r) { set_parameter(r, kReverbDecay, {0.25f}, 0.0f); });
  add_benchmark("change/reverb/2s", [](Run& r) { set_parameter(r, kReverbDecay, {2.0f}, 0.0f); });
  for (const int mode : {1, 2, 3, 4}) {
    add_benchmark("change/room/" + std::to_string(mode), [=](Run& r) {
      set_parameter(r, kRoomLength, {5.0f, 6.0f}, static_cast<float>(mode));
    });
  }
}
