// SPDX-License-Identifier: Apache-2.0
// One block to two ears: of a field, or of sources with folded HRIRs.
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/binauralizer_internal.h"
#include "base/checked.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/mix_channels.h"
#include "numerics/mix_spectra.h"
#include "numerics/pair_transform.h"

namespace {

void clear(float* samples, uint32_t count) { memset(samples, 0, sizeof(float) * count); }

// Samples that one transform renders.
uint32_t longest_block(const binauralizer_t& b) {
  return binauralizer_longest_transform(b).size - kResponseOverlap;
}

// Channels of this block, or sources. Room for every lane of their batches.
struct lane_rows_t {
  uint32_t count = 0;
  const float* rows[count_batches(AMBISONICS_MAX_CHANNELS) * kTransformLanes];
};

// Fills the spectrum buffer. Deliberate: lanes without a channel read the first one's samples, so
// that no row of zeros has to be kept; their responses are zero.
void transform_rows(const binauralizer_t& b, const binauralizer_transform_t& transform,
                    lane_rows_t* channels, uint32_t frames) {
  float* batch = b.spectrum_buffer;
  for (uint32_t lane = 0; lane < channels->count; lane += kTransformLanes) {
    const float** const rows = channels->rows + lane;
    for (uint32_t i = channels->count - lane; i < kTransformLanes; ++i) rows[i] = channels->rows[0];
    lane_transform_forward(transform.channels, rows, frames, batch);
    batch += batch_size(transform.size);
  }
}

// The symmetric or the antisymmetric spectrum.
void sum_channels(const binauralizer_t& b, const binauralizer_transform_t& transform,
                  const float* const* sh_in, uint32_t begin, uint32_t frames, bool antisymmetric) {
  const lane_channels_t lanes = binauralizer_find_channels(b, antisymmetric);
  lane_rows_t channels;
  for (; channels.count < lanes.count; ++channels.count) {
    channels.rows[channels.count] = sh_in[lanes.channels[channels.count]] + begin;
  }
  transform_rows(b, transform, &channels, frames);
  const spectrum_sum_t sum = {binauralizer_find_responses(b, transform, antisymmetric, lanes.count),
                              b.ear_spectra[antisymmetric]};
  mix_spectra(transform.channels, b.spectrum_buffer, count_batches(lanes.count), &sum, 1);
}

// The symmetric or the antisymmetric responses of all sources.
float* find_folded_spectra(const folded_hrirs_t& hrirs, bool antisymmetric) {
  const size_t batches = antisymmetric ? count_batches(hrirs.num_sources) : 0;
  return hrirs.spectra + batches * batch_size(hrirs.size);
}

// Adds the overlap to an ear's samples, and saves what is beyond `frames`. A block may be shorter
// than the overlap, whose rest is then saved with it.
void overlap_add(const float* samples, float* overlap, float* output, uint32_t frames) {
  const uint32_t met = std::min(frames, kResponseOverlap);
  for (uint32_t i = 0; i < met; ++i) output[i] = samples[i] + overlap[i];
  std::copy(samples + met, samples + frames, output + met);
  memmove(overlap, overlap + met, sizeof(float) * (kResponseOverlap - met));
  clear(overlap + kResponseOverlap - met, met);
  for (uint32_t i = 0; i < kResponseOverlap; ++i) overlap[i] += samples[frames + i];
}

// From the two spectra to the ears. The channels' spectra are no longer needed, so their buffer
// serves as the work area.
void close_piece(binauralizer_t* b, const binauralizer_transform_t& transform,
                 float* const* ears_out, uint32_t begin, uint32_t frames) {
  float *const left = b->ear_spectra[0], *const right = b->ear_spectra[1];
  pair_transform_inverse(transform.ears, left, right, b->spectrum_buffer, left, right);
  overlap_add(left, b->overlap_tails[0], ears_out[0] + begin, frames);
  overlap_add(right, b->overlap_tails[1], ears_out[1] + begin, frames);
}

// Both spectra at once, where the ears have responses of their own and every channel is in both.
void sum_all_channels(const binauralizer_t& b, const binauralizer_transform_t& transform,
                      const float* const* sh_in, uint32_t begin, uint32_t frames) {
  const uint32_t count = b.num_sh_channels;
  lane_rows_t channels;
  for (; channels.count < count; ++channels.count) {
    channels.rows[channels.count] = sh_in[channels.count] + begin;
  }
  transform_rows(b, transform, &channels, frames);
  const spectrum_sum_t sums[] = {
      {binauralizer_find_responses(b, transform, false, count), b.ear_spectra[0]},
      {binauralizer_find_responses(b, transform, true, count), b.ear_spectra[1]}};
  mix_spectra(transform.channels, b.spectrum_buffer, count_batches(count), sums, 2);
}

// Renders `frames` samples from `begin` on; the longest transform holds them and the response.
void render_piece(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                  uint32_t begin, uint32_t frames) {
  const binauralizer_transform_t& transform = binauralizer_choose_transform(*b, frames);
  if (b->fft_setup->has_two_ears) {
    sum_all_channels(*b, transform, sh_in, begin, frames);
  } else {
    for (const bool antisymmetric : {false, true}) {
      sum_channels(*b, transform, sh_in, begin, frames, antisymmetric);
    }
  }
  close_piece(b, transform, ears_out, begin, frames);
}

constexpr uint32_t kFoldedRows = 64;  // of eight floats, folded at once; divides every length

// Adds the responses of a batch of channels, weighted, to those of a batch of sources.
//
//   weights  one row for each channel: its kTransformLanes weights in the sources
//   folded   batch of `size` rows of lanes; overwritten unless `accumulate`
void fold_batch(const float* responses, channels_t<const float> weights, float* folded,
                uint32_t size, bool accumulate) {
  float* rows[kFoldedRows];
  for (uint32_t first = 0; first < size; first += kFoldedRows) {
    for (float*& row : rows) {
      row = folded;
      folded += kTransformLanes;
    }
    // Responses serve as the weights of the product, which leaves the sources in lanes.
    const mix_weights_t parts = {responses + size_t{first} * kTransformLanes, 1, kTransformLanes};
    mix_channels(parts, weights, {rows, kFoldedRows}, kTransformLanes, accumulate);
  }
}

// The symmetric or the antisymmetric response of every source, from those of the channels.
void fold_responses(const binauralizer_t& b, const binauralizer_transform_t& transform,
                    const float* gains, const folded_hrirs_t& hrirs, bool antisymmetric) {
  const lane_channels_t lanes = binauralizer_find_channels(b, antisymmetric);
  const float* const responses =
      binauralizer_find_responses(b, transform, antisymmetric, lanes.count);
  float* folded = find_folded_spectra(hrirs, antisymmetric);
  for (uint32_t source = 0; source < hrirs.num_sources; source += kTransformLanes) {
    const uint32_t sources = std::min(hrirs.num_sources - source, kTransformLanes);
    float weights[AMBISONICS_MAX_CHANNELS][kTransformLanes] = {};
    const float* rows[AMBISONICS_MAX_CHANNELS];
    for (uint32_t lane = 0; lane < lanes.count; ++lane) {
      rows[lane] = weights[lane];
      for (uint32_t s = 0; s < sources; ++s) {
        weights[lane][s] =
            gains[size_t{source + s} * AMBISONICS_MAX_CHANNELS + lanes.channels[lane]];
      }
    }
    for (uint32_t lane = 0; lane < lanes.count; lane += kTransformLanes) {
      const uint32_t count = std::min(lanes.count - lane, kTransformLanes);
      fold_batch(responses + batch_size(hrirs.size) * (lane / kTransformLanes),
                 {rows + lane, count}, folded, hrirs.size, lane > 0);
    }
    folded += batch_size(hrirs.size);
  }
}

}  // namespace

