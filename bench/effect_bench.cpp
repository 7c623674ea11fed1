// Whole blocks through the effect, driven as the platform drives it. The program is linked with the
// log of the tests, which drops the messages.
#include <bit>
#include <string>
#include <vector>

#include "bench/effect_scene.h"
#include "bench/heap_use.h"
#include "bench/measure.h"
#include "tests/support/signals.h"

namespace {

struct Layout {
  const char* name;
  uint32_t mask;
};

constexpr Layout kLayouts[] = {
    {"5.1", AUDIO_CHANNEL_OUT_5POINT1},         {"7.1", AUDIO_CHANNEL_OUT_7POINT1},
    {"5.1.2", AUDIO_CHANNEL_OUT_5POINT1POINT2}, {"5.1.4", AUDIO_CHANNEL_OUT_5POINT1POINT4},
    {"7.1.4", AUDIO_CHANNEL_OUT_7POINT1POINT4}, {"22.2", AUDIO_CHANNEL_OUT_22POINT2},
};

struct Room {
  const char* name;
  bool reverb;
  float reflections_mode;
};

constexpr Room kRooms[] = {
    {"dry", false, 0.0f}, {"reverb", true, 0.0f}, {"reflections+reverb", true, 4.0f}};

bool set_up(EffectHost& effect, uint32_t mask, const Room& room) {
  return effect.configure_and_enable(mask) == 0 &&
         (room.reverb || set_float(effect, kReverbEnable, 0.0f) == 0) &&
         set_float(effect, kReflectionsMode, room.reflections_mode) == 0;
}

// The heap is what create, configuration, settings and a first block leave in use.
void run_blocks(Run& run, uint32_t mask, const Room& room, bool turning, uint32_t frames) {
  std::vector<float> in = noise(frames * static_cast<size_t>(std::popcount(mask)), 1);
  std::vector<float> out(2 * frames);
  const int64_t heap_before = heap_use().bytes;
  EffectHost effect;
  bool ok = set_up(effect, mask, room) && effect.process(in, out) == 0;
  if (!ok) return run.state.SkipWithError("the effect refused a setting or its first block");
  run.state.counters["heap_bytes"] = static_cast<double>(heap_use().bytes - heap_before);
  TurningHead head;
  measure(run, frames, [&] {
    if (turning) ok &= head.turn(effect) == 0;
    ok &= effect.process(in, out) == 0;
  });
  if (!ok) run.state.SkipWithError("the effect refused a pose or a block");
}

}  // namespace

void add_effect_benchmarks() {
  for (const Layout& layout : kLayouts) {
    for (const Room& room : kRooms) {
      for (const bool turning : {true, false}) {
        for (const uint32_t frames : {1024u, 480u, 256u, 64u}) {
          const std::string name = std::string("block/") + layout.name + "/" + room.name +
                                   (turning ? "/turning/" : "/rest/") + std::to_string(frames);
          add_benchmark(name, [=](Run& r) { run_blocks(r, layout.mask, room, turning, frames); });
        }
      }
    }
  }
}
