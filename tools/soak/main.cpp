// SPDX-License-Identifier: Apache-2.0
// orvane-soak MINUTES: instances of the effect are created, configured for every layout, heard with
// random heads and rooms, and released, one after the other. Fails when the effect logs an error or
// refuses something, when a sample is not finite, and when the resident memory grows.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/host_log.h"
#include "tools/render/parameters.h"
#include "tools/render/text.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kWarmUp = 0.25;       // of the time
constexpr double kMaxDrift = 1 << 20;  // bytes, after the warm-up
constexpr int kBlocksPerLayout = 40;

// What is in use: the heap's free pages are given back first.
double resident_bytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  double total_pages = 0.0, resident_pages = 0.0;
  if (!(file >> total_pages >> resident_pages)) {
    throw render::Failure("/proc/self/statm", "cannot be read");
  }
  return resident_pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

class Soak {
 public:
  // One instance, from creation to release.
  void live() {
    std::vector<render::Layout> layouts = render::layouts();
    std::shuffle(layouts.begin(), layouts.end(), random_);
    render::EffectHost effect(library_, layouts.front().mask);
    for (const render::Layout& layout : layouts) {
      effect.configure(layout.mask);
      for (int i = 0; i < kBlocksPerLayout; ++i) {
        change(effect);
        render_block(effect, layout.rows.size());
      }
    }
    ++instances_;
  }

  // This one is there all the time, so that the library stays loaded.
  void render_companion() {
    const render::Layout& layout = render::layouts().back();
    companion_.configure(layout.mask);
    render_block(companion_, layout.rows.size());
  }

  int instances() const { return instances_; }
  int blocks() const { return blocks_; }

 private:
  double between(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }

  // Now and then a parameter, else a pose or nothing.
  void change(render::EffectHost& effect) {
    const double choice = between(0.0, 1.0);
    if (choice < 0.2) return set_parameter(effect);
    if (choice > 0.6) return;
    std::array<float, 6> pose = {};
    std::generate(pose.begin() + 3, pose.end(), [&] { return static_cast<float>(between(-2, 2)); });
    effect.set_head_to_stage(pose);
  }

  void set_parameter(render::EffectHost& effect) {
    const auto all = render::parameters();
    const render::Parameter& chosen = all[random_() % all.size()];
    // The listener has to be within the smallest room.
    const float limit =
        chosen.limiting ? render::parameter(chosen.limiting).minimum : chosen.maximum;
    const orvane_range_t range = orvane_parameter_range(&chosen, limit);
    const double value =
        between(static_cast<double>(range.minimum), static_cast<double>(range.maximum));
    const bool is_number = chosen.kind == ORVANE_KIND_NUMBER;
    effect.set_parameter(chosen.number, static_cast<float>(is_number ? value : std::round(value)),
                         chosen.name);
  }

  void render_block(render::EffectHost& effect, size_t channels) {
    const size_t frames = random_() % 4 ? 480 : 1 + random_() % render::kEffectMaxFrames;
    bed_.resize(channels * render::kEffectMaxFrames);
    for (float& sample : bed_) sample = static_cast<float>(random_() % 2001) * 1e-3f - 1.0f;
    effect.process(bed_.data(), ears_.data(), frames);
    const bool finite =
        std::all_of(ears_.begin(), ears_.end(), [](float s) { return std::isfinite(s); });
    if (!finite) throw render::Failure("a block", "holds a number that is not finite");
    const std::string error = render::host_log_take_error();
    if (!error.empty()) throw render::Failure("the log", error);
    ++blocks_;
  }

  std::mt19937 random_;
  std::vector<float> bed_, ears_ = std::vector<float>(2 * render::kEffectMaxFrames);
  int instances_ = 0, blocks_ = 0;
  std::string library_ = render::effect_library_find("");
  render::EffectHost companion_{library_, render::layouts().back().mask};
};

// Returns the exit status.
int run(double minutes) {
  const auto start = Clock::now();
  const auto spent = [&] {
    return std::chrono::duration<double>(Clock::now() - start).count() / (60.0 * minutes);
  };
  Soak soak;
  double settled = 0.0, largest = 0.0;
  int settled_instances = 0;
  while (spent() < 1.0) {
    soak.live();
    soak.render_companion();
    const double resident = resident_bytes();
    largest = std::max(largest, resident);
    if (spent() < kWarmUp || settled_instances == 0) {
      settled = largest = resident;
      settled_instances = soak.instances();
    }
  }
  const bool ok = soak.instances() > settled_instances && largest - settled < kMaxDrift;
  std::printf(
      "soak of %g minutes: %d instances, %d blocks, no error logged; resident %.2f MB after %d "
      "instances, then %.3f MB more at most: %s\n",
      minutes, soak.instances(), soak.blocks(), settled * 1e-6, settled_instances,
      (largest - settled) * 1e-6, ok ? "passed" : "FAILED");
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::optional<double> minutes = argc == 2 ? render::text_number(argv[1]) : std::nullopt;
  if (!minutes || *minutes <= 0.0) {
    std::fprintf(stderr, "orvane-soak: takes a number of minutes\n");
    return 2;
  }
  try {
    return run(*minutes);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvane-soak: %s\n", failure.what());
    return 1;
  }
}
