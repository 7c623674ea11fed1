// SPDX-License-Identifier: Apache-2.0
#include "tools/selftest/effect.h"

#include <dlfcn.h>
#include <string.h>

#include "base/limits.h"
#include "effect/uuid.h"

namespace selftest {
namespace {

constexpr uint32_t kLibraryApiMajor = 3;

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

const audio_effect_library_t* load_library(const char* path, const char** why) {
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    *why = dlerror();
    return nullptr;
  }
  const auto* record = static_cast<const audio_effect_library_t*>(dlsym(library, "AELI"));
  if (!record || record->tag != AUDIO_EFFECT_LIBRARY_TAG) {
    *why = "it is not an audio effect library";
    return nullptr;
  }
  if (record->version >> 16 != kLibraryApiMajor) {
    *why = "its effect interface has another version";
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

bool Effect::start(uint32_t mask) {
  effect_config_t config = {};
  config.inputCfg = stream(mask, EFFECT_BUFFER_ACCESS_READ);
  config.outputCfg = stream(AUDIO_CHANNEL_OUT_STEREO, EFFECT_BUFFER_ACCESS_WRITE);
  return send(EFFECT_CMD_SET_CONFIG, sizeof(config), &config) &&
         send(EFFECT_CMD_ENABLE, 0, nullptr);
}

bool Effect::set_head(float x, float y, float z) {
  const float pose[6] = {0.0f, 0.0f, 0.0f, x, y, z};
  return set(SPATIALIZER_PARAM_HEAD_TO_STAGE, pose, sizeof(pose));
}

bool Effect::set_parameter(int32_t id, float value) { return set(id, &value, sizeof(value)); }

bool Effect::process(float* bed, float* ears, uint32_t frames) {
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
  const uint32_t head[4] = {0, sizeof(id), size, static_cast<uint32_t>(id)};
  uint8_t data[sizeof(head) + 6 * sizeof(float)];
  if (size > sizeof(data) - sizeof(head)) return false;
  memcpy(data, head, sizeof(head));
  memcpy(data + sizeof(head), value, size);
  return send(EFFECT_CMD_SET_PARAM, static_cast<uint32_t>(sizeof(head) + size), data);
}

}  // namespace selftest
