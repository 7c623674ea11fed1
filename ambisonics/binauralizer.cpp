// SPDX-License-Identifier: Apache-2.0
// Building, growing and releasing a binauralizer.
#include "ambisonics/binauralizer.h"

#include <math.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/ambisonics_base_internal.h"
#include "ambisonics/binauralizer_internal.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/pair_transform.h"

static_assert(int{SH_HRIR_CHANNELS} == int{AMBISONICS_MAX_CHANNELS}, "one response per channel");
static_assert(is_laid_out(sizeof(binauralizer_t), 80));
static_assert(offsetof(binauralizer_t, sh_degree_m) == 24);
static_assert(is_laid_out(offsetof(binauralizer_t, overlap_tails), 40));
static_assert(is_laid_out(offsetof(binauralizer_t, hrtf_spectra), 56));
static_assert(is_laid_out(offsetof(binauralizer_t, fft_setup), 72));

namespace {

constexpr uint32_t kMaxFftSize = 1u << 30;

// The power of two that holds a block and the response to its last sample. It is the length that
// the overlap is counted by.
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
  while (ambisonics_count_channels(order) < b.num_sh_channels) ++order;
  return order;
}

// Samples of overlap that the next block receives.
uint32_t stored_overlap(const binauralizer_t& b) {
  return std::min(b.prev_tail_length, b.fft_size - 1);
}

void clear(float* samples, uint32_t count) { memset(samples, 0, sizeof(float) * count); }

void copy(const float* from, float* to, uint32_t count) { memcpy(to, from, sizeof(float) * count); }

bool has_rows(const float* const* matrix, uint32_t rows) {
  return matrix && std::all_of(matrix, matrix + rows, [](const float* row) { return row; });
}

// As many lengths as blocks of `max_frame_size` need, or all.
uint32_t make_transforms(binauralizer_t* b, uint32_t max_frame_size) {
  if (!b->fft_setup) {
    b->fft_setup = alloc_zeroed<binauralizer_transforms_t>(1u);
    if (!b->fft_setup) return UBR_MISSING;
    b->fft_setup->responses_number = binauralizer_number_responses();
  }
  uint32_t shorter = 0;
  for (const uint32_t size : kTransformSizes) {
    binauralizer_transform_t& t = b->fft_setup->lengths[b->fft_setup->count++];
    t.size = size;
    t.shorter = shorter;
    if (lane_transform_init(&t.channels, size) || pair_transform_init(&t.ears, size)) {
      return UBR_MISSING;
    }
    if (size >= max_frame_size + kResponseOverlap) break;
    shorter += size;
  }
  return UBR_OK;
}

void release_transforms(binauralizer_transforms_t* transforms) {
  for (uint32_t k = 0; k < transforms->count; ++k) {
    lane_transform_cleanup(&transforms->lengths[k].channels);
    pair_transform_cleanup(&transforms->lengths[k].ears);
  }
  transforms->count = 0;
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

uint32_t make_buffers(binauralizer_t* b) {
  const uint32_t ear_size = pair_spectrum_size(binauralizer_longest_transform(*b).size);
  if (const uint32_t code = binauralizer_make_response_buffers(b)) return code;
  if (const uint32_t code = ubr_init_float_matrix(&b->ear_spectra, kNumEars, ear_size)) return code;
  return ubr_init_float_matrix(&b->overlap_tails, kNumEars, b->fft_size - 1);
}

// Builds a zero-filled record, whose fft_setup is null or has responses but no transforms.
uint32_t build(binauralizer_t* b, uint32_t order, uint32_t max_frame_size) {
  b->num_ears = kNumEars;
  b->hrir_length = SH_HRIR_TAPS;
  b->num_sh_channels = ambisonics_count_channels(order);
  b->fft_size = choose_fft_size(max_frame_size);
  b->tail_length = b->fft_size - max_frame_size;
  b->prev_tail_length = b->tail_length;
  if (const uint32_t code = make_transforms(b, max_frame_size)) return code;
  // Deliberate: 1, not 3, without memory for the transforms or this table: callers tell this
  // failure from that of the buffers by it.
  if (const uint32_t code = make_degree_table(b, static_cast<int32_t>(order))) return code;
  if (const uint32_t code = make_buffers(b)) return code;
  binauralizer_transform_responses(b);
  return UBR_OK;
}

// The responses stay.
uint32_t rebuild(binauralizer_t* b, uint32_t max_frame_size) {
  const uint32_t order = order_of(*b);
  binauralizer_transforms_t* const transforms = b->fft_setup;
  b->fft_setup = nullptr;
  binauralizer_cleanup(b);
  b->fft_setup = transforms;
  if (transforms) release_transforms(transforms);
  return build(b, order, max_frame_size);
}

}  // namespace

uint32_t binauralizer_init(binauralizer_t* b, uint32_t order, int32_t max_frame_size) {
  if (!b) return UBR_NO_MEMORY;  // Deliberate: a record is null where it could not be allocated.
  *b = {};
  checked_index(order, AMBISONICS_MAX_ORDER + 1);
  return build(b, order, static_cast<uint32_t>(max_frame_size));  // negative: beyond every N
}

bool binauralizer_is_built(const binauralizer_t& b) {
  return b.fft_setup && b.sh_degree_m && b.spectrum_buffer && has_rows(b.ear_spectra, kNumEars) &&
         has_rows(b.overlap_tails, kNumEars) && has_rows(b.hrtf_spectra, kNumEars);
}

const binauralizer_transform_t& binauralizer_choose_transform(const binauralizer_t& b,
                                                              uint32_t frames) {
  const uint32_t last = checked_index(b.fft_setup->count - 1, kMaxTransforms);
  uint32_t k = 0;
  while (k < last && b.fft_setup->lengths[k].size < frames + kResponseOverlap) ++k;
  return b.fft_setup->lengths[k];
}

const binauralizer_transform_t& binauralizer_longest_transform(const binauralizer_t& b) {
  return b.fft_setup->lengths[checked_index(b.fft_setup->count - 1, kMaxTransforms)];
}

lane_channels_t binauralizer_find_channels(const binauralizer_t& b, bool antisymmetric) {
  lane_channels_t found = {};
  const bool takes_all = b.fft_setup->has_two_ears;
  for (uint32_t c = 0; c < b.num_sh_channels; ++c) {
    if (takes_all || (b.sh_degree_m[c] < 0) == antisymmetric) found.channels[found.count++] = c;
  }
  return found;
}

uint32_t binauralizer_reset(binauralizer_t* b) {
  if (!b || !binauralizer_is_built(*b)) return UBR_OK;
  memset(b->spectrum_buffer, 0, sizeof(float) * binauralizer_spectrum_buffer_size(*b));
  ubr_reset_float_matrix(b->overlap_tails, kNumEars, b->fft_size - 1);
  ubr_reset_float_matrix(b->ear_spectra, kNumEars,
                         pair_spectrum_size(binauralizer_longest_transform(*b).size));
  return UBR_OK;
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
  if (b->fft_setup) {
    release_transforms(b->fft_setup);
    release(b->fft_setup->responses);
    release(b->fft_setup);
  }
  release(b->sh_degree_m);
  ubr_free_float_matrix(b->ear_spectra, kNumEars);
  ubr_free_float_matrix(b->overlap_tails, kNumEars);
  binauralizer_release_response_buffers(b);
  *b = {};
  return UBR_OK;
}
