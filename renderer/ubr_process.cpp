// One block through the renderer.
#include <algorithm>

#include "ambisonics/rotator_fade.h"
#include "ambisonics/turning_encoder.h"
#include "base/result.h"
#include "base/subnormals.h"
#include "renderer/resting.h"
#include "renderer/room_modules.h"
#include "renderer/ubr.h"

namespace {

bool encoder_is_ready(const ubr_t& r) {
  return r.encoder && r.encoder->max_frame_size >= r.frame_size;
}

// Sources that follow the head, written over `field`.
uint32_t encode_tracked(const ubr_t& r, const float* const* inputs, float* const* field) {
  if (!encoder_is_ready(r) || !field) return UBR_MISSING;
  return encoder_process_dynamic(r.encoder, inputs, field, r.frame_size, 0);
}

// Head-locked sources and the LFE, added to `field`.
uint32_t encode_head_locked(const ubr_t& r, const float* const* inputs, float* const* field) {
  if (!encoder_is_ready(r) || !field) return UBR_MISSING;
  return encoder_process_static(r.encoder, inputs, field, r.frame_size, 1);
}

uint32_t rotate(const ubr_t& r, const float* const* field, float* const* rotated) {
  if (!r.rotator || !rotated) return UBR_MISSING;
  return rotator_process(r.rotator, field, rotated, r.frame_size);
}

uint32_t binauralize(const ubr_t& r, const float* const* field, float* const* ears) {
  if (!r.binauralizer) return UBR_MISSING;
  // Deliberate: a binauralizer that lost its buffers is silent, which is no failure of the block.
  binauralizer_process(r.binauralizer, field, ears, r.frame_size);
  return UBR_OK;
}

uint32_t reflect(const ubr_t& r, float* const* field) {
  return ubr_process_reflections(r.reflections, field, field, r.frame_size) ? UBR_MISSING : UBR_OK;
}

bool has_no_reflections(const ubr_t& r) {
  return r.reflections && r.reflections->reflections_mode == 0;
}

// Whether the field after the rotation can be had without the one before it, and sooner.
bool can_turn_sources(const ubr_t& r) {
  return encoder_is_ready(r) && r.rotator && r.frame_size <= r.rotator->max_frame_size &&
         turning_encoder_is_shorter(*r.encoder, *r.rotator, r.frame_size);
}

// Adds the tail of the omnidirectional channel.
uint32_t reverberate(const ubr_t& r, const float* const* field, float* const* ears) {
  return ubr_process_reverb(r.reverb, field[0], ears, r.frame_size);
}

// Whether nothing between encoder and ears moves in this block or adds to the field.
bool is_still(const ubr_t& r) {
  if (!encoder_is_ready(r) || !r.binauralizer || !r.hoa_buffer_b) return false;
  if (r.render_mode == UBR_MODE_BINAURAL) return true;
  return r.rotator && r.frame_size <= r.rotator->max_frame_size && rotator_is_at_rest(*r.rotator) &&
         has_no_reflections(r);
}

bool can_render_at_rest(const ubr_t& r) {
  if (!r.resting) return false;
  if (is_still(r)) {
    return resting_prepare(r.resting, *r.encoder, r.rotator, *r.binauralizer, r.frame_size);
  }
  resting_forget(r.resting);
  return false;
}

uint32_t render_at_rest(const ubr_t& r, const float* const* inputs, float* const* ears) {
  float* const omni = r.reverb && reverb_is_on(*r.reverb) ? r.hoa_buffer_b[0] : nullptr;
  resting_process(r.resting, r.binauralizer, inputs, omni, ears, r.frame_size);
  return reverberate(r, r.hoa_buffer_b, ears);
}

uint32_t render_ambisonic(const ubr_t& r, const float* const* inputs, float* const* outputs) {
  if (const uint32_t code = encode_tracked(r, inputs, outputs)) return code;
  return encode_head_locked(r, inputs, outputs);
}

// Encodes around the rotation: what is head-locked joins the field after it.
uint32_t render_tracked(const ubr_t& r, const float* const* inputs, float* const* outputs) {
  if (outputs && can_turn_sources(r)) {
    turning_encoder_process(r.encoder, r.rotator, inputs, outputs, r.frame_size);
    return encode_head_locked(r, inputs, outputs);
  }
  if (const uint32_t code = encode_tracked(r, inputs, r.hoa_buffer_a)) return code;
  if (const uint32_t code = rotate(r, r.hoa_buffer_a, outputs)) return code;
  return encode_head_locked(r, inputs, outputs);
}

// As render_tracked, with reflections in the field before the rotation.
uint32_t render_reflected(const ubr_t& r, const float* const* inputs, float* const* outputs) {
  if (const uint32_t code = encode_tracked(r, inputs, r.hoa_buffer_a)) return code;
  if (const uint32_t code = reflect(r, r.hoa_buffer_a)) return code;
  if (const uint32_t code = rotate(r, r.hoa_buffer_a, outputs)) return code;
  return encode_head_locked(r, inputs, outputs);
}

uint32_t render_binaural_tracked(const ubr_t& r, const float* const* inputs, float* const* ears) {
  if (can_render_at_rest(r)) return render_at_rest(r, inputs, ears);
  const auto render_field = has_no_reflections(r) ? render_tracked : render_reflected;
  if (const uint32_t code = render_field(r, inputs, r.hoa_buffer_b)) return code;
  if (const uint32_t code = binauralize(r, r.hoa_buffer_b, ears)) return code;
  return reverberate(r, r.hoa_buffer_b, ears);
}

// Deliberate: without head tracking there are no early reflections.
uint32_t render_binaural(const ubr_t& r, const float* const* inputs, float* const* ears) {
  if (can_render_at_rest(r)) return render_at_rest(r, inputs, ears);
  if (const uint32_t code = render_ambisonic(r, inputs, r.hoa_buffer_b)) return code;
  if (const uint32_t code = binauralize(r, r.hoa_buffer_b, ears)) return code;
  return reverberate(r, r.hoa_buffer_b, ears);
}

// An ambisonic input has no early reflections in any mode; its tail is that of the input itself.
uint32_t rotate_to_ears(const ubr_t& r, const float* const* inputs, float* const* ears) {
  if (const uint32_t code = rotate(r, inputs, r.hoa_buffer_b)) return code;
  if (const uint32_t code = binauralize(r, r.hoa_buffer_b, ears)) return code;
  return reverberate(r, inputs, ears);
}

uint32_t input_to_ears(const ubr_t& r, const float* const* inputs, float* const* ears) {
  if (const uint32_t code = binauralize(r, inputs, ears)) return code;
  return reverberate(r, inputs, ears);
}

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
  switch (renderer->render_mode) {
    case UBR_MODE_AMBISONIC:
      return render_ambisonic(*renderer, inputs, outputs);
    case UBR_MODE_AMBISONIC_TRACKED:
      return render_tracked(*renderer, inputs, outputs);
    case UBR_MODE_BINAURAL_TRACKED:
      return render_binaural_tracked(*renderer, inputs, outputs);
    case UBR_MODE_BINAURAL:
      return render_binaural(*renderer, inputs, outputs);
    case UBR_MODE_DOWNMIX:
      return ubr_downmix(renderer, inputs, outputs);
    default:
      return UBR_MISSING;
  }
}

