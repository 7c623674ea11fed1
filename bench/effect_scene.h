// SPDX-License-Identifier: Apache-2.0
// What the benchmarks of the effect ask of it.
#ifndef ORVANE_BENCH_EFFECT_SCENE_H_
#define ORVANE_BENCH_EFFECT_SCENE_H_

#include <stdint.h>

#include <vector>

#include "platform/effect_abi.h"
#include "renderer/parameters.h"
#include "tests/support/effect_host.h"

constexpr int32_t kReverbEnable = orvane_reverb_parameter(UBR_REVERB_ENABLE)->number;
constexpr int32_t kReverbSpacing = orvane_reverb_parameter(UBR_REVERB_PULSE_SPACING)->number;
constexpr int32_t kReverbDecay = orvane_reverb_parameter(UBR_REVERB_DECAY)->number;
constexpr int32_t kReflectionsMode = orvane_reflections_parameter(UBR_REFLECTIONS_MODE)->number;
constexpr int32_t kRoomLength = orvane_reflections_parameter(UBR_REFLECTIONS_ROOM_X)->number;

// Sets a vendor parameter; returns the replied status.
int32_t set_float(EffectHost& effect, int32_t id, float value);

// A head that turns by three degrees of yaw between blocks, and nods and leans meanwhile.
class TurningHead {
 public:
  TurningHead();

  // Sets the next pose; returns the replied status. The command is prepared beforehand.
  int32_t turn(EffectHost& effect);

 private:
  struct PoseCommand {
    uint32_t head[4];
    float pose[6];  // translation, rotation vector in radians
  };
  std::vector<PoseCommand> commands_;
  size_t next_ = 0;
};

#endif  // ORVANE_BENCH_EFFECT_SCENE_H_
