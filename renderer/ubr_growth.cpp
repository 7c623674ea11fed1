// SPDX-License-Identifier: Apache-2.0
// Growing a renderer for longer blocks while sound is in flight.
//
// When memory runs out half-way, a module has either its old capacity or already the new one. Both
// serve blocks of the old maximum, so that is replaced last. Only the module that was being rebuilt
// (reverb, reflections or binauralizer) is silent until a retry.
#include "ambisonics/binauralizer_internal.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/float_matrix.h"
#include "renderer/reflections_internal.h"
#include "renderer/reverb_internal.h"
#include "renderer/ubr.h"

namespace {

uint32_t grow_hoa_buffer(float** rows, uint32_t num_rows, uint32_t max_frame_size) {
  if (!rows) return UBR_OK;
  for (uint32_t i = 0; i < num_rows; ++i) {
    if (const uint32_t code = replace_zeroed(rows[i], size_t{max_frame_size})) return code;
  }
  return UBR_OK;
}

// After a failure the binauralizer is as it was, or renders silence until a retry succeeds.
uint32_t grow_binauralizer(binauralizer_t* binauralizer, uint32_t max_frame_size) {
  if (!binauralizer) return UBR_OK;
  // The overlap can be longer than a row of the renderer's own buffers.
  const uint32_t num_ears = binauralizer->num_ears;
  ubr_float_matrix_t overlap = nullptr;
  uint32_t code = ubr_init_float_matrix(&overlap, num_ears, binauralizer->prev_tail_length);
  if (code == UBR_OK) {
    binauralizer_reset_max_frame_size(binauralizer, max_frame_size, overlap);
    code = binauralizer_is_built(*binauralizer) ? UBR_OK : UBR_NO_MEMORY;
  }
  ubr_free_float_matrix(overlap, num_ears);
  return code;
}

uint32_t grow_modules(const ubr_t& r, uint32_t max_frame_size) {
  // The reverb comes first, because it alone has a limit.
  if (r.reverb) {
    if (const uint32_t code = reverb_set_max_frame_size(r.reverb, max_frame_size)) return code;
  }
  const uint32_t num_channels = r.ambi_config.num_channels;
  if (const uint32_t code = grow_hoa_buffer(r.hoa_buffer_a, num_channels, max_frame_size)) {
    return code;
  }
  if (const uint32_t code = grow_hoa_buffer(r.hoa_buffer_b, num_channels, max_frame_size)) {
    return code;
  }
  if (r.encoder) {
    if (const uint32_t code = encoder_reset_max_frame_size(r.encoder, max_frame_size)) return code;
  }
  if (r.rotator) {
    if (const uint32_t code = rotator_reset_max_frame_size(r.rotator, max_frame_size)) return code;
  }
  if (r.reflections) {
    if (const uint32_t code = reflections_compute(r.reflections, r.ambisonics, max_frame_size)) {
      return code;
    }
  }
  return grow_binauralizer(r.binauralizer, max_frame_size);
}

}  // namespace

uint32_t ubr_set_max_frame_size(ubr_t* renderer, uint32_t max_frame_size) {
  if (!renderer) return UBR_MISSING;
  if (max_frame_size <= renderer->max_frame_size) return UBR_OK;
  if (const uint32_t code = grow_modules(*renderer, max_frame_size)) return code;
  renderer->max_frame_size = max_frame_size;
  return UBR_OK;
}