uint32_t ubr_process_hoa(ubr_t* renderer, const float* const* inputs, float* const* outputs) {
  if (!renderer) return UBR_MISSING;
  const FlushSubnormals flush;
  switch (renderer->render_mode) {
    case UBR_MODE_AMBISONIC_TRACKED:
      return rotate(*renderer, inputs, outputs);
    case UBR_MODE_BINAURAL_TRACKED:
      return rotate_to_ears(*renderer, inputs, outputs);
    case UBR_MODE_BINAURAL:
      return input_to_ears(*renderer, inputs, outputs);
    default:
      return UBR_MISSING;
  }
}

uint32_t ubr_downmix(ubr_t* renderer, const float* const* inputs, float* const* outputs) {
  if (!renderer) return UBR_MISSING;
  const float* const gains[] = {renderer->downmix_left, renderer->downmix_right};
  const uint32_t num_inputs = std::min<uint32_t>(renderer->num_inputs, UBR_DOWNMIX_INPUTS);
  for (uint32_t side = 0; side < 2; ++side) {
    for (uint32_t f = 0; f < renderer->frame_size; ++f) {
      float sum = 0.0f;
      for (uint32_t k = 0; k < num_inputs; ++k) sum += inputs[k][f] * gains[side][k];
      outputs[side][f] = sum;
    }
  }
  return UBR_OK;
}
