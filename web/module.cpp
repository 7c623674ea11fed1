// SPDX-License-Identifier: Apache-2.0
// What the WebAssembly module exports: one renderer with the loudspeakers of a layout, set up and
// placed as the effect does it. JavaScript writes samples to and reads them from the module's
// memory. web/package/renderer.js is the only caller.
#include <stdint.h>

#include "ambisonics/binauralizer.h"
#include "base/limits.h"
#include "base/result.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"
#include "renderer/ubr.h"

#define EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace {

constexpr uint32_t kMostChannels = [] {
  uint32_t most = 0;
  for (const orvane_layout_t& layout : orvane_layouts) {
    if (layout.num_channels > most) most = layout.num_channels;
  }
  return most;
}();

ubr_t renderer;
float bed[kMostChannels][ORVANE_MAX_FRAME_SIZE];
float ears[2][ORVANE_MAX_FRAME_SIZE];
float responses[2][BINAURALIZER_TAPS * BINAURALIZER_RESPONSE_CHANNELS];

void place_loudspeakers(const orvane_layout_t& layout) {
  for (uint32_t i = 0; i < layout.num_channels; ++i) {
    const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
    ubr_set_source_type(&renderer, i,
                        speaker.is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER);
    ubr_set_source_position(&renderer, i, speaker.x, speaker.y, speaker.z);
  }
}

}  // namespace

// Makes a new renderer for a row of orvane_layouts, in place of the one before.
// Returns UBR_OK, UBR_INVALID for a row that does not exist, or ubr_init's code.
EXPORT(orvane_web_init) uint32_t orvane_web_init(uint32_t layout_index) {
  if (layout_index >= ORVANE_NUM_LAYOUTS) return UBR_INVALID;
  const orvane_layout_t& layout = orvane_layouts[layout_index];
  ubr_cleanup(&renderer);
  if (const uint32_t code =
          ubr_init(&renderer, UBR_INPUT_SOURCES, layout.num_channels, UBR_MODE_BINAURAL_TRACKED,
                   ORVANE_MAX_FRAME_SIZE, ORVANE_MAX_ORDER)) {
    ubr_cleanup(&renderer);
    return code;
  }
  place_loudspeakers(layout);
  return ubr_reset(&renderer);
}

// Rows of ORVANE_MAX_FRAME_SIZE samples: the channels of the bed, in the layout's order, and the
// left and the right ear.
EXPORT(orvane_web_bed) float* orvane_web_bed() { return bed[0]; }
EXPORT(orvane_web_ears) float* orvane_web_ears() { return ears[0]; }
EXPORT(orvane_web_row) uint32_t orvane_web_row() { return ORVANE_MAX_FRAME_SIZE; }

// Renders `frames` samples of the bed, 1 to orvane_web_row(). Returns ubr_process's code.
EXPORT(orvane_web_process) uint32_t orvane_web_process(uint32_t frames) {
  if (frames == 0) return UBR_INVALID;
  const float* inputs[kMostChannels];
  for (uint32_t i = 0; i < kMostChannels; ++i) inputs[i] = bed[i];
  float* const outputs[2] = {ears[0], ears[1]};
  return ubr_process(&renderer, inputs, renderer.num_inputs, outputs, 2, frames);
}

// The head's turn in the room (+x ahead, +y left, +z up) as a rotation vector in radians.
EXPORT(orvane_web_turn_head) uint32_t orvane_web_turn_head(float x, float y, float z) {
  const float orientation[3] = {x, y, z};
  return ubr_set_user_orientation(&renderer, orientation, ROTATOR_ROTATION_VECTOR);
}

// Sets a parameter by the effect's number. Those of the room and the reflections are heard after
// orvane_web_compute_reflections. Returns UBR_INVALID for an unknown number, or the setter's code.
EXPORT(orvane_web_set_parameter) uint32_t orvane_web_set_parameter(int32_t number, float value) {
  if (!orvane_find_parameter(number)) return UBR_INVALID;
  if (number >= ORVANE_PARAM_REFLECTIONS) {
    return ubr_set_reflections_param(
        &renderer, static_cast<uint32_t>(number - ORVANE_PARAM_REFLECTIONS), value);
  }
  return ubr_set_reverb_param(&renderer, static_cast<uint32_t>(number - ORVANE_PARAM_REVERB),
                              value);
}

EXPORT(orvane_web_compute_reflections) uint32_t orvane_web_compute_reflections() {
  return ubr_compute_reflections(&renderer);
}

// Where the tables of a left and a right ear go, one after the other, as ubr_set_responses has
// them.
EXPORT(orvane_web_responses) float* orvane_web_responses() { return responses[0]; }

// Takes over the tables of so many ears: both, one of a symmetric head, or with 0 the built-in one.
// Returns ubr_set_responses' code.
EXPORT(orvane_web_set_responses) uint32_t orvane_web_set_responses(uint32_t num_ears) {
  return ubr_set_responses(&renderer, num_ears > 0 ? responses[0] : nullptr,
                           num_ears > 1 ? responses[1] : nullptr);
}

// Silences everything that sounds on, and puts the head straight ahead.
EXPORT(orvane_web_reset) uint32_t orvane_web_reset() { return ubr_reset(&renderer); }
