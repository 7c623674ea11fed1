// SPDX-License-Identifier: Apache-2.0
// Draws a response: pulses, their decay, and the tone filter that colours them.
#include <math.h>

#include <algorithm>

#include "base/subnormals.h"
#include "room/iir_filter.h"
#include "room/random.h"
#include "room/velvet_noise_internal.h"

namespace {

constexpr float kPi = 3.1415927f;

struct biquad_t {
  float b[3];
  float a[3];
};

// High shelf after Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients".
biquad_t design_high_shelf(const vn_config_t& settings, float rate) {
  const float gain_db = ((settings.tone_gain - 1.0f) * 24.0f) * 0.5f;
  const float gain = powf(10.0f, gain_db / 40.0f);  // A: the square root of the shelf's gain
  const float w = std::min(settings.tone_corner_hz / (rate * 0.5f), 1.0f) * kPi;
  const float c = cosf(w);
  const float slope = (gain + 1.0f / gain) * (1.0f / settings.tone_slope - 1.0f) + 2.0f;
  const float alpha = sinf(w) / 2.0f * sqrtf(std::max(slope, 0.0f));
  const float q = 2.0f * sqrtf(gain) * alpha;
  const float sum = gain + 1.0f;
  const float difference = gain - 1.0f;
  const float a0 = sum - difference * c + q;
  return {{gain * (sum + difference * c + q) / a0, -2.0f * gain * (difference + sum * c) / a0,
           gain * (sum + difference * c - q) / a0},
          {1.0f, 2.0f * (difference - sum * c) / a0, (sum - difference * c - q) / a0}};
}

// Both poles lie inside the unit circle. False for coefficients that are not finite.
bool is_stable(const biquad_t& filter) {
  const auto a1 = static_cast<double>(filter.a[1]), a2 = static_cast<double>(filter.a[2]);
  return fabs(a2) < 1.0 && fabs(a1) < 1.0 + a2;
}

bool all_finite(const float* values, int32_t count) {
  return std::all_of(values, values + count, [](float v) { return isfinite(v); });
}

// L exp(-t / tau), with tau such that a pulse at `decay_s` has the magnitude 0.001.
class Envelope {
 public:
  explicit Envelope(const vn_state_t& state)
      : rate_(static_cast<float>(state.sample_rate)), level_(state.settings.level) {
    const float k = logf(0.001f / level_) / state.settings.decay_s;
    tau_s_ = -1.0f / k;
    // Its largest value is at one of its ends, and the level is finite.
    silent_ = !isfinite(magnitude(static_cast<float>(state.response_length)));
  }

  float at(float position) const { return silent_ ? 0.0f : magnitude(position); }

 private:
  float magnitude(float position) const { return level_ * expf(-(position / rate_) / tau_s_); }

  float rate_;
  float level_;
  float tau_s_;
  bool silent_;
};

// Offset of a pulse from its nominal place, within half a segment to either side.
// Deliberate: in the first segment only to the later side, as nothing lies before it.
float draw_jitter(uint32_t* rng, float half_segment, bool first_segment) {
  const auto half = static_cast<double>(half_segment);
  const double jitter = first_segment ? floor(b_rand(rng) * (half + 1.0))
                                      : floor(b_rand(rng) * (2.0 * half + 1.0)) - half;
  return static_cast<float>(jitter);
}

float draw_sign(uint32_t* rng) { return floor(2.0 * b_rand(rng)) == 0.0 ? -1.0f : 1.0f; }

}  // namespace

bool vn_settings_are_valid(const vn_state_t& state) {
  const vn_config_t& s = state.settings;
  const float values[VN_NUM_SETTINGS] = {
      s.enable, s.pulse_spacing, s.decay_s,        s.level,     s.pre_delay_ms,
      s.stereo, s.tone_enable,   s.tone_corner_hz, s.tone_gain, s.tone_slope};
  if (!all_finite(values, VN_NUM_SETTINGS)) return false;
  if (s.pulse_spacing < 1.0f || s.decay_s < 0.0f || s.pre_delay_ms < 0.0f) return false;
  if (s.tone_enable == 0.0f) return true;
  const biquad_t shelf = design_high_shelf(s, static_cast<float>(state.sample_rate));
  return s.tone_corner_hz >= 0.0f && all_finite(shelf.b, 3) && is_stable(shelf);
}

void vn_place_pulses(uint32_t* rng, const vn_state_t& state) {
  const vn_config_t& settings = state.settings;
  float* const responses[2] = {vn_work_vector(state, 0), vn_work_vector(state, 1)};
  const Envelope envelope(state);
  const float half_segment = floorf(settings.pulse_spacing / 2.0f);
  const auto last = static_cast<float>(state.response_length);
  const auto num_segments = static_cast<int32_t>(ceilf(last / settings.pulse_spacing));
  const bool stereo = settings.stereo == 1.0f;
  for (int32_t m = 0; m < num_segments; ++m) {
    float position = static_cast<float>(m) * settings.pulse_spacing + 1.0f;  // counted from 1
    for (int32_t c = 0; c < (stereo ? 2 : 1); ++c) {
      // Deliberate: the right pulse is displaced from the left one instead of from the segment, so
      // that the two stay near each other.
      position = std::min(position + draw_jitter(rng, half_segment, m == 0), last);
      const float pulse = draw_sign(rng) * envelope.at(position);
      const int32_t index = static_cast<int32_t>(position) - 1;
      responses[c][index] = pulse;
      if (!stereo) responses[1][index] = pulse;
    }
  }
}

void vn_tone_pass(const vn_state_t& state, float* response, int32_t count) {
  const biquad_t shelf = design_high_shelf(state.settings, static_cast<float>(state.sample_rate));
  // One after the other, as the filter would start from a pulse.
  for (int32_t k = 0; k < count; ++k) {
    float y = k < 3 ? shelf.b[k] : 0.0f;
    for (int32_t j = 1; j <= std::min(k, 2); ++j) y -= shelf.a[j] * response[k - j];
    response[k] = y;
  }
}

double vn_tone_radius(const vn_state_t& state) {
  if (state.settings.tone_enable == 0.0f) return 0.0;
  const biquad_t shelf = design_high_shelf(state.settings, static_cast<float>(state.sample_rate));
  if (std::equal(shelf.a, shelf.a + 3, shelf.b)) return 0.0;
  const auto half = 0.5 * fabs(static_cast<double>(shelf.a[1]));
  const auto a2 = static_cast<double>(shelf.a[2]);
  const double discriminant = half * half - a2;
  return discriminant < 0.0 ? sqrt(a2) : half + sqrt(discriminant);
}

void vn_apply_tone(const vn_state_t& state) {
  if (state.settings.tone_enable == 0.0f) return;
  const biquad_t shelf = design_high_shelf(state.settings, static_cast<float>(state.sample_rate));
  const FlushSubnormals flush;  // both passes end in such
  int32_t size[2] = {state.fft_size, 2};
  float* const responses = vn_work_vector(state, 0);
  float* const filtered = vn_work_vector(state, 2);
  const auto reverse_both = [n = state.fft_size](float* vectors) {
    std::reverse(vectors, vectors + n);
    std::reverse(vectors + n, vectors + ptrdiff_t{2} * n);
  };
  filter(shelf.b, shelf.a, responses, size, filtered, size);
  reverse_both(filtered);
  filter(shelf.b, shelf.a, filtered, size, responses, size);
  reverse_both(responses);
}
