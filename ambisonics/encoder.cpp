// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/encoder.h"

#include <math.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/encoder_internal.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/mix_channels.h"
#include "numerics/overlap.h"

static_assert(sizeof(encoder_source_t) == 132);
static_assert(is_laid_out(sizeof(encoder_t), 80));
static_assert(is_laid_out(offsetof(encoder_t, sources), 24));
static_assert(is_laid_out(offsetof(encoder_t, output_matrix), 56));
static_assert(is_laid_out(offsetof(encoder_t, padded_frame), 72));

namespace {

bool is_dynamic(uint32_t type) {
  return type == ENCODER_SOURCE_WORLD || type == ENCODER_SOURCE_LOUDSPEAKER;
}

bool is_static(uint32_t type) { return type == ENCODER_SOURCE_HEAD_LOCKED; }

// Geometry and distance gain, without the SH weights.
void update_geometry(const encoder_t* e, encoder_source_t* source) {
  calculate_source_position_sph(source, e->user_position);
  const bool fades = source->type == ENCODER_SOURCE_WORLD && source->distance > 1.0f;
  source->distance_gain = fades ? 1.0f / source->distance : 1.0f;
}

// The scratch that holds the addresses of the selected sources' samples.
const float** selected_rows(const encoder_t& e) {
  return reinterpret_cast<const float**>(e.input_matrix);
}

// Collects the samples and SH weights of the selected sources.
channels_t<const float> gather_sources(encoder_t* e, const float* const* inputs,
                                       bool (*is_selected)(uint32_t type)) {
  const float** const rows = selected_rows(*e);
  uint32_t count = 0;
  for (uint32_t s = 0; s < e->num_sources; ++s) {
    const encoder_source_t& source = e->sources[s];
    if (!is_selected(source.type)) continue;
    rows[count] = inputs[s];
    memcpy(e->gain_matrix + size_t{count} * e->padded_channels, source.beam,
           e->ambisonics->num_channels * sizeof(float));
    ++count;
  }
  return {rows, count};
}

// Collects the samples of the LFE sources, after the `first` rows that are taken already.
channels_t<const float> gather_lfe(const encoder_t& e, const float* const* inputs, uint32_t first) {
  const float** const rows = selected_rows(e) + first;
  uint32_t count = 0;
  for (uint32_t s = 0; s < e.num_sources; ++s) {
    if (e.sources[s].type == ENCODER_SOURCE_LFE) rows[count++] = inputs[s];
  }
  return {rows, count};
}

void add_rows(const channels_t<const float>& rows, float* sum, uint32_t frames) {
  for (uint32_t i = 0; i < rows.count; ++i) {
    for (uint32_t t = 0; t < frames; ++t) sum[t] += rows.rows[i][t];
  }
}

// What one pass adds up: sources by their SH weights, and LFE sources in channel 0 alone.
struct pass_t {
  mix_weights_t weights;
  channels_t<const float> sources, lfe;
  uint32_t frames;
};

void encode_directly(const pass_t& p, const channels_t<float>& out, bool accumulate) {
  if (p.sources.count > 0 || !accumulate) {
    mix_channels(p.weights, p.sources, out, p.frames, accumulate);
  }
  add_rows(p.lfe, out.rows[0], p.frames);
}

// For outputs that overlap the inputs: the block is complete before any of it is written.
void encode_staged(const encoder_t& e, const pass_t& p, const channels_t<float>& out,
                   bool accumulate) {
  float* staged[AMBISONICS_MAX_CHANNELS];
  for (uint32_t c = 0; c < out.count; ++c) staged[c] = e.output_matrix + size_t{c} * e.padded_frame;
  encode_directly(p, {staged, out.count}, false);
  for (uint32_t c = 0; c < out.count; ++c) {
    float* const output = out.rows[c];
    for (uint32_t t = 0; t < p.frames; ++t) {
      output[t] = accumulate ? output[t] + staged[c][t] : staged[c][t];
    }
  }
}

void encode(encoder_t* e, const float* const* inputs, float* const* outputs, uint32_t frames,
            bool accumulate, bool (*is_selected)(uint32_t type), bool with_lfe) {
  pass_t pass = {{e->gain_matrix, e->padded_channels, 1}, {}, {}, frames};
  pass.sources = gather_sources(e, inputs, is_selected);
  if (with_lfe) pass.lfe = gather_lfe(*e, inputs, pass.sources.count);
  const channels_t<float> out = {outputs, e->ambisonics->num_channels};
  if (out.count == 0) return;
  const channels_t<const float> read = {selected_rows(*e), pass.sources.count + pass.lfe.count};
  const bool can_stage = e->output_matrix && frames <= e->padded_frame;
  if (can_stage && channels_overlap(read, out, frames)) {
    encode_staged(*e, pass, out, accumulate);
  } else {
    encode_directly(pass, out, accumulate);
  }
}

}  // namespace

