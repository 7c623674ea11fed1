// SPDX-License-Identifier: Apache-2.0
#include "renderer/stages.h"

#include "base/result.h"

bool encoder_takes(const ubr_t& r, const block_t& block) {
  return r.encoder && block.frames <= r.encoder->max_frame_size;
}

uint32_t encode_room_sources(const ubr_t& r, const block_t& block, float* const* field) {
  if (!encoder_takes(r, block) || !field) return UBR_MISSING;
  return encoder_process_dynamic(r.encoder, block.inputs, field, block.frames, 0);
}

uint32_t add_reflections(const ubr_t& r, const block_t& block, float* const* field) {
  return ubr_process_reflections(r.reflections, field, field, block.frames) ? UBR_MISSING : UBR_OK;
}

uint32_t rotate_field(const ubr_t& r, const block_t& block, const float* const* field,
                      float* const* turned) {
  if (!r.rotator || !turned) return UBR_MISSING;
  return rotator_process(r.rotator, field, turned, block.frames);
}

uint32_t add_head_locked_sources(const ubr_t& r, const block_t& block, float* const* field) {
  if (!encoder_takes(r, block) || !field) return UBR_MISSING;
  return encoder_process_static(r.encoder, block.inputs, field, block.frames, 1);
}

uint32_t binauralize_field(const ubr_t& r, const block_t& block, const float* const* field) {
  if (!r.binauralizer) return UBR_MISSING;
  // Deliberate: the code is not checked, because a binauralizer without buffers renders silence.
  binauralizer_process(r.binauralizer, field, block.outputs, block.frames);
  return UBR_OK;
}

uint32_t add_reverberation(const ubr_t& r, const block_t& block, const float* const* field) {
  return ubr_process_reverb(r.reverb, field[0], block.outputs, block.frames);
}
