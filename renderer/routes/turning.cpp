// SPDX-License-Identifier: Apache-2.0
// The route of a head that turns among few sources, without reflections: the SH weights of the
// sources are rotated instead of the field. The weights of each source ramp from those rotated by P
// to those rotated by R, so that encoding and rotation are one product.
#include "ambisonics/encoder_internal.h"
#include "ambisonics/rotator_internal.h"
#include "base/checked.h"
#include "base/result.h"
#include "numerics/mix_channels.h"
#include "numerics/overlap.h"
#include "renderer/routes/route.h"

namespace {

constexpr uint32_t kMaxSources = AMBISONICS_MAX_CHANNELS / 2;
constexpr uint32_t kMinFrames = 96;  // shorter blocks save less than it costs to rotate the weights
constexpr uint32_t kMaxPaddedChannels = round_up_to_4(AMBISONICS_MAX_CHANNELS);

using rotated_weights_t = float[kMaxSources][kMaxPaddedChannels];

float* const* field_of(const ubr_t& r, const block_t& block) {
  return is_binaural(r) ? r.hoa_buffer_b : block.outputs;
}

// A weight that ramps takes two multiply-adds. This route ramps every weight of every source. The
// plain route ramps only the weights of the rotation, which are few, and encodes with static
// weights at one multiply-add each. So this route pays for few sources only.
bool has_few_sources(const ubr_t& r) {
  return encoder_count_dynamic(*r.encoder) <= r.ambi_config.num_channels / 2;
}

// The caller's outputs may overlap its inputs. One product cannot read what it overwrites.
bool can_write_over(float* const* field, const ubr_t& r, const block_t& block) {
  return field == r.hoa_buffer_b ||
         !channels_overlap({block.inputs, r.num_inputs}, {field, r.num_outputs}, block.frames);
}

bool fits(const ubr_t& r, const block_t& block, void*) {
  float* const* const field = field_of(r, block);
  return is_tracked(r) && !is_reflected(r) && r.rotator && field && encoder_takes(r, block) &&
         block.frames >= kMinFrames && block.frames <= r.rotator->max_frame_size &&
         !rotator_is_static(*r.rotator) && has_few_sources(r) && can_write_over(field, r, block);
}

// rotated[s] = weights of the gathered source s, times `matrix`, one of the rotator's.
void rotate_weights(const encoder_t& e, const rotator_t& r, const float* matrix,
                    uint32_t num_sources, rotated_weights_t& rotated) {
  const uint32_t num_channels = r.ambisonics->num_channels;
  const float* in[AMBISONICS_MAX_CHANNELS];
  float* out[kMaxSources];
  for (uint32_t c = 0; c < num_channels; ++c) in[c] = matrix + size_t{c} * r.padded_channels;
  for (uint32_t s = 0; s < num_sources; ++s) out[s] = rotated[s];
  mix_channels({e.gain_matrix, 1, e.padded_channels}, {in, num_channels}, {out, num_sources},
               r.padded_channels, false);
}

void encode_turned(encoder_t* encoder, rotator_t* rotator, const block_t& block,
                   float* const* field) {
  const channels_t<const float> sources = encoder_gather_dynamic(encoder, block.inputs);
  rotator_start_ramp(rotator, block.frames);
  rotated_weights_t starts, increments;
  rotate_weights(*encoder, *rotator, rotator->previous_matrix, sources.count, starts);
  rotate_weights(*encoder, *rotator, rotator->delta_matrix, sources.count, increments);
  mix_channels_fading({starts[0], kMaxPaddedChannels, 1}, increments[0], sources,
                      {field, rotator->ambisonics->num_channels}, block.frames);
  rotator_end_ramp(rotator);
}

uint32_t render(const ubr_t& r, const block_t& block, void*) {
  float* const* const field = field_of(r, block);
  encode_turned(r.encoder, r.rotator, block, field);
  if (const uint32_t code = add_head_locked_sources(r, block, field)) return code;
  if (!is_binaural(r)) return UBR_OK;
  if (const uint32_t code = binauralize_field(r, block, field)) return code;
  return add_reverberation(r, block, field);
}

}  // namespace

const route_t kTurningRoute = {"turning", fits, render, nullptr, nullptr};
