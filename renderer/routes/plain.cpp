// SPDX-License-Identifier: Apache-2.0
// What a block is. This order of stages defines the sound of the renderer, in every mode and for
// every input: encode, reflect, rotate, add what moves with the head, binauralize, reverberate.
#include "base/result.h"
#include "renderer/routes/route.h"

namespace {

uint32_t encode_all_sources(const ubr_t& r, const block_t& block, float* const* field) {
  if (const uint32_t code = encode_room_sources(r, block, field)) return code;
  return add_head_locked_sources(r, block, field);
}

// Head-locked sources join the field after the rotation, so that they do not turn.
uint32_t encode_around_rotation(const ubr_t& r, const block_t& block, float* const* turned) {
  float* const* const field = r.hoa_buffer_a;
  if (const uint32_t code = encode_room_sources(r, block, field)) return code;
  if (is_binaural(r)) {
    if (const uint32_t code = add_reflections(r, block, field)) return code;
  }
  if (const uint32_t code = rotate_field(r, block, field, turned)) return code;
  return add_head_locked_sources(r, block, turned);
}

// The reverberation is made of channel 0 of `omni`.
uint32_t render_ears(const ubr_t& r, const block_t& block, const float* const* field,
                     const float* const* omni) {
  if (const uint32_t code = binauralize_field(r, block, field)) return code;
  return add_reverberation(r, block, omni);
}

bool fits(const ubr_t&, const block_t&, void*) { return true; }

uint32_t render(const ubr_t& r, const block_t& block, void*) {
  return plain_render_sources(r, block);
}

}  // namespace

uint32_t plain_render_sources(const ubr_t& r, const block_t& block) {
  float* const* const heard = r.hoa_buffer_b;
  switch (r.render_mode) {
    case UBR_MODE_AMBISONIC:
      return encode_all_sources(r, block, block.outputs);
    case UBR_MODE_AMBISONIC_TRACKED:
      return encode_around_rotation(r, block, block.outputs);
    case UBR_MODE_BINAURAL_TRACKED:
      if (const uint32_t code = encode_around_rotation(r, block, heard)) return code;
      return render_ears(r, block, heard, heard);
    case UBR_MODE_BINAURAL:
      if (const uint32_t code = encode_all_sources(r, block, heard)) return code;
      return render_ears(r, block, heard, heard);
    default:
      return UBR_MISSING;
  }
}

// An ambisonic input has no early reflections in any mode; its reverberation is that of the input
// itself, before the rotation.
uint32_t plain_render_ambisonics(const ubr_t& r, const block_t& block) {
  const float* const* const input = block.inputs;
  switch (r.render_mode) {
    case UBR_MODE_AMBISONIC_TRACKED:
      return rotate_field(r, block, input, block.outputs);
    case UBR_MODE_BINAURAL_TRACKED:
      if (const uint32_t code = rotate_field(r, block, input, r.hoa_buffer_b)) return code;
      return render_ears(r, block, r.hoa_buffer_b, input);
    case UBR_MODE_BINAURAL:
      return render_ears(r, block, input, input);
    default:
      return UBR_MISSING;
  }
}

const route_t kPlainRoute = {"plain", fits, render, nullptr, nullptr};
