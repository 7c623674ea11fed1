// SPDX-License-Identifier: Apache-2.0
// Late reverberation of the renderer: a velvet-noise tail of the omnidirectional channel, mixed
// into both ears.
#ifndef ORVANE_RENDERER_REVERB_H_
#define ORVANE_RENDERER_REVERB_H_

#include <stdint.h>

#include "base/export.h"
#include "room/velvet_noise.h"

typedef struct ubr_reverb_t {
  vn_state_t velvet_noise;
  uint32_t generator[RANDOM_STATE_WORDS];  // random numbers of the responses
  uint32_t frame_size;                     // samples of the current block
  uint32_t num_outputs;                    // 2: left and right ear
  float* scratch;           // the tail of one block: num_outputs x frame_size of its samples
  uint32_t scratch_frames;  // samples per output that scratch has room for
} ubr_reverb_t;

// Feeds one block of `omni` to the reverberator and adds its tail, at a fixed gain of 0.2, to
// `outputs`.
//
//   omni     `frames` samples
//   outputs  num_outputs channels of `frames` samples
//
// Returns vn_process's code, or UBR_MISSING for null and for a block longer than the renderer's
// maximum. A reverberator that fails adds silence. Allocates nothing.
ORVANE_API uint32_t ubr_process_reverb(ubr_reverb_t* reverb, const float* omni,
                                       float* const* outputs, uint32_t frames);

#endif  // ORVANE_RENDERER_REVERB_H_
