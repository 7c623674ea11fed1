// SPDX-License-Identifier: Apache-2.0
// For the renderer's own use: the stages of a block, in the order in which it passes them. Each
// checks that its module exists, and calls it.
//
// A field is num_channels rows of `frames` samples. All return UBR_OK, UBR_MISSING where a module
// or a field does not exist or cannot take the block, or the module's code.
#ifndef ORVANE_RENDERER_STAGES_H_
#define ORVANE_RENDERER_STAGES_H_

#include <stdint.h>

#include "renderer/reflections_internal.h"
#include "renderer/ubr.h"

// Whether blocks of the renderer's mode pass the rotator. A renderer of another mode may have been
// given one later, which it does not use.
inline bool is_tracked(const ubr_t& r) {
  return r.render_mode == UBR_MODE_AMBISONIC_TRACKED || r.render_mode == UBR_MODE_BINAURAL_TRACKED;
}

// Whether blocks of the renderer's mode end at two ears.
inline bool is_binaural(const ubr_t& r) {
  return r.render_mode == UBR_MODE_BINAURAL_TRACKED || r.render_mode == UBR_MODE_BINAURAL;
}

// Whether blocks of sources pass the early reflections.
inline bool is_reflected(const ubr_t& r) {
  return r.render_mode == UBR_MODE_BINAURAL_TRACKED && !reflections_are_off(r.reflections);
}

struct block_t {
  const float* const* inputs;  // num_inputs rows
  float* const* outputs;       // num_outputs rows
  uint32_t frames;
};

// Whether the encoder can take the block. Every encoding stage checks this first.
bool encoder_takes(const ubr_t& renderer, const block_t& block);

// Overwrites `field` with the sources that stay in place while the head turns.
uint32_t encode_room_sources(const ubr_t& renderer, const block_t& block, float* const* field);

// Adds the early reflections of `field` to it.
uint32_t add_reflections(const ubr_t& renderer, const block_t& block, float* const* field);

// Overwrites `turned` with `field`, rotated against the head.
uint32_t rotate_field(const ubr_t& renderer, const block_t& block, const float* const* field,
                      float* const* turned);

// Adds the sources that move with the head, and the LFE, to `field`.
uint32_t add_head_locked_sources(const ubr_t& renderer, const block_t& block, float* const* field);

// Overwrites the block's outputs with what the two ears hear of `field`.
uint32_t binauralize_field(const ubr_t& renderer, const block_t& block, const float* const* field);

// Adds the reverberation of channel 0 of `field` to the block's outputs.
uint32_t add_reverberation(const ubr_t& renderer, const block_t& block, const float* const* field);

#endif  // ORVANE_RENDERER_STAGES_H_
