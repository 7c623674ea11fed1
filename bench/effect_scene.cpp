// SPDX-License-Identifier: Apache-2.0
#include "bench/effect_scene.h"

#include <math.h>
#include <string.h>

int32_t set_float(EffectHost& effect, int32_t id, float value) {
  std::vector<uint8_t> bytes(sizeof(value));
  memcpy(bytes.data(), &value, sizeof(value));
  return effect.set_parameter(id, bytes, sizeof(value));
}

TurningHead::TurningHead() {
  constexpr uint32_t kPoses = 120;
  constexpr float kDegree = 0.017453293f;
  for (uint32_t i = 0; i < kPoses; ++i) {
    const float block = static_cast<float>(i);
    const float nod = 15.0f * kDegree * sinf(0.037f * block + 1.0f);
    const float lean = 8.0f * kDegree * sinf(0.029f * block + 2.0f);
    const float yaw = (3.0f * block - 180.0f) * kDegree;
    commands_.push_back(
        {{0, sizeof(int32_t), sizeof(PoseCommand::pose), SPATIALIZER_PARAM_HEAD_TO_STAGE},
         {0.0f, 0.0f, 0.0f, nod, lean, yaw}});
  }
}

int32_t TurningHead::turn(EffectHost& effect) {
  PoseCommand& command = commands_[next_++ % commands_.size()];
  return effect.send(EFFECT_CMD_SET_PARAM, sizeof(command), &command);
}
