// SPDX-License-Identifier: Apache-2.0
// For the library's own use: the transforms of a binauralizer, and the shortcut from sources
// straight to two ears, without a field. While neither SH weights nor rotation change, a source's
// path through the field is one symmetric and one antisymmetric response, its folded HRIRs (see
// binauralizer.h). A block then takes one transform per source instead of one per channel.
#ifndef ORVANE_AMBISONICS_BINAURALIZER_INTERNAL_H_
#define ORVANE_AMBISONICS_BINAURALIZER_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/sh_hrir.h"
#include "numerics/lane_transform.h"
#include "numerics/pair_transform.h"

constexpr uint32_t kResponseOverlap = SH_HRIR_TAPS - 1;  // samples that a block sounds on for

constexpr uint32_t kNumEars = ORVANE_NUM_EARS;

// Transform lengths, for blocks of up to 257, 513 and 1025 samples.
constexpr uint32_t kTransformSizes[] = {512, 768, 1280};
constexpr uint32_t kMaxTransforms = sizeof(kTransformSizes) / sizeof(kTransformSizes[0]);

struct binauralizer_transform_t {
  uint32_t size;
  uint32_t shorter;           // sum of the sizes of the shorter ones, whose responses come first
  lane_transform_t channels;  // forward, eight channels at a time
  pair_transform_t ears;      // back, both ears at once
};

// What a binauralizer keeps beside its record: its transforms, and the responses that it was given.
struct binauralizer_transforms_t {
  uint32_t count;
  binauralizer_transform_t lengths[kMaxTransforms];  // the shortest first

  // Null for the built-in responses. Otherwise those of the left ear, and where has_two_ears those
  // of the right ear after them, each of SH_HRIR_TAPS rows of SH_HRIR_CHANNELS. They outlive a
  // rebuild, even one that fails.
  float* responses;
  bool has_two_ears;
  uint32_t responses_number;  // see binauralizer_responses_number
};

// Whether every buffer of a successful binauralizer_init exists. Growing a binauralizer reports no
// failure, so its owner asks here.
bool binauralizer_is_built(const binauralizer_t& binauralizer);

// Of a binauralizer that is built, the shortest transform for a block of `frames`; the longest if
// none holds it.
const binauralizer_transform_t& binauralizer_choose_transform(const binauralizer_t& binauralizer,
                                                              uint32_t frames);

const binauralizer_transform_t& binauralizer_longest_transform(const binauralizer_t& binauralizer);

// The channels of the symmetric sum (m >= 0) or of the antisymmetric one, in the order of their
// lanes. Where the ears have responses of their own, all channels are in both sums.
struct lane_channels_t {
  uint32_t count;
  uint32_t channels[AMBISONICS_MAX_CHANNELS];
};
lane_channels_t binauralizer_find_channels(const binauralizer_t& binauralizer, bool antisymmetric);

// Spectra of the responses of one of these sums, which has num_channels channels, batch after
// batch.
float* binauralizer_find_responses(const binauralizer_t& binauralizer,
                                   const binauralizer_transform_t& transform, bool antisymmetric,
                                   uint32_t num_channels);

constexpr uint32_t kMaxFoldedSources =
    AMBISONICS_MAX_CHANNELS - 1;  // from there on the field is cheaper

struct folded_hrirs_t {
  uint32_t num_sources;  // at most kMaxFoldedSources
  uint32_t size;         // length of the transform that the spectra are for
  float* spectra;        // symmetric ones of all sources, then antisymmetric ones, in batches of
                         // sources as hrtf_spectra are of channels; count_folded_floats() of them,
                         // from alloc_aligned, not owned
};

// Floats that the spectra of `num_sources` take at most.
constexpr size_t count_folded_floats(uint32_t num_sources) {
  return batch_size(kTransformSizes[kMaxTransforms - 1]) * count_batches(num_sources) * 2;
}

// Floats of the spectrum buffer: the channels of a sum, or the sources of a static scene, of which
// there are fewer than channels.
size_t binauralizer_spectrum_buffer_size(const binauralizer_t& binauralizer);

// Makes the spectrum buffer and the rows of the responses, once the transforms and the degree table
// exist. Returns UBR_OK or UBR_NO_MEMORY; release accepts what a failure leaves.
uint32_t binauralizer_make_response_buffers(binauralizer_t* binauralizer);
void binauralizer_release_response_buffers(binauralizer_t* binauralizer);

// Fills the rows with the spectra of the responses, at every length.
void binauralizer_transform_responses(binauralizer_t* binauralizer);

// A number that no other responses of this process have had, those of a binauralizer that is built.
// What was made of responses is valid while their number stays.
uint32_t binauralizer_responses_number(const binauralizer_t& binauralizer);

// The next such number, for responses that are new. Any thread may ask.
uint32_t binauralizer_number_responses();

// Length of the transform that renders a block of `frames`; 0 when it takes several, or when the
// record is not built.
uint32_t binauralizer_transform_size(const binauralizer_t& binauralizer, uint32_t frames);

// Writes the spectra of `hrirs`, whose size is a binauralizer_transform_size.
//
//   gains  num_sources rows of AMBISONICS_MAX_CHANNELS: weight of a source in each channel of the
//          field that would enter the binauralizer
//
// Allocates nothing.
void binauralizer_fold_hrirs(const binauralizer_t& binauralizer, const float* gains,
                             const folded_hrirs_t& hrirs);

// binauralizer_process for the field that the folded gains make of `sources`, num_sources channels
// of `frames` samples: the same samples but for rounding, the same overlap and lengths. `hrirs` are
// folded for the transform of `frames`. Allocates nothing.
void binauralizer_process_folded(binauralizer_t* binauralizer, const folded_hrirs_t& hrirs,
                                 const float* const* sources, float* const* ears_out,
                                 uint32_t frames);

#endif  // ORVANE_AMBISONICS_BINAURALIZER_INTERNAL_H_
