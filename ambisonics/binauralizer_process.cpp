// One block to two ears: a field, or sources whose responses are folded.
#include <pffft.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/binauralizer.h"
#include "ambisonics/binauralizer_built.h"
#include "ambisonics/binauralizer_transforms.h"
#include "ambisonics/response_pairs.h"
#include "base/checked.h"
#include "base/result.h"
#include "numerics/mix_channels.h"
#include "numerics/mix_spectra.h"

namespace {

void clear(float* samples, uint32_t count) { memset(samples, 0, sizeof(float) * count); }

// Empties S and A. The padding of the time buffer stays zero for the whole piece.
void open_piece(binauralizer_t* b, const binauralizer_transform_t& transform, uint32_t frames) {
  clear(b->time_buffer + frames, transform.size - frames);
  clear(b->ear_spectra[0], transform.size);
  clear(b->ear_spectra[1], transform.size);
}

void transform_samples(binauralizer_t* b, const binauralizer_transform_t& transform,
                       const float* samples, uint32_t frames, float* spectrum) {
  memcpy(b->time_buffer, samples, sizeof(float) * frames);
  pffft_transform(transform.setup, b->time_buffer, spectrum, nullptr, PFFFT_FORWARD);
}

// The spectrum of S, or of A, which is that of the `mirrored` channels.
void sum_channels(binauralizer_t* b, const binauralizer_transform_t& transform,
                  const float* const* sh_in, uint32_t begin, uint32_t frames, bool mirrored) {
  const float *spectra[kSpectraGroup], *responses[kSpectraGroup];
  float* const sum = b->ear_spectra[mirrored];
  uint32_t count = 0;
  for (uint32_t c = 0; c < b->num_sh_channels; ++c) {
    if ((b->sh_degree_m[c] < 0) != mirrored) continue;
    float* const spectrum = b->spectrum_buffer + size_t{count} * transform.size;
    transform_samples(b, transform, sh_in[c] + begin, frames, spectrum);
    spectra[count] = spectrum;
    responses[count] = b->hrtf_spectra[c] + transform.column;
    if (++count < kSpectraGroup) continue;
    accumulate_spectra(spectra, responses, count, sum, transform.size);
    count = 0;
  }
  if (count > 0) accumulate_spectra(spectra, responses, count, sum, transform.size);
}

// Row of S, or of A, of one source.
float* pair_row(const response_pairs_t& pairs, uint32_t source, bool mirrored) {
  return pairs.spectra + (size_t{2} * source + mirrored) * pairs.size;
}

// The spectra of S and A of `count` sources from `first` on, at most a group.
void sum_sources(binauralizer_t* b, const binauralizer_transform_t& transform,
                 const response_pairs_t& pairs, const float* const* sources, uint32_t first,
                 uint32_t count, uint32_t frames) {
  const float *spectra[kSpectraGroup], *responses[2][kSpectraGroup];
  for (uint32_t i = 0; i < count; ++i) {
    float* const spectrum = b->spectrum_buffer + size_t{i} * transform.size;
    transform_samples(b, transform, sources[first + i], frames, spectrum);
    spectra[i] = spectrum;
    responses[0][i] = pair_row(pairs, first + i, false);
    responses[1][i] = pair_row(pairs, first + i, true);
  }
  accumulate_spectra(spectra, responses[0], count, b->ear_spectra[0], transform.size);
  accumulate_spectra(spectra, responses[1], count, b->ear_spectra[1], transform.size);
}

// `sign` is 1 for the left ear and -1 for the right one. A block may be shorter than the overlap,
// which then sounds on after it.
void overlap_add(const binauralizer_t& b, float sign, float* overlap, float* output,
                 uint32_t frames) {
  const float *symmetric = b.ear_spectra[0], *mirrored = b.ear_spectra[1];
  const uint32_t met = std::min(frames, kResponseOverlap);
  for (uint32_t i = 0; i < frames; ++i) output[i] = symmetric[i] + sign * mirrored[i];
  for (uint32_t i = 0; i < met; ++i) output[i] += overlap[i];
  memmove(overlap, overlap + met, sizeof(float) * (kResponseOverlap - met));
  clear(overlap + kResponseOverlap - met, met);
  symmetric += frames;
  mirrored += frames;
  for (uint32_t i = 0; i < kResponseOverlap; ++i) overlap[i] += symmetric[i] + sign * mirrored[i];
}

void close_piece(binauralizer_t* b, const binauralizer_transform_t& transform,
                 float* const* ears_out, uint32_t begin, uint32_t frames) {
  for (float* const sum : {b->ear_spectra[0], b->ear_spectra[1]}) {
    pffft_transform(transform.setup, sum, sum, nullptr, PFFFT_BACKWARD);
  }
  overlap_add(*b, 1.0f, b->overlap_tails[0], ears_out[0] + begin, frames);
  overlap_add(*b, -1.0f, b->overlap_tails[1], ears_out[1] + begin, frames);
}

// Renders `frames` samples from `begin` on; the longest transform holds them and the response.
void render_piece(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                  uint32_t begin, uint32_t frames) {
  const binauralizer_transform_t transform = choose_transform(*b, frames);
  open_piece(b, transform, frames);
  sum_channels(b, transform, sh_in, begin, frames, false);
  sum_channels(b, transform, sh_in, begin, frames, true);
  close_piece(b, transform, ears_out, begin, frames);
}

// Rows of S, or of A, of every source, from the responses of the channels that belong to it.
void fold_rows(const binauralizer_t& b, const float* gains, const response_pairs_t& pairs,
               uint32_t column, bool mirrored) {
  const float* responses[AMBISONICS_MAX_CHANNELS];
  float weights[AMBISONICS_MAX_CHANNELS * kMaxPairs];
  float* folded[kMaxPairs];
  uint32_t count = 0;
  for (uint32_t c = 0; c < b.num_sh_channels; ++c) {
    if ((b.sh_degree_m[c] < 0) != mirrored) continue;
    for (uint32_t s = 0; s < pairs.num_sources; ++s) {
      weights[count * kMaxPairs + s] = gains[size_t{s} * AMBISONICS_MAX_CHANNELS + c];
    }
    responses[count++] = b.hrtf_spectra[c] + column;
  }
  for (uint32_t s = 0; s < pairs.num_sources; ++s) folded[s] = pair_row(pairs, s, mirrored);
  mix_channels({weights, kMaxPairs, 1}, {responses, count}, {folded, pairs.num_sources}, pairs.size,
               false);
}

}  // namespace

