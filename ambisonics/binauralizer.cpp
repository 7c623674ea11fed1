// Building, growing and releasing a binauralizer.
#include "ambisonics/binauralizer.h"

#include <math.h>
#include <pffft.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer_built.h"
#include "ambisonics/binauralizer_transforms.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"

static_assert(int{SH_HRIR_CHANNELS} == int{AMBISONICS_MAX_CHANNELS}, "one response per channel");
static_assert(alignof(max_align_t) >= 16, "PFFFT reads heap buffers in vectors of 16 bytes");

namespace {

constexpr uint32_t kNumEars = 2;
constexpr uint32_t kMaxFftSize = 1u << 30;

// The power of two that holds a block and the response to its last sample: what the overlap is
// counted by.
uint32_t choose_fft_size(uint32_t max_frame_size) {
  constexpr float kLn2 = 0.6931472f;
  const uint32_t needed = checked_add(max_frame_size, uint32_t{SH_HRIR_TAPS});
  if (needed > kMaxFftSize) abort();
  const float exponent = ceilf(logf(static_cast<float>(needed)) / kLn2);
  uint32_t size = static_cast<uint32_t>(exp2f(exponent));
  while (size < needed) size *= 2;  // the rounded logarithm may fall short
  return size;
}

uint32_t order_of(const binauralizer_t& b) {
  uint32_t order = 0;
  while ((order + 1) * (order + 1) < b.num_sh_channels) ++order;
  return order;
}

// Samples of overlap that the next block receives.
uint32_t stored_overlap(const binauralizer_t& b) {
  return std::min(b.prev_tail_length, b.fft_size - 1);
}

void clear(float* samples, uint32_t count) {
  if (samples) memset(samples, 0, sizeof(float) * count);
}

void copy(const float* from, float* to, uint32_t count) { memcpy(to, from, sizeof(float) * count); }

bool has_rows(const float* const* matrix, uint32_t rows) {
  return matrix && std::all_of(matrix, matrix + rows, [](const float* row) { return row; });
}

uint32_t make_fft_setups(binauralizer_t* b) {
  for (uint32_t k = 0; k < b->num_transforms; ++k) {
    b->fft_setups[k] = pffft_new_setup(static_cast<int>(kTransformSizes[k]), PFFFT_REAL);
    if (!b->fft_setups[k]) return UBR_MISSING;
    b->fft_setup = b->fft_setups[k];
  }
  return UBR_OK;
}

void destroy_fft_setups(binauralizer_t* b) {
  for (PFFFT_Setup*& setup : b->fft_setups) {
    if (setup) pffft_destroy_setup(setup);
    setup = nullptr;
  }
  b->fft_setup = nullptr;
}

uint32_t make_degree_table(binauralizer_t* b, int32_t order) {
  b->sh_degree_m = alloc_zeroed<int32_t>(b->num_sh_channels);
  if (!b->sh_degree_m) return UBR_MISSING;
  int32_t* next = b->sh_degree_m;
  for (int32_t n = 0; n <= order; ++n) {
    for (int32_t m = -n; m <= n; ++m) *next++ = m;
  }
  return UBR_OK;
}

uint32_t make_lane_transforms(binauralizer_t* b) {
  b->lane_transforms = alloc_zeroed<lane_transform_t>(b->num_transforms);
  if (!b->lane_transforms) return UBR_NO_MEMORY;
  for (uint32_t k = 0; k < b->num_transforms; ++k) {
    const uint32_t size = kTransformSizes[checked_index(k, BINAURALIZER_MAX_TRANSFORMS)];
    if (const uint32_t code = lane_transform_init(&b->lane_transforms[k], size)) return code;
  }
  return UBR_OK;
}

// Floats of the spectrum buffer: the channels of S, or the sources of a scene at rest, of which
// there are fewer than channels.
uint32_t spectrum_buffer_size(const binauralizer_t& b) {
  const uint32_t most = std::max(b.num_sh_channels - 1, 1u);
  return static_cast<uint32_t>(batch_size(longest_transform(b))) * count_batches(most) +
         batch_slack();
}

// Floats of a row of responses; S has the larger share of the channels.
uint32_t response_row_size(const binauralizer_t& b) {
  const binauralizer_transform_t longest = choose_transform(b, longest_transform(b));
  const uint32_t batches = count_batches(find_channels(b, false).count);
  return static_cast<uint32_t>(batch_size(longest.shorter + longest.size)) * batches +
         batch_slack();
}

uint32_t make_buffers(binauralizer_t* b) {
  const uint32_t longest = longest_transform(*b);
  b->time_buffer = alloc_zeroed<float>(longest);
  b->spectrum_buffer = alloc_zeroed<float>(spectrum_buffer_size(*b));
  if (!b->time_buffer || !b->spectrum_buffer) return UBR_NO_MEMORY;
  if (const uint32_t code = ubr_init_float_matrix(&b->ear_spectra, kNumEars, longest)) return code;
  if (const uint32_t code = ubr_init_float_matrix(&b->overlap_tails, kNumEars, b->fft_size - 1)) {
    return code;
  }
  return ubr_init_float_matrix(&b->hrtf_spectra, kNumEars, response_row_size(*b));
}

// The responses at one transform length. Scaled here, products need no scaling for the way back.
void transform_responses(binauralizer_t* b, const binauralizer_transform_t& transform,
                         bool mirrored) {
  const float scale = 0.5f / static_cast<float>(transform.size);  // products come out twofold
  const lane_channels_t lanes = find_channels(*b, mirrored);
  float* const responses = find_responses(*b, transform, mirrored, lanes.count);
  clear(b->time_buffer, transform.size);
  for (uint32_t lane = 0; lane < lanes.count; ++lane) {
    for (uint32_t k = 0; k < b->hrir_length; ++k) {
      b->time_buffer[k] = binauralizer_sh_hrir[k * SH_HRIR_CHANNELS + lanes.channels[lane]] * scale;
    }
    float* const spectrum = b->spectrum_buffer;
    pffft_transform_ordered(transform.setup, b->time_buffer, spectrum, nullptr, PFFFT_FORWARD);
    float* const batch = responses + lane / kTransformLanes * batch_size(transform.size);
    for (uint32_t i = 0; i < transform.size; ++i) {
      batch[i * kTransformLanes + lane % kTransformLanes] = spectrum[i];
    }
  }
}

uint32_t rebuild(binauralizer_t* b, uint32_t max_frame_size) {
  const uint32_t order = order_of(*b);
  binauralizer_cleanup(b);
  return binauralizer_init(b, order, static_cast<int32_t>(max_frame_size));
}

}  // namespace

