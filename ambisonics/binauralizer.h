// SPDX-License-Identifier: Apache-2.0
// Ambisonics to two ears: every channel is convolved with the response of its spherical harmonic
// and summed, by overlap-add in the frequency domain, one transform per block and channel. The
// built-in responses are those of a left ear. Their head is taken as symmetric, so the right ear is
// the same sum with the channels of negative order m negated: the symmetric sum is over m >= 0, the
// antisymmetric one over m < 0, the left ear is their sum and the right ear their difference. They
// delay the signal by BINAURALIZER_LATENCY samples. binauralizer_set_responses takes those of
// another head, whose ears may differ: then all channels are in both sums, with half the sum and
// half the difference of the two responses.
//
// Blocks are transformed at the shortest of a few lengths that holds them and the response, however
// long the maximum; a block beyond the longest length is rendered in pieces.
#ifndef ORVANE_AMBISONICS_BINAURALIZER_H_
#define ORVANE_AMBISONICS_BINAURALIZER_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"
#include "numerics/float_matrix.h"

enum {
  BINAURALIZER_TAPS = 256,                               // of a response
  BINAURALIZER_RESPONSE_CHANNELS = ORVANE_MAX_CHANNELS,  // rows of a table of responses have
  BINAURALIZER_LATENCY = 145,  // samples from an impulse to its peak at the ears
};

struct binauralizer_transforms_t;

typedef struct binauralizer_t {
  uint32_t num_ears;         // 2: left, right
  uint32_t num_sh_channels;  // (order + 1)^2
  uint32_t hrir_length;      // taps of a response
  uint32_t fft_size;     // N: power of two, at least maximum frame + hrir_length. The overlap is
                         // counted by it; transforms are as long as their block needs
  uint32_t tail_length;  // N minus the frames of this block: samples kept as overlap
  uint32_t prev_tail_length;
  int32_t* sh_degree_m;             // order m of every channel
  float* time_buffer;               // null: nothing uses it
  float** overlap_tails;            // num_ears rows of N - 1; zero beyond hrir_length - 1
  float* spectrum_buffer;           // batches of channels of a block, see numerics/lane_transform.h
  ubr_float_matrix_t hrtf_spectra;  // the symmetric and the antisymmetric row: spectra of the
                                    // channels' responses at each length in turn, in batches,
                                    // scaled by 0.5 / length
  float** ear_spectra;  // num_ears rows: the symmetric and the antisymmetric spectrum, and then
                        // the samples of the ears
  struct binauralizer_transforms_t* fft_setup;  // private: transforms, responses that were set
} binauralizer_t;

// Builds a binauralizer for orders 0 to 4 and blocks of up to `max_frame_size` samples.
// Returns UBR_OK; 1 when the transforms or the table of orders m cannot be made; UBR_NO_MEMORY for
// a null record or any other failed allocation. binauralizer_cleanup releases what was built. An
// order above 4 or a maximum below 0 or above 2^30 - hrir_length aborts the process.
ORVANE_API uint32_t binauralizer_init(binauralizer_t* binauralizer, uint32_t order,
                                      int32_t max_frame_size);

// Renders one block.
//
//   sh_in       num_sh_channels channels of `frame_size` samples, ACN/SN3D
//   ears_out    left and right, `frame_size` samples each, overwritten; they may overlap sh_in in
//               blocks of up to ORVANE_MAX_FRAME_SIZE + 1 samples
//   frame_size  1 to the maximum given at init, in any mix; above fft_size it aborts
//
// A sample that is not finite spoils the output until hrir_length samples after its block, not
// longer. A record that is not built, as after a failure, renders silence. Returns UBR_OK.
// Allocates nothing.
ORVANE_API uint32_t binauralizer_process(binauralizer_t* binauralizer, const float* const* sh_in,
                                         float* const* ears_out, uint32_t frame_size);

// Replaces the responses, from the next block on; what is in flight ends with the old ones. They
// are copied, and kept until they are replaced or the binauralizer is cleaned up.
//
//   left, right  tables of an ear: BINAURALIZER_TAPS rows (taps at 48 kHz) of
//                BINAURALIZER_RESPONSE_CHANNELS (ACN order, SN3D normalisation, whatever the order
//                in use). A null `right` is the left ear of a symmetric head; two nulls are the
//                built-in responses
//
// A right table that only mirrors the left one costs nothing, and ears that differ take one more
// product per channel of a field. Returns UBR_OK; or, with the old
// responses in place: UBR_MISSING for a null record or one that is not built, UBR_INVALID for a
// value that is not finite or a right ear without a left one, UBR_NO_MEMORY. Not for the audio
// thread: it allocates.
ORVANE_API uint32_t binauralizer_set_responses(binauralizer_t* binauralizer, const float* left,
                                               const float* right);

// Silences all state and keeps the transforms, which have none. Returns UBR_OK, also for a null or
// zero-filled record.
ORVANE_API uint32_t binauralizer_reset(binauralizer_t* binauralizer);

// Grows for blocks of up to `max_frame_size` samples and carries the overlap on; never shrinks. A
// null or zero-filled record stays as it is.
//
//   save_buffers  num_ears arrays of at least prev_tail_length floats; zeroed after use
//
// Deliberate: returns UBR_OK even when memory ran out, because the binauralizer can be used
// further: without its overlap it renders silence, and the next call builds it again for the
// maximum that it is given.
ORVANE_API uint32_t binauralizer_reset_max_frame_size(binauralizer_t* binauralizer,
                                                      uint32_t max_frame_size,
                                                      float* const* save_buffers);

// Frees what the binauralizer owns and zeroes it; null and half-built records are accepted.
// Returns UBR_OK.
ORVANE_API uint32_t binauralizer_cleanup(binauralizer_t* binauralizer);

#endif  // ORVANE_AMBISONICS_BINAURALIZER_H_
