// SPDX-License-Identifier: Apache-2.0
// The responses of a binauralizer: the built-in ones, or those that were set.
#include <math.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "ambisonics/binauralizer.h"
#include "ambisonics/binauralizer_internal.h"
#include "ambisonics/sh_hrir.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/mix_spectra.h"

namespace {

constexpr uint32_t kTableSize = SH_HRIR_TAPS * SH_HRIR_CHANNELS;  // floats of one ear's responses

// Makes room for the responses of all lengths. Both rows have the size of the symmetric one, which
// has more channels.
uint32_t make_response_rows(binauralizer_t* b) {
  const uint32_t batches = count_batches(binauralizer_find_channels(*b, false).count);
  const binauralizer_transform_t& longest = binauralizer_longest_transform(*b);
  b->hrtf_spectra = alloc_zeroed<float*>(kNumEars);
  if (!b->hrtf_spectra) return UBR_NO_MEMORY;
  for (uint32_t row = 0; row < kNumEars; ++row) {
    b->hrtf_spectra[row] =
        alloc_aligned<float>(batch_size(longest.shorter + longest.size), batches);
    if (!b->hrtf_spectra[row]) return UBR_NO_MEMORY;
  }
  return UBR_OK;
}

// A tap of a channel's response in one of the sums.
float find_tap(const binauralizer_transforms_t& transforms, size_t index, bool antisymmetric) {
  const float* const left = transforms.responses ? transforms.responses : binauralizer_sh_hrir;
  if (!transforms.has_two_ears) return left[index];
  const float right = left[kTableSize + index];
  return 0.5f * (antisymmetric ? left[index] - right : left[index] + right);
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
      memset(taps, 0, SH_HRIR_TAPS * sizeof(float));
      rows[lane] = taps;
      if (first + lane >= lanes.count) continue;
      const uint32_t channel = lanes.channels[first + lane];
      for (uint32_t k = 0; k < SH_HRIR_TAPS; ++k) {
        taps[k] = find_tap(*b->fft_setup, size_t{k} * SH_HRIR_CHANNELS + channel, antisymmetric);
      }
    }
    lane_transform_forward(transform.channels, rows, SH_HRIR_TAPS, batch);
    unpack_spectra(transform.channels, batch, 0.5f / static_cast<float>(transform.size));
    batch += batch_size(transform.size);
  }
}

bool is_antisymmetric(uint32_t channel) {
  uint32_t n = 0;
  while ((n + 1) * (n + 1) <= channel) ++n;
  return channel < n * n + n;
}

// Whether the right ear is the left one of a symmetric head.
bool is_mirror_image(const float* left, const float* right) {
  for (uint32_t c = 0; c < SH_HRIR_CHANNELS; ++c) {
    const float sign = is_antisymmetric(c) ? -1.0f : 1.0f;
    for (size_t i = c; i < kTableSize; i += SH_HRIR_CHANNELS) {
      if (right[i] != sign * left[i]) return false;
    }
  }
  return true;
}

bool is_finite_table(const float* table) {
  return !table || std::all_of(table, table + kTableSize, [](float tap) { return isfinite(tap); });
}

// Keeps copies of the tables that are there.
uint32_t copy_responses(binauralizer_transforms_t* transforms, const float* left,
                        const float* right) {
  transforms->has_two_ears = right && !is_mirror_image(left, right);
  transforms->responses = nullptr;
  if (!left) return UBR_OK;
  transforms->responses = alloc_zeroed<float>(kTableSize, transforms->has_two_ears ? 2u : 1u);
  if (!transforms->responses) return UBR_NO_MEMORY;
  memcpy(transforms->responses, left, kTableSize * sizeof(float));
  if (transforms->has_two_ears)
    memcpy(transforms->responses + kTableSize, right, kTableSize * sizeof(float));
  return UBR_OK;
}

}  // namespace

size_t binauralizer_spectrum_buffer_size(const binauralizer_t& b) {
  const uint32_t sources = std::max(b.num_sh_channels - 1, 1u);
  const uint32_t channels = binauralizer_find_channels(b, false).count;
  return batch_size(binauralizer_longest_transform(b).size) *
         count_batches(std::max(sources, channels));
}

uint32_t binauralizer_make_response_buffers(binauralizer_t* b) {
  b->spectrum_buffer = alloc_aligned<float>(binauralizer_spectrum_buffer_size(*b));
  return b->spectrum_buffer ? make_response_rows(b) : uint32_t{UBR_NO_MEMORY};
}

void binauralizer_release_response_buffers(binauralizer_t* b) {
  release_aligned(b->spectrum_buffer);
  for (uint32_t row = 0; b->hrtf_spectra && row < kNumEars; ++row) {
    release_aligned(b->hrtf_spectra[row]);
  }
  release(b->hrtf_spectra);
}

void binauralizer_transform_responses(binauralizer_t* b) {
  for (uint32_t k = 0; k < b->fft_setup->count; ++k) {
    for (const bool antisymmetric : {false, true}) {
      transform_responses(b, b->fft_setup->lengths[k], antisymmetric);
    }
  }
}

float* binauralizer_find_responses(const binauralizer_t& b,
                                   const binauralizer_transform_t& transform, bool antisymmetric,
                                   uint32_t num_channels) {
  return b.hrtf_spectra[antisymmetric] +
         batch_size(transform.shorter) * count_batches(num_channels);
}

uint32_t binauralizer_responses_number(const binauralizer_t& b) {
  return b.fft_setup->responses_number;
}

uint32_t binauralizer_number_responses() {
  static std::atomic<uint32_t> last{0};
  return ++last;
}

uint32_t binauralizer_set_responses(binauralizer_t* b, const float* left, const float* right) {
  if (!b || !binauralizer_is_built(*b)) return UBR_MISSING;
  if ((right && !left) || !is_finite_table(left) || !is_finite_table(right)) return UBR_INVALID;
  // A second record is made ready, with everything that stays shared, and then put in place.
  binauralizer_transforms_t transforms = *b->fft_setup;
  binauralizer_t fresh = *b;
  fresh.fft_setup = &transforms;
  fresh.spectrum_buffer = nullptr;
  fresh.hrtf_spectra = nullptr;
  transforms.responses_number = binauralizer_number_responses();
  uint32_t code = copy_responses(&transforms, left, right);
  if (code == UBR_OK) code = binauralizer_make_response_buffers(&fresh);
  if (code == UBR_OK) {
    binauralizer_transform_responses(&fresh);
    std::swap(*b->fft_setup, transforms);
    std::swap(b->spectrum_buffer, fresh.spectrum_buffer);
    std::swap(b->hrtf_spectra, fresh.hrtf_spectra);
  }
  release(transforms.responses);
  binauralizer_release_response_buffers(&fresh);
  return code;
}