uint32_t binauralizer_init(binauralizer_t* b, uint32_t order, int32_t max_frame_size) {
  if (!b) return UBR_NO_MEMORY;  // Deliberate: inits report a missing record as 3.
  *b = {};
  checked_index(order, AMBISONICS_MAX_ORDER + 1);
  const uint32_t frames = static_cast<uint32_t>(max_frame_size);  // negative: beyond every N
  b->num_ears = kNumEars;
  b->hrir_length = SH_HRIR_TAPS;
  b->num_sh_channels = (order + 1) * (order + 1);
  b->fft_size = choose_fft_size(frames);
  b->tail_length = b->fft_size - frames;
  b->prev_tail_length = b->tail_length;
  b->num_transforms = 1;
  while (b->num_transforms < BINAURALIZER_MAX_TRANSFORMS &&
         longest_transform(*b) < frames + kResponseOverlap) {
    ++b->num_transforms;
  }
  if (const uint32_t code = make_fft_setups(b)) return code;
  // Deliberate: a table that cannot be had reports 1 like the transform, every later buffer 3.
  if (const uint32_t code = make_degree_table(b, static_cast<int32_t>(order))) return code;
  if (const uint32_t code = make_lane_transforms(b)) return code;
  if (const uint32_t code = make_buffers(b)) return code;
  for (uint32_t k = 0; k < b->num_transforms; ++k) {
    const uint32_t size = kTransformSizes[checked_index(k, BINAURALIZER_MAX_TRANSFORMS)];
    const binauralizer_transform_t transform = choose_transform(*b, size - kResponseOverlap);
    for (const bool mirrored : {false, true}) transform_responses(b, transform, mirrored);
  }
  return UBR_OK;
}

bool binauralizer_is_built(const binauralizer_t& b) {
  return b.fft_setup && b.fft_setup == b.fft_setups[b.num_transforms - 1] && b.sh_degree_m &&
         b.time_buffer && b.spectrum_buffer && has_rows(b.ear_spectra, kNumEars) &&
         has_rows(b.overlap_tails, kNumEars) && has_rows(b.hrtf_spectra, kNumEars);
}

uint32_t binauralizer_reset(binauralizer_t* b) {
  if (!b || b->fft_size == 0) return UBR_OK;
  const uint32_t longest = longest_transform(*b);
  clear(b->time_buffer, longest);
  clear(b->spectrum_buffer, spectrum_buffer_size(*b));
  ubr_reset_float_matrix(b->overlap_tails, kNumEars, b->fft_size - 1);
  ubr_reset_float_matrix(b->ear_spectra, kNumEars, longest);
  destroy_fft_setups(b);
  return make_fft_setups(b);
}

uint32_t binauralizer_reset_max_frame_size(binauralizer_t* b, uint32_t max_frame_size,
                                           float* const* save_buffers) {
  if (!b || b->num_sh_channels == 0) return UBR_OK;
  if (!binauralizer_is_built(*b)) {
    rebuild(b, max_frame_size);
    return UBR_OK;
  }
  if (b->fft_size >= choose_fft_size(max_frame_size)) return UBR_OK;
  const uint32_t overlap = stored_overlap(*b);
  for (uint32_t ear = 0; ear < kNumEars; ++ear) {
    copy(b->overlap_tails[ear], save_buffers[ear], overlap);
  }
  if (rebuild(b, max_frame_size) == UBR_OK) {
    b->prev_tail_length = overlap;
    for (uint32_t ear = 0; ear < kNumEars; ++ear) {
      copy(save_buffers[ear], b->overlap_tails[ear], overlap);
    }
  }
  for (uint32_t ear = 0; ear < kNumEars; ++ear) clear(save_buffers[ear], overlap);
  return UBR_OK;
}

uint32_t binauralizer_cleanup(binauralizer_t* b) {
  if (!b) return UBR_OK;
  destroy_fft_setups(b);
  for (uint32_t k = 0; b->lane_transforms && k < b->num_transforms; ++k) {
    lane_transform_cleanup(&b->lane_transforms[k]);
  }
  release(b->lane_transforms, b->sh_degree_m, b->time_buffer, b->spectrum_buffer);
  ubr_free_float_matrix(b->ear_spectra, kNumEars);
  ubr_free_float_matrix(b->overlap_tails, kNumEars);
  ubr_free_float_matrix(b->hrtf_spectra, kNumEars);
  *b = {};
  return UBR_OK;
}
