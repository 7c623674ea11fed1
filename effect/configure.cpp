// SPDX-License-Identifier: Apache-2.0
// The configure step: a stream configuration becomes a renderer with its loudspeakers in place.
#include <errno.h>
#include <string.h>

#include "base/result.h"
#include "effect/layouts.h"
#include "effect/orvane.h"
#include "platform/log.h"

namespace {

constexpr uint32_t kUnsupportedBits = 0xFF000000;

// Finds the layout of an input channel mask. Returns 0, or -EINVAL after logging.
int32_t find_layout(uint32_t mask, int32_t* layout_index) {
  if (mask == 0 || (mask & kUnsupportedBits) != 0) {
    if (mask != 0) ORVANE_LOGE("Unsupported channels in %u", mask & kUnsupportedBits);
    ORVANE_LOGE("orvane_Configure error: input channel mask(0x%x) not supported", mask);
    return -EINVAL;
  }
  if (audio_channel_mask_to_LAYOUT_INDEX(mask, layout_index) != 0) {
    ORVANE_LOGE("orvane_Configure error: unsupported audio_channel_mask - LAYOUT_IDX mapping");
    return -EINVAL;
  }
  return 0;
}

// Stores a configuration and builds the renderer anew for it. Returns the renderer's code; after a
// failure the renderer is empty. Blocks wait meanwhile, so each sees either the old configuration
// or the new one.
uint32_t rebuild_renderer(orvane_module_s* module, const effect_config_t& config,
                          int32_t layout_index) {
  orvane_object_t* object = &module->object;
  const ScopedLock lock(&object->mutex);
  module->config = config;
  object->channel_count = static_cast<uint8_t>(orvane_channel_count(config.inputCfg.channels));
  ubr_cleanup(object->renderer);
  if (const uint32_t code =
          ubr_init(object->renderer, UBR_INPUT_SOURCES, object->channel_count,
                   UBR_MODE_BINAURAL_TRACKED, UBR_MAX_FRAME_SIZE, ORVANE_MAX_ORDER)) {
    ubr_cleanup(object->renderer);
    return code;
  }
  orvane_set_layout_sources(object->renderer, layout_index);
  object->lock = &object->mutex;
  orvane_Reset(module);
  return UBR_OK;
}

}  // namespace

int32_t orvane_check_config(const effect_config_t* config) {
  const buffer_config_t* in = &config->inputCfg;
  const buffer_config_t* out = &config->outputCfg;
  if (in->samplingRate == out->samplingRate && out->channels == AUDIO_CHANNEL_OUT_STEREO &&
      in->format == AUDIO_FORMAT_PCM_FLOAT && out->format == AUDIO_FORMAT_PCM_FLOAT) {
    return 0;
  }
  ORVANE_LOGE("orvane_Configure error: invalid config");
  return -EINVAL;
}

int32_t orvane_Configure(orvane_module_s* module, const void* config_data) {
  effect_config_t config;
  memcpy(&config, config_data, sizeof(config));
  if (const int32_t code = orvane_check_config(&config)) return code;

  int32_t layout_index = 0;
  if (const int32_t code = find_layout(config.inputCfg.channels, &layout_index)) {
    // Deliberate: it is stored although its channels have no layout. Blocks now come in this
    // format, and the renderer refuses any other number of channels than its own.
    const ScopedLock lock(&module->object.mutex);
    module->config = config;
    return code;
  }
  ORVANE_LOGI("orvane_Configure: Configuring orvane for input channels %d, Layout index %d",
              orvane_channel_count(config.inputCfg.channels), layout_index);
  if (rebuild_renderer(module, config, layout_index) != UBR_OK) {
    ORVANE_LOGE("orvane_Configure error: Orvane init failed");
    return -EINVAL;
  }
  return 0;
}

void orvane_Reset(orvane_module_s* module) {
  ubr_t* renderer = module->object.renderer;
  if (!renderer) {
    ORVANE_LOGE("orvane_Reset error: orvane reset skip");
  } else if (ubr_reset(renderer) != UBR_OK) {
    ORVANE_LOGE("orvane_Reset error: orvane reset failed");
  }
}
