// SPDX-License-Identifier: Apache-2.0
// The audio effect interface of the platform: from the platform's own headers where the compiler
// finds them, otherwise from our declaration of the same binary interface.
#ifndef ORVANE_PLATFORM_EFFECT_ABI_H_
#define ORVANE_PLATFORM_EFFECT_ABI_H_

#include <assert.h>
#include <stddef.h>

#include "base/processor.h"

#ifdef __has_include
#if __has_include(<hardware/audio_effect.h>) && \
    __has_include(<system/audio_effects/effect_spatializer.h>)
#define ORVANE_HAS_PLATFORM_EFFECT_HEADERS 1
#endif
#endif

#ifdef ORVANE_HAS_PLATFORM_EFFECT_HEADERS
#include <hardware/audio_effect.h>
#include <system/audio_effects/effect_spatializer.h>
#else
#include "platform/effect_abi_declared.h"
#endif

// Callers were compiled against these sizes and offsets (64-bit pointers), and recorded parameter
// blobs hold these values, whichever header declared them.
static_assert(sizeof(effect_uuid_t) == 16, "effect_uuid_t");
static_assert(sizeof(effect_descriptor_t) == 172, "effect_descriptor_t");
static_assert(offsetof(effect_descriptor_t, apiVersion) == 32, "effect_descriptor_t");
static_assert(offsetof(effect_descriptor_t, name) == 44, "effect_descriptor_t");
static_assert(offsetof(effect_descriptor_t, implementor) == 108, "effect_descriptor_t");
static_assert(sizeof(audio_buffer_t) == 16, "audio_buffer_t");
static_assert(offsetof(audio_buffer_t, raw) == 8, "audio_buffer_t");
static_assert(sizeof(buffer_config_t) == 56, "buffer_config_t");
static_assert(offsetof(buffer_config_t, samplingRate) == 16, "buffer_config_t");
static_assert(offsetof(buffer_config_t, channels) == 20, "buffer_config_t");
static_assert(offsetof(buffer_config_t, format) == 48, "buffer_config_t");
static_assert(offsetof(buffer_config_t, accessMode) == 49, "buffer_config_t");
static_assert(offsetof(buffer_config_t, mask) == 50, "buffer_config_t");
static_assert(sizeof(effect_config_t) == 112, "effect_config_t");
static_assert(offsetof(effect_config_t, outputCfg) == 56, "effect_config_t");
static_assert(sizeof(effect_param_t) == 12, "effect_param_t");
static_assert(offsetof(effect_param_t, psize) == 4, "effect_param_t");
static_assert(offsetof(effect_param_t, vsize) == 8, "effect_param_t");
static_assert(sizeof(struct effect_interface_s) == 32, "effect_interface_s");
static_assert(offsetof(struct effect_interface_s, command) == 8, "effect_interface_s");
static_assert(offsetof(struct effect_interface_s, get_descriptor) == 16, "effect_interface_s");
static_assert(offsetof(audio_effect_library_t, create_effect) == 24, "audio_effect_library_t");
static_assert(offsetof(audio_effect_library_t, get_descriptor) == 40, "audio_effect_library_t");

static_assert(AUDIO_EFFECT_LIBRARY_TAG == 0x41454C54, "the letters AELT");
static_assert(EFFECT_CMD_SET_INPUT_DEVICE == 13, "the last command we know");
static_assert(EFFECT_BUFFER_ACCESS_ACCUMULATE == 2, "access modes");
static_assert(EFFECT_CONFIG_ALL == 0x1F, "fields of a complete configuration");
static_assert(SPATIALIZER_PARAM_HEAD_TO_STAGE == 6, "parameter ids");
static_assert(AUDIO_FORMAT_PCM_FLOAT == 5, "sample formats");

#endif  // ORVANE_PLATFORM_EFFECT_ABI_H_
