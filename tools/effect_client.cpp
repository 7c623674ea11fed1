// SPDX-License-Identifier: Apache-2.0
#include "tools/effect_client.h"

#include <string.h>

#include "base/limits.h"
#include "effect/uuid.h"
#include "tools/dynamic_library.h"

namespace effect_client {
namespace {

constexpr uint32_t kLibraryApiMajor = 3;
constexpr uint32_t kPoseBytes = 6 * sizeof(float);  // the longest value of a parameter

buffer_config_t stream(uint32_t mask, uint8_t access_mode) {
  buffer_config_t config = {};
  config.samplingRate = ORVANE_SAMPLE_RATE;
  config.channels = mask;
  config.format = AUDIO_FORMAT_PCM_FLOAT;
  config.accessMode = access_mode;
  config.mask = EFFECT_CONFIG_ALL;
  return config;
}

}  // namespace

const audio_effect_library_t* find_record(void* library, const char** why) {
  const auto* record = static_cast<const audio_effect_library_t*>(dlsym(library, "AELI"));
  if (!record || record->tag != AUDIO_EFFECT_LIBRARY_TAG) {
    *why = "is not an audio effect library";
    return nullptr;
  }
  if (record->version >> 16 != kLibraryApiMajor) {
    *why = "has an effect library interface of another version";
    return nullptr;
  }
  return record;
}

Effect::Effect(const audio_effect_library_t& library) : library_(library) {
  if (library.create_effect(&orvane_uuid, 0, 0, &handle_) != 0) handle_ = nullptr;
}

Effect::~Effect() {
  if (handle_) library_.release_effect(handle_);
}

bool Effect::configure(uint32_t mask) {
  effect_config_t config = {};
  config.inputCfg = stream(mask, EFFECT_BUFFER_ACCESS_READ);
  config.outputCfg = stream(AUDIO_CHANNEL_OUT_STEREO, EFFECT_BUFFER_ACCESS_WRITE);
  return send(EFFECT_CMD_SET_CONFIG, sizeof(config), &config);
}

bool Effect::enable() { return send(EFFECT_CMD_ENABLE, 0, nullptr); }

bool Effect::disable() { return send(EFFECT_CMD_DISABLE, 0, nullptr); }

bool Effect::set_head_to_stage(const float pose[6]) {
  return set(SPATIALIZER_PARAM_HEAD_TO_STAGE, pose, kPoseBytes);
}

bool Effect::set_parameter(int32_t id, float value) { return set(id, &value, sizeof(value)); }

bool Effect::process(float* bed, float* ears, size_t frames) {
  audio_buffer_t in = {}, out = {};
  in.frameCount = out.frameCount = frames;
  in.f32 = bed;
  out.f32 = ears;
  return (*handle_)->process(handle_, &in, &out) == 0;
}

bool Effect::send(uint32_t code, uint32_t size, void* data) {
  int32_t status = -1;
  uint32_t reply_size = sizeof(status);
  return (*handle_)->command(handle_, code, size, data, &reply_size, &status) == 0 && status == 0;
}

bool Effect::set(int32_t id, const void* value, uint32_t size) {
  effect_param_t head = {};
  head.psize = sizeof(id);
  head.vsize = size;
  uint8_t data[sizeof(head) + sizeof(id) + kPoseBytes];
  memcpy(data, &head, sizeof(head));
  memcpy(data + sizeof(head), &id, sizeof(id));
  memcpy(data + sizeof(head) + sizeof(id), value, size);
  return send(EFFECT_CMD_SET_PARAM, static_cast<uint32_t>(sizeof(head) + sizeof(id)) + size, data);
}

}  // namespace effect_client
