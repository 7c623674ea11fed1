// SPDX-License-Identifier: Apache-2.0
// The route of a static scene. While no source, weight or orientation changes, each source has one
// response per ear, and a block needs no field: SH weights, rotation and the HRIRs of the channels
// are multiplied into folded HRIRs once, which serve until something changes.
#include <stddef.h>
#include <string.h>

#include "ambisonics/binauralizer_internal.h"
#include "ambisonics/encoder.h"
#include "ambisonics/rotator_internal.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/mix_channels.h"
#include "renderer/reverb_internal.h"
#include "renderer/routes/route.h"

namespace {

// The scene of the last static block, and what was computed from it.
struct memory_t {
  uint32_t num_sources;
  encoder_source_t* sources;  // num_sources
  uint32_t rotation_width;    // channels of the rotator's matrix, padded; 0 without head tracking
  float* rotation;            // that matrix, or null
  uint32_t transform_size;
  uint32_t responses_number;  // of the binauralizer
  bool is_computed;           // whether the fields below belong to that scene
  float* gains;  // num_sources rows of AMBISONICS_MAX_CHANNELS: weights of the audible sources
                 // in the field that would enter the binauralizer
  const float** audible;  // num_sources: the samples of the audible sources in this block
  folded_hrirs_t hrirs;   // of the audible sources, with room for all at the longest transform
};

size_t source_bytes(const memory_t& m) { return m.num_sources * sizeof(encoder_source_t); }

// The rotator that a block passes.
const rotator_t* rotator_of(const ubr_t& r) { return is_tracked(r) ? r.rotator : nullptr; }

// With as many sources as channels, a transform per source is no less work than one per channel.
// This is settled when the renderer is built, so that no memory is taken where it never fits.
bool has_few_sources(const ubr_t& r) {
  return is_binaural(r) && r.encoder && r.num_inputs < r.ambi_config.num_channels;
}

// Whether the modules have the sizes that the memory was made for. Their owner may have built them
// anew since.
bool has_same_sizes(const memory_t& m, const ubr_t& r) {
  const rotator_t* const rotator = rotator_of(r);
  return m.num_sources == r.encoder->num_sources &&
         m.num_sources < r.binauralizer->num_sh_channels &&
         m.rotation_width == (rotator ? rotator->padded_channels : 0);
}

// Nothing between encoder and ears moves in this block or adds to the field.
bool is_static(const ubr_t& r, const block_t& block) {
  if (!encoder_takes(r, block) || !r.binauralizer || !r.hoa_buffer_b) return false;
  if (is_reflected(r)) return false;
  return !is_tracked(r) ||
         (r.rotator && block.frames <= r.rotator->max_frame_size && rotator_is_static(*r.rotator));
}

bool is_same_scene(const memory_t& m, const ubr_t& r, uint32_t transform_size) {
  const rotator_t* const rotator = rotator_of(r);
  return m.transform_size == transform_size &&
         m.responses_number == binauralizer_responses_number(*r.binauralizer) &&
         memcmp(m.sources, r.encoder->sources, source_bytes(m)) == 0 &&
         (!rotator ||
          memcmp(m.rotation, rotator->current_matrix, rotator_matrix_bytes(*rotator)) == 0);
}

void remember_scene(memory_t* m, const ubr_t& r, uint32_t transform_size) {
  m->transform_size = transform_size;
  m->responses_number = binauralizer_responses_number(*r.binauralizer);
  memcpy(m->sources, r.encoder->sources, source_bytes(*m));
  if (const rotator_t* const rotator = rotator_of(r)) {
    memcpy(m->rotation, rotator->current_matrix, rotator_matrix_bytes(*rotator));
  }
  m->is_computed = false;
}

// Deliberate: a scene fits from its second block on, so that nothing is computed for a scene that
// lasts one block.
bool fits(const ubr_t& r, const block_t& block, void* memory) {
  auto* const m = static_cast<memory_t*>(memory);
  if (!m || !is_static(r, block) || !has_same_sizes(*m, r)) return false;
  const uint32_t size = binauralizer_transform_size(*r.binauralizer, block.frames);
  if (size == 0) return false;
  if (is_same_scene(*m, r, size)) return true;
  remember_scene(m, r, size);
  return false;
}

// Types beyond the last are silent.
bool is_audible(const encoder_source_t& source) { return source.type <= ENCODER_SOURCE_LFE; }

// `rotator` may be null. The off-degree weights of the matrix are zero but for rounding.
void rotate_weights(const float* weights, const rotator_t* rotator, uint32_t num_channels,
                    float* gains) {
  if (!rotator) {
    memcpy(gains, weights, num_channels * sizeof(float));
    return;
  }
  const float* rows[AMBISONICS_MAX_CHANNELS];
  for (uint32_t c = 0; c < num_channels; ++c) {
    rows[c] = rotator->current_matrix + size_t{c} * rotator->padded_channels;
  }
  mix_channels({weights, 1, 0}, {rows, num_channels}, {&gains, 1}, num_channels, false);
}

// Weights of an audible source in the field that would enter the binauralizer.
void find_gains(const encoder_source_t& source, const ubr_t& r, float* gains) {
  const uint32_t num_channels = r.ambi_config.num_channels;
  if (source.type == ENCODER_SOURCE_LFE) {
    memset(gains, 0, num_channels * sizeof(float));
    gains[0] = 1.0f;
  } else {
    const bool is_head_locked = source.type == ENCODER_SOURCE_HEAD_LOCKED;
    rotate_weights(source.beam, is_head_locked ? nullptr : rotator_of(r), num_channels, gains);
  }
}

void compute(memory_t* m, const ubr_t& r) {
  m->hrirs.num_sources = 0;
  for (uint32_t s = 0; s < m->num_sources; ++s) {
    if (!is_audible(m->sources[s])) continue;
    float* const gains = m->gains + size_t{m->hrirs.num_sources++} * AMBISONICS_MAX_CHANNELS;
    find_gains(m->sources[s], r, gains);
  }
  m->hrirs.size = m->transform_size;
  binauralizer_fold_hrirs(*r.binauralizer, m->gains, m->hrirs);
  m->is_computed = true;
}

// Channel 0 of the field, which the reverb needs though the block makes no field.
void encode_omni(const memory_t& m, uint32_t num_audible, const block_t& block, float* omni) {
  float* const field[] = {omni};
  mix_channels({m.gains, AMBISONICS_MAX_CHANNELS, 1}, {m.audible, num_audible}, {field, 1},
               block.frames, false);
}

uint32_t render(const ubr_t& r, const block_t& block, void* memory) {
  auto* const m = static_cast<memory_t*>(memory);
  if (!m->is_computed) compute(m, r);
  if (rotator_of(r)) rotator_clear_ramp(r.rotator);
  uint32_t num_audible = 0;
  for (uint32_t s = 0; s < m->num_sources; ++s) {
    if (is_audible(m->sources[s])) m->audible[num_audible++] = block.inputs[s];
  }
  if (r.reverb && reverb_is_on(*r.reverb)) encode_omni(*m, num_audible, block, r.hoa_buffer_b[0]);
  binauralizer_process_folded(r.binauralizer, m->hrirs, m->audible, block.outputs, block.frames);
  return add_reverberation(r, block, r.hoa_buffer_b);
}

uint32_t init(const ubr_t& r, void** memory) {
  if (!has_few_sources(r)) return UBR_OK;
  auto* const m = alloc_zeroed<memory_t>(1u);
  *memory = m;
  if (!m) return UBR_NO_MEMORY;
  m->num_sources = checked_index(r.num_inputs, kMaxFoldedSources + 1);
  m->sources = alloc_zeroed<encoder_source_t>(m->num_sources);
  m->gains = alloc_zeroed<float>(m->num_sources, uint32_t{AMBISONICS_MAX_CHANNELS});
  m->audible = alloc_zeroed<const float*>(m->num_sources);
  m->hrirs.spectra = alloc_aligned<float>(count_folded_floats(m->num_sources));
  if (!m->sources || !m->gains || !m->audible || !m->hrirs.spectra) return UBR_NO_MEMORY;
  if (!rotator_of(r)) return UBR_OK;
  m->rotation_width = r.rotator->padded_channels;
  m->rotation = alloc_zeroed<float>(m->rotation_width, m->rotation_width);
  return m->rotation ? UBR_OK : UBR_NO_MEMORY;
}

void cleanup(void* memory) {
  auto* m = static_cast<memory_t*>(memory);
  if (!m) return;
  release(m->sources, m->rotation, m->gains, m->audible);
  release_aligned(m->hrirs.spectra);
  release(m);
}

}  // namespace

const route_t kAtRestRoute = {"at_rest", fits, render, init, cleanup};
