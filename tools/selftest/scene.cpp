// SPDX-License-Identifier: Apache-2.0
#include "tools/selftest/scene.h"

#include <math.h>
#include <stdlib.h>
#include <time.h>

#include "renderer/parameters.h"

namespace selftest {
namespace {

constexpr uint32_t kMostChannels = 24;

// The same numbers from -1 to 1 on every machine.
class Noise {
 public:
  explicit Noise(uint32_t seed) : state_(seed) {}
  float next() {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<float>(static_cast<int32_t>(state_ >> 8) - (1 << 23)) * 0x1p-23f;
  }

 private:
  uint32_t state_;
};

bool set_scene(effect_client::Effect* effect, Scene scene) {
  const int32_t tail = orvane_reverb_parameter(UBR_REVERB_ENABLE)->number;
  const int32_t reflections = orvane_reflections_parameter(UBR_REFLECTIONS_MODE)->number;
  const float ahead[6] = {}, turned[6] = {0.0f, 0.0f, 0.0f, 0.1f, -0.2f, 0.5f};
  if (scene == kDry) return effect->set_parameter(tail, 0.0f) && effect->set_head_to_stage(ahead);
  return effect->set_parameter(reflections, 2.0f) && effect->set_head_to_stage(turned);
}

double now_us() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

int ascending(const void* a, const void* b) {
  const double x = *static_cast<const double*>(a), y = *static_cast<const double*>(b);
  return (x > y) - (x < y);
}

void add_sums(const float* ears, Noise* known, double* sums) {
  for (uint32_t t = 0; t < kBlockFrames; ++t) {
    const float references[] = {known->next(), known->next(), known->next()};
    for (uint32_t ear = 0; ear < 2; ++ear) {
      const double sample = static_cast<double>(ears[2 * t + ear]);
      double* const of_ear = sums + ear * kNumSums / 2;
      of_ear[0] += sample * sample;
      for (uint32_t k = 0; k < 3; ++k) of_ear[1 + k] += sample * static_cast<double>(references[k]);
    }
  }
}

}  // namespace

const char* render(const audio_effect_library_t& library, const orvane_layout_t& layout,
                   Scene scene, Outcome* outcome) {
  static float bed[kBlockFrames * kMostChannels], ears[2 * kBlockFrames];
  double times[kNumBlocks];
  effect_client::Effect effect(library);
  if (!effect.exists()) return "is not created";
  if (!effect.configure(layout.mask) || !effect.enable()) return "refuses the layout";
  if (!set_scene(&effect, scene)) return "refuses a parameter";

  *outcome = {};
  Noise noise(1), known(2);
  for (double& time : times) {
    for (uint32_t i = 0; i < kBlockFrames * layout.num_channels; ++i) bed[i] = 0.1f * noise.next();
    const double begin = now_us();
    if (!effect.process(bed, ears, kBlockFrames)) return "refuses a block";
    time = now_us() - begin;
    add_sums(ears, &known, outcome->sums);
  }
  constexpr double kSamples = double{kNumBlocks} * kBlockFrames;
  for (uint32_t i = 0; i < kNumSums; ++i) {
    double& sum = outcome->sums[i];
    sum = i % (kNumSums / 2) == 0 ? sqrt(sum / kSamples) : sum / sqrt(kSamples);
  }
  qsort(times, kNumBlocks, sizeof(times[0]), ascending);
  outcome->median_us = times[kNumBlocks / 2];
  outcome->worst_us = times[kNumBlocks - 1];
  return nullptr;
}

}  // namespace selftest
