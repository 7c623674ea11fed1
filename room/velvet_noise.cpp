// SPDX-License-Identifier: Apache-2.0
#include "room/velvet_noise.h"

#include <math.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "room/random.h"
#include "room/velvet_noise_internal.h"

namespace {

constexpr vn_config_t kDefaultSettings = {1.0f, 80.0f, 0.25f,    0.1f,  30.0f,
                                          1.0f, 1.0f,  10000.0f, -1.0f, 1.0f};
constexpr int32_t kNumWorkVectors = 4;
constexpr int32_t kMinFftSize = 32;

static_assert(sizeof(vn_config_t) == VN_NUM_SETTINGS * sizeof(float));
static_assert(offsetof(vn_state_t, response_length) == 20 &&
              offsetof(vn_state_t, convolution_length) == 44);
static_assert(offsetof(vn_state_t, settings) == 48 && offsetof(vn_state_t, num_work_vectors) == 88);
static_assert(is_laid_out(offsetof(vn_state_t, ring_buffers), 96));
static_assert(is_laid_out(offsetof(vn_state_t, fft_setup), 120));
static_assert(is_laid_out(sizeof(vn_state_t), 128));

void release_buffers(vn_state_t& s) {
  if (s.fft_setup) {
    lane_transform_cleanup(&s.fft_setup->transform);
    release(s.fft_setup->pulses);
    release_aligned(s.fft_setup->scratch);
  }
  release_aligned(s.spectra, s.work_area);
  release(s.ring_buffers, s.fft_setup);
}

size_t ring_samples(const vn_state_t& s) {
  return checked_mul(size_t{kVnOutputs}, static_cast<size_t>(s.ring_length));
}

// Clamped, because a reset may find settings that no preparation has checked yet.
int32_t pre_delay_samples(const vn_state_t& s) {
  const float delay_ms = fminf(fmaxf(s.settings.pre_delay_ms, 0.0f), s.max_pre_delay_ms);
  return static_cast<int32_t>(ceilf(delay_ms / 1000.0f * static_cast<float>(s.sample_rate)));
}

void set_sizes(vn_state_t& s) {
  const float rate = static_cast<float>(s.sample_rate);
  s.response_length = static_cast<int32_t>(roundf(s.settings.decay_s * rate));
  s.convolution_length = checked_add(s.response_length, checked_sub(s.block_size, 1));
  s.fft_size = kMinFftSize;
  while (s.fft_size < s.convolution_length) s.fft_size = checked_mul(s.fft_size, 2);
  s.read_index = 0;
  s.write_index = pre_delay_samples(s);
  s.ring_length = checked_add(s.convolution_length, s.write_index);
}

// Those that do not depend on the response.
uint32_t make_buffers(vn_state_t& s) {
  s.ring_buffers = alloc_zeroed<float>(ring_samples(s));
  s.work_area = alloc_aligned<float>(static_cast<size_t>(s.num_work_vectors),
                                     static_cast<size_t>(s.fft_size));
  s.fft_setup = alloc_zeroed<vn_convolver_t>(1u);
  return s.ring_buffers && s.work_area && s.fft_setup ? UBR_OK : UBR_NO_MEMORY;
}

// Gives the response the form in which blocks meet it.
uint32_t make_convolver(vn_state_t& s) {
  const uint32_t code = vn_gather_pulses(&s);
  return code || s.fft_setup->pulses ? code : vn_make_partitions(&s);
}

bool is_off(const vn_state_t& s) { return s.settings.enable == 0.0f || s.settings.decay_s == 0.0f; }

bool is_prepared(const vn_state_t& s) { return s.ring_buffers && s.fft_setup; }

// The smaller of two: the block size that the buffers were made for, and the current one, which may
// have been lowered since.
int32_t longest_block(const vn_state_t& s) {
  return std::min(s.block_size, s.convolution_length - s.response_length + 1);
}

void write_silence(float* output, int32_t frames) {
  if (frames > 0) std::fill_n(output, ptrdiff_t{kVnOutputs} * frames, 0.0f);
}

void average_channels(float* channels, int32_t frames) {
  for (int32_t t = 0; t < frames; ++t) channels[t] = (channels[t] + channels[frames + t]) * 0.5f;
}

void take_from_ring(float* ring, int32_t ring_length, int32_t start, float* out, int32_t count) {
  const int32_t before_wrap = std::min(count, ring_length - start);
  std::copy_n(ring + start, before_wrap, out);
  std::fill_n(ring + start, before_wrap, 0.0f);
  std::copy_n(ring, count - before_wrap, out + before_wrap);
  std::fill_n(ring, count - before_wrap, 0.0f);
}

}  // namespace

