// For the renderer's own use: the shortcut of a scene at rest. While no source, no gain and no
// orientation moves, each source has one response per ear, and a block needs no field: beam,
// rotation and the channels' responses are folded together once and used until something moves.
#ifndef ORVANE_RENDERER_RESTING_H_
#define ORVANE_RENDERER_RESTING_H_

#include <stdint.h>

#include "ambisonics/binauralizer_internal.h"
#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"

struct ubr_resting_t {
  uint32_t num_sources;
  encoder_source_t* sources;  // num_sources: as the last block at rest found them
  uint32_t transform_size;    // of the last block, if that was at rest; else 0
  bool is_folded;             // whether `hrirs` are those of `sources` and `transform_size`
  float* gains;               // num_sources rows of AMBISONICS_MAX_CHANNELS: weights of the audible
                              // sources in the field that would enter the binauralizer
  const float** audible;      // num_sources: the samples of the audible sources in this block
  folded_hrirs_t hrirs;       // of the audible sources, with room for all at the longest transform
};

// Whether it pays to fold: a transform per source must be less work than one per channel.
bool resting_is_offered(uint32_t num_sources, uint32_t num_channels);

// Makes a record that is zero-filled. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t resting_init(ubr_resting_t* resting, uint32_t num_sources);

// To be called for a block in which something moves, or that resting_prepare was not asked about.
void resting_forget(ubr_resting_t* resting);

// Whether resting_process can render the next block, which is at rest. Deliberate: only the second
// block of the same length in the same scene can, and folds; a scene that moves every other block
// never pays for folding, and the rotator, which is not run at rest, ends a fade with increments of
// zero. Allocates nothing.
//
//   rotator  null without head tracking, else at rest
bool resting_prepare(ubr_resting_t* resting, const encoder_t& encoder, const rotator_t* rotator,
                     const binauralizer_t& binauralizer, uint32_t frames);

// Renders the block that resting_prepare has agreed to.
//
//   inputs  num_sources channels of `frames` samples
//   omni    overwritten with channel 0 of the field that the ears would be made from; null where
//           nothing reads it
//   ears    left and right, overwritten
void resting_process(ubr_resting_t* resting, binauralizer_t* binauralizer,
                     const float* const* inputs, float* omni, float* const* ears, uint32_t frames);

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void resting_cleanup(ubr_resting_t* resting);

#endif  // ORVANE_RENDERER_RESTING_H_
