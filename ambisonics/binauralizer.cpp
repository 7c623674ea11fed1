#include "ambisonics/binauralizer.h"

#include <math.h>
#include <pffft.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <numeric>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer_built.h"
#include "ambisonics/sh_hrir.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/spectra.h"

static_assert(int{SH_HRIR_CHANNELS} == int{AMBISONICS_MAX_CHANNELS}, "one response per channel");
static_assert(alignof(max_align_t) >= 16, "PFFFT reads heap buffers in vectors of 16 bytes");

namespace {

constexpr uint32_t kNumEars = 2;
constexpr uint32_t kMaxFftSize = 1u << 30;
constexpr uint32_t kOverlap = SH_HRIR_TAPS - 1;  // samples that a block sounds on for
constexpr uint32_t kGroup = 5;                   // channels whose spectra are summed in one pass

// Transform lengths, for blocks of up to 257, 513 and 1025 samples. PFFFT takes what it needs on
// its way from the stack, as many floats.
constexpr uint32_t kTransformSizes[BINAURALIZER_MAX_TRANSFORMS] = {512, 768, 1280};

struct transform_t {
  PFFFT_Setup* setup;
  uint32_t size;
  uint32_t column;  // of hrtf_spectra, where the responses of this length start
};

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

uint32_t longest_transform(const binauralizer_t& b) {
  return kTransformSizes[checked_index(b.num_transforms - 1, BINAURALIZER_MAX_TRANSFORMS)];
}

transform_t transform_at(const binauralizer_t& b, uint32_t k) {
  const uint32_t* const size = kTransformSizes + checked_index(k, BINAURALIZER_MAX_TRANSFORMS);
  return {b.fft_setups[k], *size, std::accumulate(kTransformSizes, size, 0u)};
}

// The shortest transform for a block of `frames`; the longest if none holds it.
transform_t choose_transform(const binauralizer_t& b, uint32_t frames) {
  uint32_t k = 0;
  while (k + 1 < b.num_transforms && kTransformSizes[k] < frames + kOverlap) ++k;
  return transform_at(b, k);
}

uint32_t make_fft_setups(binauralizer_t* b) {
  if (pffft_simd_size() != 4) return UBR_MISSING;  // its spectra would be laid out differently
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

uint32_t make_buffers(binauralizer_t* b) {
  const uint32_t longest = longest_transform(*b);
  const uint32_t all_sizes =
      std::accumulate(kTransformSizes, kTransformSizes + b->num_transforms, 0u);
  b->time_buffer = alloc_zeroed<float>(longest);
  b->spectrum_buffer = alloc_zeroed<float>(kGroup, longest);
  if (!b->time_buffer || !b->spectrum_buffer) return UBR_NO_MEMORY;
  if (const uint32_t code = ubr_init_float_matrix(&b->ear_spectra, kNumEars, longest)) return code;
  if (const uint32_t code = ubr_init_float_matrix(&b->overlap_tails, kNumEars, b->fft_size - 1)) {
    return code;
  }
  return ubr_init_float_matrix(&b->hrtf_spectra, b->num_sh_channels, all_sizes);
}

// The responses at one transform length. Scaled here, products need no scaling for the way back.
void transform_responses(binauralizer_t* b, const transform_t& transform) {
  const float scale = 1.0f / static_cast<float>(transform.size);
  clear(b->time_buffer, transform.size);
  for (uint32_t c = 0; c < b->num_sh_channels; ++c) {
    for (uint32_t k = 0; k < b->hrir_length; ++k) {
      b->time_buffer[k] = binauralizer_sh_hrir[k * SH_HRIR_CHANNELS + c] * scale;
    }
    pffft_transform(transform.setup, b->time_buffer, b->hrtf_spectra[c] + transform.column, nullptr,
                    PFFFT_FORWARD);
  }
}

// The spectrum of S, or of A, which is that of the `mirrored` channels. The time buffer is zero
// from `frames` on.
void sum_channels(binauralizer_t* b, const transform_t& transform, const float* const* sh_in,
                  uint32_t begin, uint32_t frames, bool mirrored) {
  const float *spectra[kGroup], *responses[kGroup];
  float* const sum = b->ear_spectra[mirrored];
  uint32_t count = 0;
  clear(sum, transform.size);
  for (uint32_t c = 0; c < b->num_sh_channels; ++c) {
    if ((b->sh_degree_m[c] < 0) != mirrored) continue;
    float* const spectrum = b->spectrum_buffer + size_t{count} * transform.size;
    copy(sh_in[c] + begin, b->time_buffer, frames);
    pffft_transform(transform.setup, b->time_buffer, spectrum, nullptr, PFFFT_FORWARD);
    spectra[count] = spectrum;
    responses[count] = b->hrtf_spectra[c] + transform.column;
    if (++count < kGroup) continue;
    accumulate_spectra(spectra, responses, count, sum, transform.size);
    count = 0;
  }
  accumulate_spectra(spectra, responses, count, sum, transform.size);
}

// `sign` is 1 for the left ear and -1 for the right one. A block may be shorter than the overlap,
// which then sounds on after it.
void overlap_add(const binauralizer_t& b, float sign, float* overlap, float* output,
                 uint32_t frames) {
  const float *symmetric = b.ear_spectra[0], *mirrored = b.ear_spectra[1];
  const uint32_t met = std::min(frames, kOverlap);
  for (uint32_t i = 0; i < frames; ++i) output[i] = symmetric[i] + sign * mirrored[i];
  for (uint32_t i = 0; i < met; ++i) output[i] += overlap[i];
  memmove(overlap, overlap + met, sizeof(float) * (kOverlap - met));
  clear(overlap + kOverlap - met, met);
  symmetric += frames;
  mirrored += frames;
  for (uint32_t i = 0; i < kOverlap; ++i) overlap[i] += symmetric[i] + sign * mirrored[i];
}

// Renders `frames` samples from `begin` on; the longest transform holds them and the response.
void render_piece(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                  uint32_t begin, uint32_t frames) {
  const transform_t transform = choose_transform(*b, frames);
  clear(b->time_buffer + frames, transform.size - frames);
  for (const bool mirrored : {false, true}) {
    sum_channels(b, transform, sh_in, begin, frames, mirrored);
    float* const sum = b->ear_spectra[mirrored];
    pffft_transform(transform.setup, sum, sum, nullptr, PFFFT_BACKWARD);
  }
  overlap_add(*b, 1.0f, b->overlap_tails[0], ears_out[0] + begin, frames);
  overlap_add(*b, -1.0f, b->overlap_tails[1], ears_out[1] + begin, frames);
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
         longest_transform(*b) < frames + kOverlap) {
    ++b->num_transforms;
  }
  if (const uint32_t code = make_fft_setups(b)) return code;
  // Deliberate: a table that cannot be had reports 1 like the transform, every later buffer 3.
  if (const uint32_t code = make_degree_table(b, static_cast<int32_t>(order))) return code;
  if (const uint32_t code = make_buffers(b)) return code;
  for (uint32_t k = 0; k < b->num_transforms; ++k) {
    transform_responses(b, transform_at(*b, k));
  }
  return UBR_OK;
}

bool binauralizer_is_built(const binauralizer_t& b) {
  return b.fft_setup && b.fft_setup == b.fft_setups[b.num_transforms - 1] && b.sh_degree_m &&
         b.time_buffer && b.spectrum_buffer && has_rows(b.ear_spectra, kNumEars) &&
         has_rows(b.overlap_tails, kNumEars) && has_rows(b.hrtf_spectra, b.num_sh_channels);
}

uint32_t binauralizer_process(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                              uint32_t frame_size) {
  if (!binauralizer_is_built(*b)) {
    for (uint32_t ear = 0; ear < kNumEars; ++ear) clear(ears_out[ear], frame_size);
    return UBR_OK;
  }
  b->tail_length = checked_sub(b->fft_size, frame_size);
  const uint32_t longest = longest_transform(*b) - kOverlap;
  for (uint32_t begin = 0; begin < frame_size; begin += longest) {
    render_piece(b, sh_in, ears_out, begin, std::min(frame_size - begin, longest));
  }
  b->prev_tail_length = b->tail_length;
  return UBR_OK;
}

uint32_t binauralizer_reset(binauralizer_t* b) {
  if (!b || b->fft_size == 0) return UBR_OK;
  const uint32_t longest = longest_transform(*b);
  clear(b->time_buffer, longest);
  clear(b->spectrum_buffer, kGroup * longest);
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
  release(b->sh_degree_m, b->time_buffer, b->spectrum_buffer);
  ubr_free_float_matrix(b->ear_spectra, kNumEars);
  ubr_free_float_matrix(b->overlap_tails, kNumEars);
  ubr_free_float_matrix(b->hrtf_spectra, b->num_sh_channels);
  *b = {};
  return UBR_OK;
}
