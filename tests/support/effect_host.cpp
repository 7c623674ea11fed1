// SPDX-License-Identifier: Apache-2.0
#include "tests/support/effect_host.h"

#include <string.h>

#include <algorithm>

#include "base/limits.h"

effect_config_t stream_config(uint32_t mask, uint8_t access_mode) {
  effect_config_t config = {};
  config.inputCfg.samplingRate = config.outputCfg.samplingRate = ORVANE_SAMPLE_RATE;
  config.inputCfg.channels = mask;
  config.outputCfg.channels = AUDIO_CHANNEL_OUT_STEREO;
  config.inputCfg.format = config.outputCfg.format = AUDIO_FORMAT_PCM_FLOAT;
  config.inputCfg.accessMode = EFFECT_BUFFER_ACCESS_READ;
  config.outputCfg.accessMode = access_mode;
  config.inputCfg.mask = config.outputCfg.mask = EFFECT_CONFIG_ALL;
  return config;
}

EffectHost::EffectHost() : create_result_(AELI.create_effect(&kOrvaneUuid, 0, 0, &handle_)) {}

EffectHost::~EffectHost() {
  if (handle_) AELI.release_effect(handle_);
}

int32_t EffectHost::command(uint32_t code, uint32_t size, void* data, uint32_t* reply_size,
                            void* reply) {
  return (*handle_)->command(handle_, code, size, data, reply_size, reply);
}

int32_t EffectHost::send(uint32_t code, uint32_t size, void* data) {
  int32_t status = 1;  // never replied
  uint32_t reply_size = sizeof(status);
  const int32_t result = command(code, size, data, &reply_size, &status);
  return result != 0 ? result : status;
}

int32_t EffectHost::configure(uint32_t mask, uint8_t access_mode) {
  effect_config_t config = stream_config(mask, access_mode);
  return send(EFFECT_CMD_SET_CONFIG, sizeof(config), &config);
}

int32_t EffectHost::configure_and_enable(uint32_t mask, uint8_t access_mode) {
  const int32_t status = configure(mask, access_mode);
  return status != 0 ? status : send(EFFECT_CMD_ENABLE);
}

int32_t EffectHost::set_parameter(int32_t id, const std::vector<uint8_t>& value, uint32_t vsize) {
  std::vector<uint8_t> data(16 + value.size());
  const uint32_t head[4] = {0, 4, vsize, static_cast<uint32_t>(id)};
  memcpy(data.data(), head, sizeof(head));
  std::ranges::copy(value, data.begin() + 16);
  return send(EFFECT_CMD_SET_PARAM, static_cast<uint32_t>(data.size()), data.data());
}

int32_t EffectHost::set_float(int32_t id, float value) {
  std::vector<uint8_t> bytes(sizeof(value));
  memcpy(bytes.data(), &value, sizeof(value));
  return set_parameter(id, bytes, sizeof(value));
}

int32_t EffectHost::set_pose(float x, float y, float z) {
  const float pose[6] = {0.0f, 0.0f, 0.0f, x, y, z};
  std::vector<uint8_t> value(sizeof(pose));
  memcpy(value.data(), pose, sizeof(pose));
  return set_parameter(SPATIALIZER_PARAM_HEAD_TO_STAGE, value, sizeof(pose));
}

int32_t EffectHost::process(std::vector<float>& in, std::vector<float>& out) {
  audio_buffer_t in_buffer = {out.size() / 2, {in.data()}};
  audio_buffer_t out_buffer = {out.size() / 2, {out.data()}};
  return (*handle_)->process(handle_, &in_buffer, &out_buffer);
}

std::vector<float> EffectHost::render(const std::vector<float>& in, size_t channels,
                                      const std::vector<size_t>& blocks) {
  const size_t frames = in.size() / channels;
  std::vector<float> rendered;
  for (size_t start = 0, i = 0; start < frames; ++i) {
    const size_t length = std::min(blocks[i % blocks.size()], frames - start);
    const auto first = in.begin() + static_cast<ptrdiff_t>(start * channels);
    std::vector<float> block_in(first, first + static_cast<ptrdiff_t>(length * channels));
    std::vector<float> block_out(2 * length);
    if (process(block_in, block_out) != 0) return {};
    rendered.insert(rendered.end(), block_out.begin(), block_out.end());
    start += length;
  }
  return rendered;
}
