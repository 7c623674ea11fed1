// SPDX-License-Identifier: Apache-2.0
// Sources, listener, and the listener's ears.
#include <math.h>

#include "base/result.h"
#include "renderer/ubr.h"

namespace {

bool has_sources(const ubr_t* renderer) {
  return renderer && renderer->input_type != UBR_INPUT_AMBISONICS && renderer->encoder;
}

// Computes the scene for a listener who is `offset` away from the stored position, which stays.
void move_listener(ubr_reflections_t* r, const float offset[3]) {
  if (r->reflections_mode == 0) return;
  const float* stored = r->listener_position;
  const float listener[3] = {offset[0] + stored[0], offset[1] + stored[1], offset[2] + stored[2]};
  // Deliberate: the caller chooses when to compute, because that drops the sound in flight. Until
  // then delays are in seconds, so that every tap plays undelayed, from its old direction.
  shoebox_set_scene(&r->room, &r->scene, listener, &r->virtual_sources[0].azimuth,
                    r->cartesian_sources, r->relative_sources);
}

bool all_finite(const float v[3]) { return isfinite(v[0]) && isfinite(v[1]) && isfinite(v[2]); }

}  // namespace

uint32_t ubr_set_source_type(ubr_t* renderer, uint32_t index, uint32_t type) {
  if (!has_sources(renderer)) return UBR_MISSING;
  return encoder_set_source_type(renderer->encoder, index, type);
}

uint32_t ubr_set_source_position(ubr_t* renderer, uint32_t index, float x, float y, float z) {
  if (!has_sources(renderer)) return UBR_MISSING;
  return encoder_set_source_position(renderer->encoder, index, x, y, z);
}

uint32_t ubr_set_user_position(ubr_t* renderer, const float position[3]) {
  if (!renderer) return UBR_MISSING;
  if (!all_finite(position)) return UBR_INVALID;
  if (renderer->encoder) {
    encoder_set_user_position(renderer->encoder, position[0], position[1], position[2]);
  }
  if (renderer->reflections) move_listener(renderer->reflections, position);
  return UBR_OK;
}

uint32_t ubr_set_user_orientation(ubr_t* renderer, const float orientation[3], uint32_t format) {
  if (!renderer || !renderer->rotator) return UBR_MISSING;
  return rotator_set_orientation(renderer->rotator, orientation, format);
}

uint32_t ubr_set_responses(ubr_t* renderer, const float* left, const float* right) {
  if (!renderer) return UBR_MISSING;
  return binauralizer_set_responses(renderer->binauralizer, left, right);
}
