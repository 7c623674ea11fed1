// Building, growing and releasing a binauralizer.
#include "ambisonics/binauralizer.h"

#include <math.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer_internal.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/mix_spectra.h"
#include "numerics/pair_transform.h"

static_assert(int{SH_HRIR_CHANNELS} == int{AMBISONICS_MAX_CHANNELS}, "one response per channel");
static_assert(is_laid_out(sizeof(binauralizer_t), 80));
static_assert(offsetof(binauralizer_t, sh_degree_m) == 24);
static_assert(is_laid_out(offsetof(binauralizer_t, overlap_tails), 40));
static_assert(is_laid_out(offsetof(binauralizer_t, hrtf_spectra), 56));
static_assert(is_laid_out(offsetof(binauralizer_t, fft_setup), 72));

namespace {

constexpr uint32_t kNumEars = 2;
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
  while ((order + 1) * (order + 1) < b.num_sh_channels) ++order;
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

uint32_t longest_transform(const binauralizer_t& b) {
  return b.fft_setup->lengths[checked_index(b.fft_setup->count - 1, kMaxTransforms)].size;
}

// As many lengths as blocks of `max_frame_size` need, or all.
uint32_t make_transforms(binauralizer_t* b, uint32_t max_frame_size) {
  b->fft_setup = alloc_zeroed<binauralizer_transforms_t>(1u);
  if (!b->fft_setup) return UBR_MISSING;
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

void release_transforms(binauralizer_t* b) {
  for (uint32_t k = 0; b->fft_setup && k < b->fft_setup->count; ++k) {
    lane_transform_cleanup(&b->fft_setup->lengths[k].channels);
    pair_transform_cleanup(&b->fft_setup->lengths[k].ears);
  }
  release(b->fft_setup);
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

// Floats of the spectrum buffer: the channels of the symmetric sum, or the sources of a static
// scene, of which there are fewer than channels.
size_t spectrum_buffer_size(const binauralizer_t& b) {
  const uint32_t most = std::max(b.num_sh_channels - 1, 1u);
  return batch_size(longest_transform(b)) * count_batches(most);
}

// Makes room for the responses of all lengths. Both rows have the size of the symmetric one, which
// has more channels.
uint32_t make_response_rows(binauralizer_t* b) {
  const uint32_t batches = count_batches(binauralizer_find_channels(*b, false).count);
  const binauralizer_transform_t& longest = b->fft_setup->lengths[b->fft_setup->count - 1];
  b->hrtf_spectra = alloc_zeroed<float*>(kNumEars);
  if (!b->hrtf_spectra) return UBR_NO_MEMORY;
  for (uint32_t row = 0; row < kNumEars; ++row) {
    b->hrtf_spectra[row] =
        alloc_aligned<float>(batch_size(longest.shorter + longest.size), batches);
    if (!b->hrtf_spectra[row]) return UBR_NO_MEMORY;
  }
  return UBR_OK;
}

uint32_t make_buffers(binauralizer_t* b) {
  const uint32_t ear_size = pair_spectrum_size(longest_transform(*b));
  b->spectrum_buffer = alloc_aligned<float>(spectrum_buffer_size(*b));
  if (!b->spectrum_buffer) return UBR_NO_MEMORY;
  if (const uint32_t code = ubr_init_float_matrix(&b->ear_spectra, kNumEars, ear_size)) return code;
  if (const uint32_t code = ubr_init_float_matrix(&b->overlap_tails, kNumEars, b->fft_size - 1)) {
    return code;
  }
  return make_response_rows(b);
}

void release_response_rows(binauralizer_t* b) {
  for (uint32_t row = 0; b->hrtf_spectra && row < kNumEars; ++row) {
    release_aligned(b->hrtf_spectra[row]);
  }
  release(b->hrtf_spectra);
}

// Transforms the responses at one length, eight at a time. They are scaled here, so that products
// need no scaling for the inverse transform. The spectrum buffer holds their taps meanwhile.
void transform_responses(binauralizer_t* b, const binauralizer_transform_t& transform,
                         bool antisymmetric) {
  const lane_channels_t lanes = binauralizer_find_channels(*b, antisymmetric);
  float* batch = binauralizer_find_responses(*b, transform, antisymmetric, lanes.count);
  for (uint32_t first = 0; first < lanes.count; first += kTransformLanes) {
    const float* rows[kTransformLanes];
    for (uint32_t lane = 0; lane < kTransformLanes; ++lane) {
      float* const taps = b->spectrum_buffer + size_t{lane} * SH_HRIR_TAPS;
      clear(taps, SH_HRIR_TAPS);
      rows[lane] = taps;
      if (first + lane >= lanes.count) continue;
      const float* const responses = binauralizer_sh_hrir + lanes.channels[first + lane];
      for (uint32_t k = 0; k < SH_HRIR_TAPS; ++k) {
        taps[k] = responses[size_t{k} * SH_HRIR_CHANNELS];
      }
    }
    lane_transform_forward(transform.channels, rows, SH_HRIR_TAPS, batch);
    unpack_spectra(transform.channels, batch, 0.5f / static_cast<float>(transform.size));
    batch += batch_size(transform.size);
  }
}

uint32_t rebuild(binauralizer_t* b, uint32_t max_frame_size) {
  const uint32_t order = order_of(*b);
  binauralizer_cleanup(b);
  return binauralizer_init(b, order, static_cast<int32_t>(max_frame_size));
}

}  // namespace

uint32_t binauralizer_init(binauralizer_t* b, uint32_t order, int32_t max_frame_size) {
  if (!b) return UBR_NO_MEMORY;  // Deliberate: a record is null where it could not be allocated.
  *b = {};
  checked_index(order, AMBISONICS_MAX_ORDER + 1);
  const uint32_t frames = static_cast<uint32_t>(max_frame_size);  // negative: beyond every N
  b->num_ears = kNumEars;
  b->hrir_length = SH_HRIR_TAPS;
  b->num_sh_channels = (order + 1) * (order + 1);
  b->fft_size = choose_fft_size(frames);
  b->tail_length = b->fft_size - frames;
  b->prev_tail_length = b->tail_length;
  if (const uint32_t code = make_transforms(b, frames)) return code;
  // Deliberate: 1, not 3, without memory for the transforms or this table, as callers know it.
  if (const uint32_t code = make_degree_table(b, static_cast<int32_t>(order))) return code;
  if (const uint32_t code = make_buffers(b)) return code;
  for (uint32_t k = 0; k < b->fft_setup->count; ++k) {
    for (const bool antisymmetric : {false, true}) {
      transform_responses(b, b->fft_setup->lengths[k], antisymmetric);
    }
  }
  return UBR_OK;
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

lane_channels_t binauralizer_find_channels(const binauralizer_t& b, bool antisymmetric) {
  lane_channels_t found = {};
  for (uint32_t c = 0; c < b.num_sh_channels; ++c) {
    if ((b.sh_degree_m[c] < 0) == antisymmetric) found.channels[found.count++] = c;
  }
  return found;
}

float* binauralizer_find_responses(const binauralizer_t& b,
                                   const binauralizer_transform_t& transform, bool antisymmetric,
                                   uint32_t num_channels) {
  return b.hrtf_spectra[antisymmetric] +
         batch_size(transform.shorter) * count_batches(num_channels);
}

uint32_t binauralizer_reset(binauralizer_t* b) {
  if (!b || !binauralizer_is_built(*b)) return UBR_OK;
  memset(b->spectrum_buffer, 0, sizeof(float) * spectrum_buffer_size(*b));
  ubr_reset_float_matrix(b->overlap_tails, kNumEars, b->fft_size - 1);
  ubr_reset_float_matrix(b->ear_spectra, kNumEars, pair_spectrum_size(longest_transform(*b)));
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
  release_transforms(b);
  release(b->sh_degree_m);
  release_aligned(b->spectrum_buffer);
  ubr_free_float_matrix(b->ear_spectra, kNumEars);
  ubr_free_float_matrix(b->overlap_tails, kNumEars);
  release_response_rows(b);
  *b = {};
  return UBR_OK;
}
