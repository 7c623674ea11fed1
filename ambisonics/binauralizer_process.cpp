// One block of a field to two ears.
#include <pffft.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/binauralizer.h"
#include "ambisonics/binauralizer_built.h"
#include "ambisonics/binauralizer_transforms.h"
#include "base/checked.h"
#include "base/result.h"
#include "numerics/spectra.h"

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
  accumulate_spectra(spectra, responses, count, sum, transform.size);
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
