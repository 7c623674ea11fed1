// SPDX-License-Identifier: Apache-2.0
// Whole blocks through the effect, driven as the platform drives it. The program is linked with the
// log of the tests, which drops the messages.
#include <string>
#include <vector>

#include "bench/effect_scene.h"
#include "bench/heap_use.h"
#include "bench/measure.h"
#include "tests/support/signals.h"

namespace {

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
void run_blocks(Run& run, const orvane_layout_t& layout, const Room& room, bool turning,
                uint32_t frames) {
  std::vector<float> in = noise(size_t{frames} * layout.num_channels, 1);
  std::vector<float> out(2 * frames);
  const int64_t heap_before = heap_use().bytes;
  EffectHost effect;
  bool ok = set_up(effect, layout.mask, room) && effect.process(in, out) == 0;
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
  for (const orvane_layout_t& layout : orvane_layouts) {
    for (const Room& room : kRooms) {
      for (const bool turning : {true, false}) {
        for (const uint32_t frames : kBlockLengths) {
          const std::string name = std::string("block/") + layout.name + "/" + room.name +
                                   (turning ? "/turning/" : "/rest/") + std::to_string(frames);
          add_benchmark(name, [=](Run& r) { run_blocks(r, layout, room, turning, frames); });
        }
      }
    }
  }
}