uint32_t binauralizer_process(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                              uint32_t frame_size) {
  if (!binauralizer_is_built(*b)) {
    for (const uint32_t ear : {0u, 1u}) clear(ears_out[ear], frame_size);
    return UBR_OK;
  }
  b->tail_length = checked_sub(b->fft_size, frame_size);
  const uint32_t longest = longest_transform(*b) - kResponseOverlap;
  for (uint32_t begin = 0; begin < frame_size; begin += longest) {
    render_piece(b, sh_in, ears_out, begin, std::min(frame_size - begin, longest));
  }
  b->prev_tail_length = b->tail_length;
  return UBR_OK;
}

uint32_t binauralizer_transform_size(const binauralizer_t& b, uint32_t frames) {
  if (!binauralizer_is_built(b) || frames > longest_transform(b) - kResponseOverlap) return 0;
  return choose_transform(b, frames).size;
}

void binauralizer_fold_responses(const binauralizer_t& b, const float* gains,
                                 const response_pairs_t& pairs) {
  const uint32_t column = choose_transform(b, pairs.size - kResponseOverlap).column;
  fold_rows(b, gains, pairs, column, false);
  fold_rows(b, gains, pairs, column, true);
}

void binauralizer_process_pairs(binauralizer_t* b, const response_pairs_t& pairs,
                                const float* const* sources, float* const* ears_out,
                                uint32_t frames) {
  const binauralizer_transform_t transform = choose_transform(*b, frames);
  b->tail_length = checked_sub(b->fft_size, frames);
  open_piece(b, transform, frames);
  for (uint32_t first = 0; first < pairs.num_sources; first += kSpectraGroup) {
    const uint32_t count = std::min(pairs.num_sources - first, kSpectraGroup);
    sum_sources(b, transform, pairs, sources, first, count, frames);
  }
  close_piece(b, transform, ears_out, 0, frames);
  b->prev_tail_length = b->tail_length;
}