uint32_t encoder_init_unstaged(encoder_t* e, const ambisonics_base_t* ambisonics,
                               uint32_t num_sources, uint32_t max_frame_size) {
  if (!e) return UBR_NO_MEMORY;  // Deliberate: a record is null where it could not be allocated.
  *e = {};
  e->ambisonics = ambisonics;
  e->num_sources = num_sources;
  e->max_frame_size = max_frame_size;
  e->padded_sources = round_up_to_4(num_sources);
  e->padded_channels = round_up_to_4(ambisonics->num_channels);
  e->padded_frame = round_up_to_4(max_frame_size);
  e->sources = alloc_zeroed<encoder_source_t>(num_sources);
  e->input_matrix = reinterpret_cast<float*>(alloc_zeroed<const float*>(num_sources));
  e->gain_matrix = alloc_zeroed<float>(e->padded_sources, e->padded_channels);
  if (!e->sources || !e->input_matrix || !e->gain_matrix) return UBR_NO_MEMORY;
  for (uint32_t s = 0; s < num_sources; ++s) encoder_set_source_position(e, s, 1.0f, 0.0f, 0.0f);
  return UBR_OK;
}

uint32_t encoder_init(encoder_t* e, const ambisonics_base_t* ambisonics, uint32_t num_sources,
                      uint32_t max_frame_size) {
  if (const uint32_t code = encoder_init_unstaged(e, ambisonics, num_sources, max_frame_size)) {
    return code;
  }
  e->output_matrix = alloc_zeroed<float>(e->padded_channels, e->padded_frame);
  return e->output_matrix ? UBR_OK : UBR_NO_MEMORY;
}

uint32_t encoder_set_source_position(encoder_t* e, uint32_t index, float x, float y, float z) {
  if (!e) return UBR_MISSING;
  if (index >= e->num_sources) return UBR_INVALID;
  encoder_source_t& source = e->sources[index];
  source.position[0] = x;
  source.position[1] = y;
  source.position[2] = z;
  update_geometry(e, &source);
  return ambisonics_base_generate_beam(e->ambisonics, source.beam, source.azimuth, source.elevation,
                                       source.distance_gain);
}

uint32_t encoder_set_source_type(encoder_t* e, uint32_t index, uint32_t type) {
  if (!e) return UBR_MISSING;
  if (index >= e->num_sources) return UBR_INVALID;
  e->sources[index].type = type;
  // Deliberate: the SH weights stay, because callers set the position next, which computes them.
  update_geometry(e, &e->sources[index]);
  return UBR_OK;
}

uint32_t encoder_set_source_direction(encoder_t* e, uint32_t index, float azimuth,
                                      float elevation) {
  if (!e) return UBR_MISSING;
  if (index >= e->num_sources) return UBR_INVALID;
  return ambisonics_base_generate_beam(e->ambisonics, e->sources[index].beam, azimuth, elevation,
                                       1.0f);
}

