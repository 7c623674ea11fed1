// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/rotator.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/ambisonics_base_internal.h"
#include "ambisonics/rotator_internal.h"
#include "ambisonics/sphere_directions.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/mix_channels.h"
#include "numerics/overlap.h"

static_assert(offsetof(rotator_t, pinv_workspace) == 11 * sizeof(float));
static_assert(is_laid_out(offsetof(rotator_t, ambisonics) - offsetof(rotator_t, beam_matrix), 96));
static_assert(offsetof(rotator_t, ambisonics) + sizeof(void*) == sizeof(rotator_t));

namespace {

uint32_t allocate(rotator_t* r) {
  const uint32_t num_channels = r->ambisonics->num_channels;
  r->previous_matrix = alloc_zeroed<float>(r->padded_channels, r->padded_channels);
  r->current_matrix = alloc_zeroed<float>(r->padded_channels, r->padded_channels);
  r->delta_matrix = alloc_zeroed<float>(r->padded_channels, r->padded_channels);
  r->output_buffer = alloc_zeroed<float>(r->padded_channels, r->padded_frame);
  r->beam_matrix = alloc_zeroed<float>(num_channels, num_channels);
  r->beam_matrix_pinv = alloc_zeroed<float>(num_channels, num_channels);
  if (!r->previous_matrix || !r->current_matrix || !r->delta_matrix || !r->output_buffer ||
      !r->beam_matrix || !r->beam_matrix_pinv) {
    return UBR_NO_MEMORY;
  }
  if (const uint32_t code = ubr_init_float_matrix(&r->rotated_beams, num_channels, num_channels)) {
    return code;
  }
  if (const uint32_t code = ubr_init_float_matrix(&r->directions_xyz, num_channels, 3)) return code;
  return ubr_init_float_matrix(&r->directions_sph, num_channels, 2);
}

void copy_directions(rotator_t* r) {
  const uint32_t order = r->ambisonics->order;
  const sphere_direction_t* directions = sphere_directions(order);
  if (!directions) return;  // Deliberate: order 0 is the same in all directions, so zeros serve it.
  for (uint32_t d = 0; d < r->ambisonics->num_channels; ++d) {
    const sphere_direction_t& direction =
        directions[checked_index(d, ambisonics_count_channels(order))];
    r->directions_xyz[d][0] = direction.x;
    r->directions_xyz[d][1] = direction.y;
    r->directions_xyz[d][2] = direction.z;
    r->directions_sph[d][0] = direction.azimuth;
    r->directions_sph[d][1] = direction.elevation;
  }
}

// Y and its inverse. ubr_pinv reads and writes column-major, which transposes both: since the
// inverse of a transpose is the transpose of the inverse, row-major goes in and comes out.
void build_beam_matrices(rotator_t* r) {
  const size_t num_channels = r->ambisonics->num_channels;
  for (size_t d = 0; d < num_channels; ++d) {
    ambisonics_base_generate_beam(r->ambisonics, r->beam_matrix + d * num_channels,
                                  r->directions_sph[d][0], r->directions_sph[d][1], 1.0f);
  }
  const int32_t size[2] = {r->beam_rows, r->beam_cols};
  int32_t inverse_size[2];
  ubr_pinv(r->pinv_workspace, r->beam_matrix, size, r->beam_matrix_pinv, inverse_size);
}

// Number of channels in the diagonal block of the rotation matrix that starts at channel `first`,
// n^2 for the block of degree n. Rotations keep degrees apart: but for rounding noise only these
// blocks are non-zero, 165 weights of 625 at order 4. A channel set whose last degree is
// incomplete is treated as one block.
uint32_t block_width(const rotator_t& r, uint32_t first) {
  const uint32_t order = r.ambisonics->order, num_channels = r.ambisonics->num_channels;
  if (num_channels != ambisonics_count_channels(order)) return num_channels;
  uint32_t degree = 0;
  while (degree * degree < first) ++degree;
  return 2 * degree + 1;
}

// One product of a block or tile with the matrix `start`, which moves by D per sample if `ramps`.
struct rotation_t {
  const rotator_t& rotator;
  const float* start;
  bool ramps;
};

// The channels from `first` on that a rotation mixes with each other. In a ramp the last four
// samples stop one step short of the current matrix; the next block starts on it.
void mix_block(const rotation_t& rotation, uint32_t first, uint32_t width,
               const float* const* inputs, float* const* outputs, uint32_t frames) {
  const rotator_t& r = rotation.rotator;
  const size_t corner = size_t{first} * r.padded_channels + first;
  const mix_weights_t weights = {rotation.start + corner, r.padded_channels, 1};
  const channels_t<const float> in = {inputs + first, width};
  const channels_t<float> out = {outputs + first, width};
  if (rotation.ramps) {
    mix_channels_fading(weights, r.delta_matrix + corner, in, out, frames);
  } else {
    mix_channels(weights, in, out, frames, false);
  }
}

void rotate(const rotation_t& rotation, const float* const* inputs, float* const* outputs,
            uint32_t frames) {
  const rotator_t& r = rotation.rotator;
  for (uint32_t first = 0; first < r.ambisonics->num_channels;) {
    const uint32_t width = block_width(r, first);
    mix_block(rotation, first, width, inputs, outputs, frames);
    first += width;
  }
}

// For outputs that overlap the inputs: the block is complete before any of it is written.
void rotate_staged(const rotation_t& rotation, const float* const* inputs, float* const* outputs,
                   uint32_t frames) {
  const rotator_t& r = rotation.rotator;
  const uint32_t num_channels = r.ambisonics->num_channels;
  float* staged[AMBISONICS_MAX_CHANNELS];
  for (uint32_t c = 0; c < num_channels; ++c)
    staged[c] = r.output_buffer + size_t{c} * r.padded_frame;
  rotate(rotation, inputs, staged, frames);
  for (uint32_t c = 0; c < num_channels; ++c) std::copy_n(staged[c], frames, outputs[c]);
}

}  // namespace