uint32_t vn_init(vn_state_t* state, uint32_t* const* rng) {
  if (!state || !rng || !*rng) return UBR_MISSING;
  *state = {};
  state->supported_rate = ORVANE_SAMPLE_RATE;
  state->max_block_size = VN_MAX_BLOCK_SIZE;
  state->max_decay_s = 2.0f;
  state->max_pre_delay_ms = 100.0f;
  state->num_work_vectors = kNumWorkVectors;
  state->settings = kDefaultSettings;
  random_init(*rng);
  return UBR_OK;
}

void vn_copy_unprepared(const vn_state_t& from, vn_state_t* to) {
  *to = from;
  to->ring_buffers = to->work_area = to->spectra = nullptr;
  to->fft_setup = nullptr;
}

uint32_t vn_get_config(const vn_state_t* state, vn_config_t* config) {
  if (!state || !config) return UBR_MISSING;
  *config = state->settings;
  return UBR_OK;
}

uint32_t vn_set_config(vn_state_t* state, const float settings[VN_NUM_SETTINGS]) {
  if (!state || !settings) return UBR_MISSING;
  memcpy(&state->settings, settings, sizeof(state->settings));
  return UBR_OK;
}

uint32_t vn_set_fs(vn_state_t* state, uint32_t sample_rate) {
  if (!state) return UBR_MISSING;
  if (sample_rate != state->supported_rate) return UBR_INVALID;
  state->sample_rate = sample_rate;
  return UBR_OK;
}

uint32_t vn_set_buf_size(vn_state_t* state, int32_t frames) {
  if (!state) return UBR_MISSING;
  if (frames < 1 || frames > state->max_block_size) return UBR_INVALID;
  state->block_size = frames;
  return UBR_OK;
}

uint32_t vn_prepare_to_play(uint32_t* rng, vn_state_t* state) {
  if (!state) return UBR_MISSING;
  vn_state_t& s = *state;
  if (s.settings.enable == 0.0f) return vn_terminate(state);
  if (s.sample_rate == 0 || s.block_size < 1) return UBR_MISSING;
  if (!vn_settings_are_valid(s)) return UBR_INVALID;
  s.settings.decay_s = std::min(s.settings.decay_s, s.max_decay_s);
  s.settings.pre_delay_ms = std::min(s.settings.pre_delay_ms, s.max_pre_delay_ms);
  release_buffers(s);  // before the sizes change that describe them
  set_sizes(s);
  uint32_t code = make_buffers(s);
  if (code == UBR_OK && !rng) code = UBR_MISSING;
  if (code == UBR_OK && s.response_length > 0) {  // otherwise nothing but zeros
    vn_place_pulses(rng, s);
    code = make_convolver(s);
  }
  code == UBR_OK ? release_aligned(s.work_area) : release_buffers(s);
  return code;
}

uint32_t vn_process(const uint32_t* rng, vn_state_t* state, const float* input,
                    const int32_t input_size[2], float* output, const int32_t output_size[2]) {
  if (!state || !input || !input_size || !output || !output_size) return UBR_MISSING;
  if (input_size[1] < 1 || input_size[1] > 2 || output_size[1] != kVnOutputs) return UBR_MISSING;
  vn_state_t& s = *state;
  const int32_t frames = output_size[0];
  if (is_off(s)) {
    write_silence(output, frames);
    return UBR_OK;
  }
  if (!rng || !is_prepared(s)) return UBR_MISSING;
  if (frames != input_size[0] || frames < 0 || frames > longest_block(s)) return UBR_MISSING;
  // Deliberate: the average overwrites the caller's first channel, which saves a buffer.
  if (input_size[1] == 2) average_channels(const_cast<float*>(input), frames);
  if (s.response_length < 1) {
    write_silence(output, frames);
    return UBR_OK;
  }
  s.fft_setup->pulses ? vn_add_pulses(s, input, frames) : vn_add_partitions(s, input, frames);
  for (int32_t c = 0; c < kVnOutputs; ++c) {
    float* const ring = s.ring_buffers + ptrdiff_t{c} * s.ring_length;
    take_from_ring(ring, s.ring_length, s.read_index, output + ptrdiff_t{c} * frames, frames);
  }
  s.read_index = checked_add(s.read_index, frames) % s.ring_length;
  s.write_index = checked_add(s.write_index, frames) % s.ring_length;
  return UBR_OK;
}

uint32_t vn_reset(vn_state_t* state) {
  if (!state) return UBR_MISSING;
  vn_state_t& s = *state;
  s.read_index = 0;
  s.write_index = pre_delay_samples(s);
  if (!s.ring_buffers) return UBR_OK;
  std::fill_n(s.ring_buffers, ring_samples(s), 0.0f);
  // A longer pre-delay that waits for its preparation has no room in the rings yet.
  s.write_index = std::min(s.write_index, s.ring_length - s.convolution_length);
  return UBR_OK;
}

uint32_t vn_terminate(vn_state_t* state) {
  if (state) release_buffers(*state);
  return UBR_OK;
}
