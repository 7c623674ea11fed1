// SPDX-License-Identifier: Apache-2.0
#include "renderer/reflection_layouts.h"

#include <stddef.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/ambisonics_base_internal.h"
#include "ambisonics/sphere_directions.h"
#include "numerics/pinv.h"

static_assert(reflection_layout_size(AMBISONICS_MAX_ORDER) == AMBISONICS_MAX_CHANNELS);

void reflection_layout_decoder(uint32_t mode, uint32_t stride, float* matrix) {
  const uint32_t size = reflection_layout_size(mode);
  const sphere_direction_t* directions = sphere_directions(mode);
  float weights[PINV_MAX_ELEMENTS];
  float inverse[PINV_MAX_ELEMENTS];
  float workspace[PINV_WORKSPACE_FLOATS];
  for (uint32_t v = 0; v < size; ++v) {
    ambisonics_write_weights(mode, directions[v].azimuth, directions[v].elevation,
                             weights + size_t{v} * size);
  }
  // Column-major, the rows of weights read as the transpose: what comes back is its inverse.
  const int32_t weights_size[2] = {static_cast<int32_t>(size), static_cast<int32_t>(size)};
  int32_t inverse_size[2];
  ubr_pinv(workspace, weights, weights_size, inverse, inverse_size);
  for (uint32_t v = 0; v < size; ++v) {
    for (uint32_t c = 0; c < size; ++c) matrix[v * stride + c] = inverse[v + c * size];
  }
}
