// SPDX-License-Identifier: Apache-2.0
// Responses with few pulses: every pulse is added by itself, after the tone filter.

#include <math.h>

#include <algorithm>

#include "base/memory.h"
#include "base/result.h"
#include "numerics/sparse_filter.h"
#include "room/velvet_noise_internal.h"

namespace {

constexpr int32_t kMaxReach = 64;       // samples that the tone filter may reach to either side
constexpr double kMaxRadius = 0.78;     // of its poles, which are silent after such a reach
constexpr int32_t kPassLength = 256;    // samples of one pass of it that are looked at
constexpr double kInaudible = 1e-7;     // of the tone response's sum, that is left out at its ends
constexpr int32_t kPointsPerPulse = 8;  // of fft_size: with fewer, partitions take less time

// Half of the tone filter's zero-phase response: `taps` up to `reach` samples from its middle.
struct tone_t {
  int32_t reach;
  float taps[kPassLength];
};

// The forward and the backward pass together are the autocorrelation of one pass.
tone_t measure_tone(const vn_state_t& state) {
  float pass[kPassLength];
  tone_t tone = {};
  vn_tone_pass(state, pass, kPassLength);
  double sum = 0.0;
  for (int32_t d = 0; d < kPassLength; ++d) {
    double tap = 0.0;
    for (int32_t i = 0; i + d < kPassLength; ++i)
      tap += static_cast<double>(pass[i]) * static_cast<double>(pass[i + d]);
    tone.taps[d] = static_cast<float>(tap);
    sum += fabs(tap);
  }
  double left_out = 0.0;
  for (tone.reach = kPassLength - 1; tone.reach > 0; --tone.reach) {
    left_out += fabs(static_cast<double>(tone.taps[tone.reach]));
    if (left_out > kInaudible * sum) break;
  }
  return tone;
}

tone_t no_tone() {
  tone_t tone = {};
  tone.taps[0] = 1.0f;
  return tone;
}

int32_t count_pulses(const vn_state_t& state, int32_t channel) {
  const float* response = vn_work_vector(state, channel);
  return static_cast<int32_t>(std::count_if(response, response + state.response_length,
                                            [](float pulse) { return pulse != 0.0f; }));
}

// The transforms would also wrap around what the tone filter adds beyond a full convolution.
bool pulses_serve(const vn_state_t& s, int32_t reach) {
  if (vn_tone_radius(s) > kMaxRadius) return false;
  const int32_t num_pulses = s.fft_setup->num_pulses[0] + s.fft_setup->num_pulses[1];
  return reach <= kMaxReach && s.convolution_length + reach <= s.fft_size &&
         num_pulses <= s.fft_size / kPointsPerPulse;
}

// The whole tone response, sample `reach` being its middle.
void write_tone(const tone_t& tone, sparse_tap_t* taps) {
  for (int32_t i = 0; i <= 2 * tone.reach; ++i) {
    taps[i] = {i, tone.taps[std::max(i, 2 * tone.reach - i) - tone.reach]};
  }
}

void write_pulses(const float* response, int32_t reach, int32_t count, sparse_tap_t* taps) {
  for (int32_t at = 0, n = 0; n < count; ++at) {
    if (response[at] != 0.0f) taps[n++] = {at - reach, response[at]};
  }
}

// The tone filter starts with the response: what it would put before the first sample is taken
// back.
void write_corrections(const float* response, const tone_t& tone, sparse_tap_t* taps) {
  for (int32_t at = -tone.reach; at < 0; ++at) {
    float before_start = 0.0f;
    for (int32_t p = 0; p - at <= tone.reach; ++p) before_start += response[p] * tone.taps[p - at];
    taps[at + tone.reach] = {at, -before_start};
  }
}

// A block's samples with zeros on either side, for the kernel to read across their ends.
size_t padded(int32_t length) {
  return static_cast<size_t>(length) + size_t{2} * SPARSE_FILTER_MARGIN;
}

// `length` zeros with their margins, from `scratch` on; returns the first of the zeros.
float* clear_scratch(float* scratch, int32_t length) {
  std::fill_n(scratch, padded(length), 0.0f);
  return scratch + SPARSE_FILTER_MARGIN;
}

void add_to_ring(const vn_state_t& s, int32_t channel, sparse_response_t response,
                 const float* samples, int32_t length) {
  float* const ring = s.ring_buffers + ptrdiff_t{channel} * s.ring_length;
  const int32_t before_wrap = std::min(s.convolution_length, s.ring_length - s.write_index);
  sparse_filter_add(response, samples, length, 0, before_wrap, ring + s.write_index);
  sparse_filter_add(response, samples, length, before_wrap, s.convolution_length - before_wrap,
                    ring);
}

}  // namespace

uint32_t vn_gather_pulses(vn_state_t* state) {
  vn_state_t& s = *state;
  vn_convolver_t& v = *s.fft_setup;
  const tone_t tone = s.settings.tone_enable != 0.0f ? measure_tone(s) : no_tone();
  v.tone_reach = tone.reach;
  for (int32_t c = 0; c < kVnOutputs; ++c) v.num_pulses[c] = count_pulses(s, c);
  if (!pulses_serve(s, tone.reach)) return UBR_OK;
  const int32_t num_tone_taps = 2 * tone.reach + 1;
  const int32_t num_taps =
      num_tone_taps + v.num_pulses[0] + v.num_pulses[1] + kVnOutputs * tone.reach;
  v.pulses = alloc_zeroed<sparse_tap_t>(static_cast<size_t>(num_taps));
  v.scratch = alloc_aligned<float>(padded(s.block_size) + padded(s.block_size + 2 * tone.reach));
  if (!v.pulses || !v.scratch) return UBR_NO_MEMORY;
  write_tone(tone, v.pulses);
  sparse_tap_t* taps = v.pulses + num_tone_taps;
  for (int32_t c = 0; c < kVnOutputs; ++c) {
    const float* response = vn_work_vector(s, c);
    write_corrections(response, tone, taps);
    taps += tone.reach;
    write_pulses(response, tone.reach, v.num_pulses[c], taps);
    taps += v.num_pulses[c];
  }
  return UBR_OK;
}

void vn_add_pulses(const vn_state_t& s, const float* input, int32_t frames) {
  const vn_convolver_t& v = *s.fft_setup;
  float* const white = clear_scratch(v.scratch, frames);
  std::copy_n(input, frames, white);
  const int32_t reach = v.tone_reach, num_tone_taps = 2 * reach + 1;
  const int32_t coloured_frames = frames + 2 * reach;
  float* const coloured = clear_scratch(v.scratch + padded(frames), coloured_frames);
  sparse_filter_add({v.pulses, num_tone_taps}, white, frames, 0, coloured_frames, coloured);
  const sparse_tap_t* taps = v.pulses + num_tone_taps;
  for (int32_t c = 0; c < kVnOutputs; ++c) {
    add_to_ring(s, c, {taps, reach}, white, frames);
    taps += reach;
    add_to_ring(s, c, {taps, v.num_pulses[c]}, coloured, coloured_frames);
    taps += v.num_pulses[c];
  }
}
