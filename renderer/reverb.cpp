// SPDX-License-Identifier: Apache-2.0
#include "renderer/reverb.h"

#include <stddef.h>

#include <utility>

#include "base/memory.h"
#include "base/result.h"
#include "renderer/parameters.h"
#include "renderer/reverb_internal.h"
#include "room/velvet_noise_internal.h"

namespace {

constexpr uint32_t kNumOutputs = ORVANE_NUM_EARS;
constexpr float kWetGain = 0.2f;

// Deliberate: hosts number the parameters in another order than the settings are stored in.
constexpr float vn_config_t::*kSlots[UBR_NUM_REVERB_PARAMS] = {
    &vn_config_t::enable,      &vn_config_t::stereo,    &vn_config_t::pulse_spacing,
    &vn_config_t::decay_s,     &vn_config_t::level,     &vn_config_t::pre_delay_ms,
    &vn_config_t::tone_enable, &vn_config_t::tone_gain, &vn_config_t::tone_corner_hz,
    &vn_config_t::tone_slope,
};

}  // namespace

uint32_t reverb_init(ubr_reverb_t* reverb, uint32_t max_frame_size) {
  uint32_t* const generator = reverb->generator;
  if (const uint32_t code = vn_init(&reverb->velvet_noise, &generator)) return code;
  const uint32_t sample_rate = reverb->velvet_noise.supported_rate;
  if (const uint32_t code = vn_set_fs(&reverb->velvet_noise, sample_rate)) return code;
  reverb->num_outputs = kNumOutputs;
  return reverb_set_max_frame_size(reverb, max_frame_size);
}

uint32_t reverb_set_max_frame_size(ubr_reverb_t* reverb, uint32_t max_frame_size) {
  const auto limit = static_cast<uint32_t>(reverb->velvet_noise.max_block_size);
  if (max_frame_size > limit) return UBR_INVALID;
  if (const uint32_t code =
          replace_zeroed(reverb->scratch, size_t{reverb->num_outputs} * max_frame_size)) {
    return code;
  }
  reverb->scratch_frames = max_frame_size;
  return reverb_prepare(reverb);
}

uint32_t reverb_prepare(ubr_reverb_t* reverb) {
  // The longest block, not the last one: a response made for short blocks loses the tail of longer
  // blocks.
  reverb->velvet_noise.block_size = static_cast<int32_t>(reverb->scratch_frames);
  return vn_prepare_to_play(reverb->generator, &reverb->velvet_noise);
}

uint32_t reverb_change_begin(const ubr_reverb_t* reverb, uint32_t id, float value,
                             reverb_change_t* change) {
  if (!reverb) return UBR_MISSING;
  if (id >= UBR_NUM_REVERB_PARAMS ||
      !orvane_parameter_accepts(orvane_reverb_parameter(id), 0.0f, value)) {
    return UBR_INVALID;
  }
  vn_copy_unprepared(reverb->velvet_noise, &change->state);
  change->state.block_size = static_cast<int32_t>(reverb->scratch_frames);
  // Deliberate: a switch keeps its fraction, because the reverberator compares what was sent.
  change->state.settings.*kSlots[id] = value;
  return UBR_OK;
}

void reverb_change_prepare(ubr_reverb_t* reverb, reverb_change_t* change) {
  change->code = vn_prepare_to_play(reverb->generator, &change->state);
}

void reverb_change_apply(ubr_reverb_t* reverb, reverb_change_t* change) {
  // Settings that mean nothing are stored, and the earlier response stays in use.
  if (change->code == UBR_INVALID) {
    reverb->velvet_noise.settings = change->state.settings;
    reverb->velvet_noise.block_size = change->state.block_size;
    return;
  }
  // Deliberate: when a preparation ran out of memory its state is taken all the same, because the
  // earlier response is not that of the settings any more. The blocks report it.
  std::swap(reverb->velvet_noise, change->state);
}

void reverb_change_release(reverb_change_t* change) { vn_terminate(&change->state); }

void reverb_cleanup(ubr_reverb_t* reverb) {
  if (!reverb) return;
  release(reverb->scratch);
  vn_terminate(&reverb->velvet_noise);
  *reverb = {};
}

uint32_t ubr_process_reverb(ubr_reverb_t* reverb, const float* omni, float* const* outputs,
                            uint32_t frames) {
  if (!reverb || frames > reverb->scratch_frames) return UBR_MISSING;
  reverb->frame_size = frames;
  reverb->velvet_noise.block_size = static_cast<int32_t>(frames);
  if (!reverb_is_on(*reverb)) return UBR_OK;
  const int32_t input_size[2] = {reverb->velvet_noise.block_size, 1};
  const int32_t output_size[2] = {reverb->velvet_noise.block_size,
                                  static_cast<int32_t>(reverb->num_outputs)};
  if (const uint32_t code = vn_process(reverb->generator, &reverb->velvet_noise, omni, input_size,
                                       reverb->scratch, output_size)) {
    return code;  // Nothing is mixed in, because the scratch holds an earlier block.
  }
  for (uint32_t c = 0; c < reverb->num_outputs; ++c) {
    const float* tail = reverb->scratch + size_t{c} * frames;
    for (uint32_t t = 0; t < frames; ++t) outputs[c][t] += tail[t] * kWetGain;
  }
  return UBR_OK;
}
