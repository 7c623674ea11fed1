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
  float* scratch;                          // num_outputs x frame_size: the tail of one block
  uint32_t scratch_frames;                 // samples per output that scratch has room for
} ubr_reverb_t;

// Feeds one block of `omni` to the reverberator and adds its tail, at a fixed gain of 0.2, to
// `outputs`.
//
//   omni     `frames` samples
//   outputs  num_outputs channels of `frames` samples
//
// Returns vn_process's code, or UBR_MISSING for null and for a block longer than the renderer's
// maximum; after a failure the outputs are as they were. Allocates nothing.
ORVANE_API uint32_t ubr_process_reverb(ubr_reverb_t* reverb, const float* omni,
                                       float* const* outputs, uint32_t frames);

#ifdef __cplusplus
// Makes a record that is zero-filled, with the default settings and a generator that starts afresh.
// Returns UBR_OK, UBR_INVALID for blocks longer than the reverberator takes, or UBR_NO_MEMORY.
uint32_t reverb_init(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Makes it ready for blocks of up to `max_frame_size` samples with a new response, which drops the
// tail. Returns as reverb_init, UBR_INVALID with nothing changed.
uint32_t reverb_set_max_frame_size(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Draws a new response for the settings; drops the tail. Returns vn_prepare_to_play's code.
uint32_t reverb_prepare(ubr_reverb_t* reverb);

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void reverb_cleanup(ubr_reverb_t* reverb);
#endif

#endif  // ORVANE_RENDERER_REVERB_H_
