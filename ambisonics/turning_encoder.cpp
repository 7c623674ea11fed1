#include "ambisonics/turning_encoder.h"

#include "ambisonics/encoder_selection.h"
#include "ambisonics/rotator_fade.h"
#include "base/checked.h"
#include "numerics/mix_channels.h"

namespace {

constexpr uint32_t kMaxSources = AMBISONICS_MAX_CHANNELS / 2;
constexpr uint32_t kMinFrames = 96;  // fewer do not make up for turning the beams
constexpr uint32_t kMaxPaddedChannels = round_up_to_4(AMBISONICS_MAX_CHANNELS);

using turned_beams_t = float[kMaxSources][kMaxPaddedChannels];

// turned[s] = beam of the selected source s, times `matrix`, one of the rotator's.
void turn_beams(const encoder_t& e, const rotator_t& r, const float* matrix, uint32_t num_sources,
                turned_beams_t& turned) {
  const uint32_t num_channels = r.ambisonics->num_channels;
  const float* in[AMBISONICS_MAX_CHANNELS];
  float* out[kMaxSources];
  for (uint32_t c = 0; c < num_channels; ++c) in[c] = matrix + size_t{c} * r.padded_channels;
  for (uint32_t s = 0; s < num_sources; ++s) out[s] = turned[s];
  mix_channels({e.gain_matrix, 1, e.padded_channels}, {in, num_channels}, {out, num_sources},
               r.padded_channels, false);
}

}  // namespace

bool turning_encoder_is_shorter(const encoder_t& encoder, const rotator_t& rotator,
                                uint32_t frames) {
  // A fading weight is two multiply-adds: per source two for every channel here, one there and two
  // for every weight of the rotation, which is sparse.
  const uint32_t max_sources = rotator.ambisonics->num_channels / 2;
  return frames >= kMinFrames && encoder_count_dynamic(encoder) <= max_sources &&
         !rotator_is_at_rest(rotator);
}

void turning_encoder_process(encoder_t* encoder, rotator_t* rotator, const float* const* inputs,
                             float* const* field, uint32_t frames) {
  const uint32_t num_sources = encoder_gather_dynamic(encoder, inputs);
  rotator_start_fade(rotator, frames);
  turned_beams_t starts, increments;
  turn_beams(*encoder, *rotator, rotator->previous_matrix, num_sources, starts);
  turn_beams(*encoder, *rotator, rotator->delta_matrix, num_sources, increments);
  mix_channels_fading({starts[0], kMaxPaddedChannels, 1}, increments[0],
                      {encoder->selected_inputs, num_sources},
                      {field, rotator->ambisonics->num_channels}, frames);
  rotator_end_fade(rotator);
}
