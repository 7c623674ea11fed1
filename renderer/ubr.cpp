// SPDX-License-Identifier: Apache-2.0
// Building, resetting and releasing the renderer.
#include "renderer/ubr.h"

#include <math.h>
#include <stddef.h>

#include <algorithm>

#include "ambisonics/ambisonics_base_internal.h"
#include "ambisonics/binauralizer_internal.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/float_matrix.h"
#include "renderer/reflections_internal.h"
#include "renderer/reverb_internal.h"
#include "renderer/routes/route.h"

static_assert(is_laid_out(sizeof(ubr_t), 168));
static_assert(offsetof(ubr_t, ambi_config) == 16 && offsetof(ubr_t, max_frame_size) == 36);
static_assert(is_laid_out(offsetof(ubr_t, hoa_buffer_a), 40));
static_assert(is_laid_out(offsetof(ubr_t, downmix_left), 56));
static_assert(is_laid_out(offsetof(ubr_t, binauralizer), 120));
static_assert(is_laid_out(offsetof(ubr_t, reflections), 160));

namespace {

constexpr float kHalfPower = 0.707f;

bool takes_ambisonics(const ubr_t& r) { return r.input_type == UBR_INPUT_AMBISONICS; }

// Order of a field of `num_channels` channels, or 0, which no caller accepts, if that is not the
// number of channels of a full order.
uint32_t order_of_channels(uint32_t num_channels) {
  const double order = sqrt(num_channels) - 1.0;
  return order > 0.0 && order == floor(order) ? static_cast<uint32_t>(order) : 0;
}

bool frame_size_is_offered(uint32_t frames) {
  return frames >= UBR_MIN_FRAME_SIZE && frames <= UBR_MAX_FRAME_SIZE;
}

// Order of the input, or 0, which no caller accepts, for an input that is not supported.
uint32_t find_input_order(const ubr_t& r, uint32_t requested_order) {
  if (takes_ambisonics(r)) return order_of_channels(r.num_inputs);
  return r.num_inputs >= 1 && r.num_inputs <= UBR_MAX_INPUTS ? requested_order : 0;
}

uint32_t configure_downmix(ubr_t* r, uint32_t max_frame_size) {
  r->max_frame_size = max_frame_size;
  r->num_outputs = kNumEars;
  ubr_set_downmix_coefficients(r);
  if (!frame_size_is_offered(max_frame_size)) return UBR_INVALID;
  r->frame_size = max_frame_size;
  return UBR_OK;
}

uint32_t configure_field(ubr_t* r, uint32_t max_frame_size, uint32_t order) {
  r->ambi_config.order = order;
  r->ambi_config.num_channels = ambisonics_count_channels(order);
  r->num_outputs = is_binaural(*r) ? kNumEars : r->ambi_config.num_channels;
  if (!frame_size_is_offered(max_frame_size)) return UBR_INVALID;
  r->frame_size = r->max_frame_size = max_frame_size;
  return UBR_OK;
}

// Stores every value once it is accepted, so a refusal leaves in the fields what came before it.
uint32_t configure(ubr_t* r, uint32_t num_inputs, uint32_t max_frame_size,
                   uint32_t requested_order) {
  const bool is_downmix = r->render_mode == UBR_MODE_DOWNMIX;
  if (takes_ambisonics(*r) && (is_downmix || r->render_mode == UBR_MODE_AMBISONIC)) {
    return UBR_INVALID;
  }
  r->num_inputs = num_inputs;
  const uint32_t input_order = find_input_order(*r, requested_order);
  if (input_order < 1 || input_order > AMBISONICS_MAX_ORDER) return UBR_INVALID;
  return is_downmix ? configure_downmix(r, max_frame_size)
                    : configure_field(r, max_frame_size, std::min(input_order, requested_order));
}

uint32_t build_modules(ubr_t* r) {
  if (r->render_mode == UBR_MODE_DOWNMIX) return UBR_OK;
  if (const uint32_t code = ubr_init_ambisonics(r)) return code;
  if (!takes_ambisonics(*r)) {
    if (const uint32_t code = ubr_init_encoder(r)) return code;
  }
  if (is_tracked(*r)) {
    if (const uint32_t code = ubr_init_rotator(r)) return code;
  }
  if (is_binaural(*r)) {
    if (const uint32_t code = ubr_init_binauralizer(r)) return code;
    if (const uint32_t code = ubr_init_reflections(r)) return code;
    return ubr_init_reverb(r);
  }
  return UBR_OK;
}

// Frees a module with what it owns; null is accepted.
template <typename Module, typename Cleanup>
void discard(Module*& module, Cleanup cleanup) {
  cleanup(module);
  release(module);
}

// Builds a module in place of the one that may be there. Null after a failure.
template <typename Module, typename Cleanup, typename Init>
uint32_t build(Module*& module, Cleanup cleanup, Init init) {
  discard(module, cleanup);
  module = alloc_zeroed<Module>(1u);
  if (!module) return UBR_NO_MEMORY;
  const uint32_t code = init(module);
  if (code != UBR_OK) discard(module, cleanup);
  return code;
}

void discard_field(const ubr_t& r, float*** field) {
  ubr_free_float_matrix(*field, r.ambi_config.num_channels);
  *field = nullptr;
}

uint32_t build_field(const ubr_t& r, float*** field) {
  discard_field(r, field);
  const uint32_t code = ubr_init_float_matrix(field, r.ambi_config.num_channels, r.max_frame_size);
  if (code != UBR_OK) discard_field(r, field);
  return code;
}

}  // namespace

