// SPDX-License-Identifier: Apache-2.0
// The defaults of a context, the channel count of a mask, and the release of the planar buffers.
#include <errno.h>

#include "base/limits.h"
#include "base/memory.h"
#include "effect/orvane.h"
#include "platform/log.h"

namespace {

// The two highest bits of a channel mask say what the others stand for.
constexpr uint32_t kRepresentationShift = 30;
constexpr uint32_t kPositions = 0;
constexpr uint32_t kIndices = 2;
constexpr uint32_t kPositionBits = 0x33FFFFFF;  // the positions that exist
constexpr uint32_t kIndexBits = 0x3FFFFFFF;

buffer_config_t default_buffer_config(uint32_t channels, uint8_t access_mode) {
  buffer_config_t config = {};
  config.samplingRate = ORVANE_SAMPLE_RATE;
  config.channels = channels;
  config.format = AUDIO_FORMAT_PCM_FLOAT;
  config.accessMode = access_mode;
  config.mask = EFFECT_CONFIG_ALL;
  return config;
}

}  // namespace

int32_t orvane_Init(orvane_module_s* module) {
  ORVANE_LOGI("orvane_Init module %p", static_cast<void*>(module));
  orvane_object_t* object = &module->object;
  const ScopedLock lock(&object->mutex);
  object->lock = nullptr;
  module->config = {
      .inputCfg = default_buffer_config(AUDIO_CHANNEL_OUT_7POINT1, EFFECT_BUFFER_ACCESS_READ),
      .outputCfg =
          default_buffer_config(AUDIO_CHANNEL_OUT_STEREO, EFFECT_BUFFER_ACCESS_ACCUMULATE)};
  orvane_deallocateBuffers(object, object->buffer_channels);

  if (!object->renderer) {
    ORVANE_LOGI("Allocating orvane renderer");
    object->renderer = alloc_zeroed<ubr_t>();
    if (!object->renderer) {
      ORVANE_LOGE("Failed to allocate orvane memory");
      return -1;
    }
  }
  if (const int32_t code = orvane_check_config(&module->config)) {
    ORVANE_LOGE("orvane_Init error %d on module %p", code, static_cast<void*>(module));
    return code;
  }
  object->channel_count =
      static_cast<uint8_t>(orvane_channel_count(module->config.inputCfg.channels));
  orvane_set_state(module, ORVANE_STATE_INITIALIZED);
  return 0;
}

int32_t orvane_channel_count(uint32_t mask) {
  switch (mask >> kRepresentationShift) {
    case kPositions:
      return __builtin_popcount(mask & kPositionBits);
    case kIndices:
      return __builtin_popcount(mask & kIndexBits);
    default:
      return 0;
  }
}

void orvane_deallocateBuffers(orvane_object_t* object, int32_t channels) {
  if (object->in_buffers) {
    for (int32_t c = 0; c < channels; ++c) release(object->in_buffers[c]);
    release(object->in_buffers);
    object->in_frames = 0;
  }
  if (object->out_buffers) {
    release(object->out_buffers[0], object->out_buffers[1], object->out_buffers);
    object->out_frames = 0;
  }
}