uint32_t rotator_init(rotator_t* r, const ambisonics_base_t* ambisonics, uint32_t max_frame_size) {
  if (!r) return UBR_NO_MEMORY;  // Deliberate: a record is null where it could not be allocated.
  *r = {};
  r->ambisonics = ambisonics;
  r->max_frame_size = max_frame_size;
  r->beam_rows = r->beam_cols = static_cast<int32_t>(ambisonics->num_channels);
  r->padded_channels = round_up_to_4(ambisonics->num_channels);
  r->padded_frame = round_up_to_4(max_frame_size);
  if (const uint32_t code = allocate(r)) return code;
  copy_directions(r);
  build_beam_matrices(r);
  const float straight_ahead[3] = {0.0f, 0.0f, 0.0f};
  if (const uint32_t code = rotator_set_orientation(r, straight_ahead, ROTATOR_EULER_A)) {
    return code;
  }
  rotator_end_ramp(r);  // the first block has no ramp
  return UBR_OK;
}

uint32_t rotator_reset(rotator_t* r) {
  if (!r) return UBR_MISSING;
  const float straight_ahead[3] = {0.0f, 0.0f, 0.0f};
  return rotator_set_orientation(r, straight_ahead, ROTATOR_ROTATION_VECTOR);
}

uint32_t rotator_reset_max_frame_size(rotator_t* r, uint32_t max_frame_size) {
  if (!r) return UBR_MISSING;
  const uint32_t padded_frame = round_up_to_4(max_frame_size);
  float* const output_buffer = alloc_zeroed<float>(r->padded_channels, padded_frame);
  if (!output_buffer) return UBR_NO_MEMORY;
  release(r->output_buffer);
  r->output_buffer = output_buffer;
  r->max_frame_size = max_frame_size;
  r->padded_frame = padded_frame;
  return UBR_OK;
}

uint32_t rotator_process(rotator_t* r, const float* const* inputs, float* const* outputs,
                         uint32_t frames) {
  if (frames > r->max_frame_size) return UBR_MISSING;
  const uint32_t num_channels = r->ambisonics->num_channels;
  const bool ramps = !rotator_is_static(*r);
  ramps ? rotator_start_ramp(r, frames) : rotator_clear_ramp(r);
  const rotation_t rotation = {*r, r->previous_matrix, ramps};
  if (channels_overlap({inputs, num_channels}, {outputs, num_channels}, frames)) {
    rotate_staged(rotation, inputs, outputs, frames);
  } else {
    rotate(rotation, inputs, outputs, frames);
  }
  if (ramps) rotator_end_ramp(r);
  return UBR_OK;
}

size_t rotator_matrix_bytes(const rotator_t& r) {
  return size_t{r.padded_channels} * r.padded_channels * sizeof(float);
}

bool rotator_is_static(const rotator_t& r) {
  return memcmp(r.previous_matrix, r.current_matrix, rotator_matrix_bytes(r)) == 0;
}

void rotator_start_ramp(rotator_t* r, uint32_t frames) {
  const float scale = 1.0f / static_cast<float>(frames);
  const uint32_t size = r->padded_channels * r->padded_channels;
  for (uint32_t i = 0; i < size; ++i) {
    r->delta_matrix[i] = (r->current_matrix[i] - r->previous_matrix[i]) * scale;
  }
}

void rotator_end_ramp(rotator_t* r) {
  memcpy(r->previous_matrix, r->current_matrix, rotator_matrix_bytes(*r));
}

void rotator_clear_ramp(rotator_t* r) {
  const float* const d = r->delta_matrix;
  const size_t bytes = rotator_matrix_bytes(*r);
  if (bytes == 0) return;
  const bool is_clear = d[0] == 0.0f && memcmp(d, d + 1, bytes - sizeof(float)) == 0;
  if (!is_clear) memset(r->delta_matrix, 0, bytes);
}

uint32_t rotator_cleanup(rotator_t* r) {
  if (!r) return UBR_OK;
  const uint32_t num_channels = static_cast<uint32_t>(r->beam_rows);
  ubr_free_float_matrix(r->directions_xyz, num_channels);
  ubr_free_float_matrix(r->directions_sph, num_channels);
  ubr_free_float_matrix(r->rotated_beams, num_channels);
  release(r->beam_matrix, r->beam_matrix_pinv, r->previous_matrix, r->current_matrix,
          r->delta_matrix, r->output_buffer);
  *r = {};
  return UBR_OK;
}