uint32_t ubr_init(ubr_t* renderer, uint32_t input_type, uint32_t num_inputs, uint32_t render_mode,
                  uint32_t max_frame_size, uint32_t order) {
  if (!renderer) return UBR_MISSING;
  *renderer = {};
  renderer->input_type = input_type;
  renderer->render_mode = render_mode;
  if (const uint32_t code = configure(renderer, num_inputs, max_frame_size, order)) return code;
  return build_modules(renderer);
}

uint32_t ubr_init_ambisonics(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  if (renderer->ambisonics) return UBR_OK;  // the other modules refer to it
  return build(renderer->ambisonics, ambisonics_base_cleanup, [=](ambisonics_base_t* base) {
    return ambisonics_base_init(base, renderer->ambi_config);
  });
}

uint32_t ubr_init_encoder(ubr_t* renderer) {
  if (!renderer || !renderer->ambisonics) return UBR_MISSING;
  return build(renderer->encoder, encoder_cleanup, [=](encoder_t* encoder) {
    return encoder_init(encoder, renderer->ambisonics, renderer->num_inputs,
                        renderer->max_frame_size);
  });
}

uint32_t ubr_init_rotator(ubr_t* renderer) {
  if (!renderer || !renderer->ambisonics) return UBR_MISSING;
  const uint32_t code = build(renderer->rotator, rotator_cleanup, [=](rotator_t* rotator) {
    return rotator_init(rotator, renderer->ambisonics, renderer->max_frame_size);
  });
  // An ambisonic input is itself the field before rotation.
  if (code != UBR_OK || takes_ambisonics(*renderer)) return code;
  return build_field(*renderer, &renderer->hoa_buffer_a);
}

uint32_t ubr_init_binauralizer(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  const uint32_t code = build(renderer->binauralizer, binauralizer_cleanup, [=](binauralizer_t* b) {
    return binauralizer_init(b, renderer->ambi_config.order,
                             static_cast<int32_t>(renderer->max_frame_size));
  });
  // An ambisonic input that is not rotated is itself the field that enters the binauralizer.
  const bool takes_field = takes_ambisonics(*renderer) && !is_tracked(*renderer);
  if (code != UBR_OK || takes_field) return code;
  return build_field(*renderer, &renderer->hoa_buffer_b);
}

// The record of the reflections holds the memory of the routes, too.
uint32_t ubr_init_reflections(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  routes_cleanup(renderer);
  const uint32_t code = build(renderer->reflections, reflections_cleanup, reflections_init);
  return code == UBR_OK ? routes_init(renderer) : code;
}

uint32_t ubr_init_reverb(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  return build(renderer->reverb, reverb_cleanup,
               [=](ubr_reverb_t* reverb) { return reverb_init(reverb, renderer->max_frame_size); });
}

uint32_t ubr_set_downmix_coefficients(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  constexpr float kGains[UBR_DOWNMIX_INPUTS][kNumEars] = {
      {1.0f, 0.0f},              // front left
      {0.0f, 1.0f},              // front right
      {kHalfPower, kHalfPower},  // centre
      {1.0f, 1.0f},              // LFE
      {kHalfPower, 0.0f},        // back left
      {0.0f, kHalfPower},        // back right
      {kHalfPower, 0.0f},        // side left
      {0.0f, kHalfPower},        // side right
  };
  for (uint32_t i = 0; i < UBR_DOWNMIX_INPUTS; ++i) {
    renderer->downmix_left[i] = kGains[i][0];
    renderer->downmix_right[i] = kGains[i][1];
  }
  return UBR_OK;
}

uint32_t ubr_reset(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  ubr_t& r = *renderer;
  ubr_reset_float_matrix(r.hoa_buffer_a, r.ambi_config.num_channels, r.max_frame_size);
  ubr_reset_float_matrix(r.hoa_buffer_b, r.ambi_config.num_channels, r.max_frame_size);
  if (r.encoder) encoder_reset(r.encoder);
  if (r.rotator) {
    if (const uint32_t code = rotator_reset(r.rotator)) return code;
  }
  if (r.binauralizer && binauralizer_reset(r.binauralizer)) return UBR_MISSING;
  if (r.reverb) {
    if (const uint32_t code = vn_reset(&r.reverb->velvet_noise)) return code;
  }
  return r.reflections ? ubr_reset_reflections(r.reflections, r.max_frame_size) : uint32_t{UBR_OK};
}

uint32_t ubr_cleanup(ubr_t* renderer) {
  if (!renderer) return UBR_MISSING;
  ubr_t& r = *renderer;
  routes_cleanup(renderer);
  discard(r.binauralizer, binauralizer_cleanup);
  discard(r.rotator, rotator_cleanup);
  discard(r.encoder, encoder_cleanup);
  discard(r.ambisonics, ambisonics_base_cleanup);
  discard(r.reflections, reflections_cleanup);
  discard(r.reverb, reverb_cleanup);
  discard_field(r, &r.hoa_buffer_a);
  discard_field(r, &r.hoa_buffer_b);
  const uint32_t input_type = r.input_type, render_mode = r.render_mode;
  r = {};
  // Deliberate: these two stay, because the caller chose them and a clean-up undoes what was built.
  r.input_type = input_type;
  r.render_mode = render_mode;
  return UBR_OK;
}