uint32_t binauralizer_process(binauralizer_t* b, const float* const* sh_in, float* const* ears_out,
                              uint32_t frame_size) {
  if (!binauralizer_is_built(*b)) {
    for (const uint32_t ear : {0u, 1u}) clear(ears_out[ear], frame_size);
    return UBR_OK;
  }
  b->tail_length = checked_sub(b->fft_size, frame_size);
  const uint32_t longest = longest_block(*b);
  for (uint32_t begin = 0; begin < frame_size; begin += longest) {
    render_piece(b, sh_in, ears_out, begin, std::min(frame_size - begin, longest));
  }
  b->prev_tail_length = b->tail_length;
  return UBR_OK;
}

uint32_t binauralizer_transform_size(const binauralizer_t& b, uint32_t frames) {
  if (!binauralizer_is_built(b) || frames > longest_block(b)) return 0;
  return binauralizer_choose_transform(b, frames).size;
}

void binauralizer_fold_hrirs(const binauralizer_t& b, const float* gains,
                             const folded_hrirs_t& hrirs) {
  const binauralizer_transform_t& transform =
      binauralizer_choose_transform(b, hrirs.size - kResponseOverlap);
  for (const bool antisymmetric : {false, true})
    fold_responses(b, transform, gains, hrirs, antisymmetric);
}

void binauralizer_process_folded(binauralizer_t* b, const folded_hrirs_t& hrirs,
                                 const float* const* sources, float* const* ears_out,
                                 uint32_t frames) {
  const binauralizer_transform_t& transform = binauralizer_choose_transform(*b, frames);
  b->tail_length = checked_sub(b->fft_size, frames);
  lane_rows_t channels;
  for (; channels.count < hrirs.num_sources; ++channels.count) {
    channels.rows[channels.count] = sources[channels.count];
  }
  transform_rows(*b, transform, &channels, frames);
  const spectrum_sum_t sums[] = {{find_folded_spectra(hrirs, false), b->ear_spectra[0]},
                                 {find_folded_spectra(hrirs, true), b->ear_spectra[1]}};
  mix_spectra(transform.channels, b->spectrum_buffer, count_batches(hrirs.num_sources), sums, 2);
  close_piece(b, transform, ears_out, 0, frames);
  b->prev_tail_length = b->tail_length;
}
