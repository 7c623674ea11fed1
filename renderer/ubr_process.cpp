// SPDX-License-Identifier: Apache-2.0
// One block through the renderer: what is checked, and which path it takes.
#include <algorithm>

#include "base/result.h"
#include "base/subnormals.h"
#include "renderer/routes/route.h"
#include "renderer/ubr.h"

namespace {

// There is no field to work in before a configuration and after a clean-up, whichever modules have
// been built since.
bool has_field(const ubr_t& r) { return r.ambi_config.num_channels > 0; }

}  // namespace

uint32_t ubr_process(ubr_t* renderer, const float* const* inputs, uint32_t num_inputs,
                     float* const* outputs, uint32_t num_outputs, uint32_t frames) {
  if (!renderer) return UBR_MISSING;
  ubr_t& r = *renderer;
  if (num_inputs != r.num_inputs || num_outputs != r.num_outputs) return UBR_INVALID;
  if (frames > r.max_frame_size) return UBR_INVALID;
  r.frame_size = frames ? frames : r.max_frame_size;
  return r.input_type == UBR_INPUT_AMBISONICS ? ubr_process_hoa(renderer, inputs, outputs)
                                              : ubr_process_sources(renderer, inputs, outputs);
}

uint32_t ubr_process_sources(ubr_t* renderer, const float* const* inputs, float* const* outputs) {
  if (!renderer) return UBR_MISSING;
  const FlushSubnormals flush;
  if (renderer->render_mode == UBR_MODE_DOWNMIX) return ubr_downmix(renderer, inputs, outputs);
  if (!has_field(*renderer)) return UBR_MISSING;
  return routes_render(*renderer, {inputs, outputs, renderer->frame_size});
}

uint32_t ubr_process_hoa(ubr_t* renderer, const float* const* inputs, float* const* outputs) {
  if (!renderer || !has_field(*renderer) || renderer->num_inputs == 0) return UBR_MISSING;
  const FlushSubnormals flush;
  return plain_render_ambisonics(*renderer, {inputs, outputs, renderer->frame_size});
}

uint32_t ubr_downmix(ubr_t* renderer, const float* const* inputs, float* const* outputs) {
  if (!renderer) return UBR_MISSING;
  const float *left = renderer->downmix_left, *right = renderer->downmix_right;
  const uint32_t num_inputs = std::min<uint32_t>(renderer->num_inputs, UBR_DOWNMIX_INPUTS);
  if (num_inputs == 0) return UBR_OK;
  for (uint32_t f = 0; f < renderer->frame_size; ++f) {
    // The sum does not start from 0, which would turn a -0 into a 0.
    float l = inputs[0][f] * left[0], r = inputs[0][f] * right[0];
    for (uint32_t k = 1; k < num_inputs; ++k) {
      l += inputs[k][f] * left[k];
      r += inputs[k][f] * right[k];
    }
    outputs[0][f] = l;
    outputs[1][f] = r;
  }
  return UBR_OK;
}