uint32_t encoder_set_user_position(encoder_t* e, float x, float y, float z) {
  if (!e) return UBR_MISSING;
  e->user_position[0] = x;
  e->user_position[1] = y;
  e->user_position[2] = z;
  // Deliberate: SH weights stay until the sources are positioned again, so that a caller can move
  // sources and listener in one step.
  for (uint32_t s = 0; s < e->num_sources; ++s) {
    if (e->sources[s].type == ENCODER_SOURCE_WORLD) update_geometry(e, &e->sources[s]);
  }
  return UBR_OK;
}

uint32_t encoder_reset(encoder_t* e) { return encoder_set_user_position(e, 0.0f, 0.0f, 0.0f); }

uint32_t encoder_reset_max_frame_size(encoder_t* e, uint32_t max_frame_size) {
  if (!e) return UBR_MISSING;
  const uint32_t padded_frame = round_up_to_4(max_frame_size);
  float* const output_matrix = alloc_zeroed<float>(e->padded_channels, padded_frame);
  if (!output_matrix) return UBR_NO_MEMORY;
  release(e->output_matrix);
  e->output_matrix = output_matrix;
  e->max_frame_size = max_frame_size;
  e->padded_frame = padded_frame;
  return UBR_OK;
}

uint32_t encoder_process(encoder_t* e, const float* const* inputs, float* const* outputs,
                         uint32_t frames, uint32_t mode) {
  if (!e || frames > e->max_frame_size) return UBR_MISSING;
  switch (mode) {
    case 0:
      encoder_process_dynamic(e, inputs, outputs, frames, 0);
      return encoder_process_static(e, inputs, outputs, frames, 1);
    case 1:
      return encoder_process_dynamic(e, inputs, outputs, frames, 0);
    case 2:
      return encoder_process_static(e, inputs, outputs, frames, 0);
    case 3:
      return encoder_process_dynamic(e, inputs, outputs, frames, 1);
    case 4:
      return encoder_process_static(e, inputs, outputs, frames, 1);
    default:
      return UBR_OK;  // Deliberate: no error, because an unknown mode selects no pass.
  }
}

uint32_t encoder_process_dynamic(encoder_t* e, const float* const* inputs, float* const* outputs,
                                 uint32_t frames, uint32_t accumulate) {
  if (!e) return UBR_MISSING;
  encode(e, inputs, outputs, frames, accumulate != 0, is_dynamic, false);
  return UBR_OK;
}

uint32_t encoder_process_static(encoder_t* e, const float* const* inputs, float* const* outputs,
                                uint32_t frames, uint32_t accumulate) {
  if (!e) return UBR_MISSING;
  encode(e, inputs, outputs, frames, accumulate != 0, is_static, true);
  return UBR_OK;
}

uint32_t encoder_count_dynamic(const encoder_t& e) {
  uint32_t count = 0;
  for (uint32_t s = 0; s < e.num_sources; ++s) count += is_dynamic(e.sources[s].type);
  return count;
}

channels_t<const float> encoder_gather_dynamic(encoder_t* e, const float* const* inputs) {
  return gather_sources(e, inputs, is_dynamic);
}

uint32_t encoder_cleanup(encoder_t* e) {
  if (!e) return UBR_OK;
  release(e->sources, e->input_matrix, e->gain_matrix, e->output_matrix);
  *e = {};
  return UBR_OK;
}

void calculate_source_position_sph(encoder_source_t* source, const float listener[3]) {
  float d[3];
  for (int i = 0; i < 3; ++i) {
    d[i] = source->position[i] - (source->type == ENCODER_SOURCE_WORLD ? listener[i] : 0.0f);
  }
  const float horizontal = d[0] * d[0] + d[1] * d[1];
  source->distance = sqrtf(horizontal + d[2] * d[2]);
  source->azimuth = atan2f(d[1], d[0]);
  source->elevation = atan2f(d[2], sqrtf(horizontal));
}
