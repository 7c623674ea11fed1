// For the renderer's own use: building, changing and releasing the records of the room.
#ifndef ORVANE_RENDERER_ROOM_MODULES_H_
#define ORVANE_RENDERER_ROOM_MODULES_H_

#include <stdint.h>

#include "renderer/reflections.h"
#include "renderer/reverb.h"

// Makes a record that is zero-filled, with the defaults: off, in a room of 5 x 6 x 4 m, the
// listener in its middle at a height of 1.6 m. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t reflections_init(ubr_reflections_t* reflections);

// ubr_compute_reflections for a field of `ambisonics` and blocks of up to `max_frame_size` samples.
uint32_t reflections_compute(ubr_reflections_t* reflections, const ambisonics_base_t* ambisonics,
                             uint32_t max_frame_size);

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void reflections_cleanup(ubr_reflections_t* reflections);

// Makes a record that is zero-filled, with the default settings and a generator that starts afresh.
// Returns UBR_OK, UBR_INVALID for blocks longer than the reverberator takes, or UBR_NO_MEMORY.
uint32_t reverb_init(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Makes it ready for blocks of up to `max_frame_size` samples with a new response, which drops the
// tail. Returns as reverb_init, UBR_INVALID with nothing changed.
uint32_t reverb_set_max_frame_size(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Draws a new response for the settings; drops the tail. Returns vn_prepare_to_play's code.
uint32_t reverb_prepare(ubr_reverb_t* reverb);

// Whether a block is heard in the tail at all.
inline bool reverb_is_on(const ubr_reverb_t& reverb) {
  return reverb.velvet_noise.settings.enable != 0.0f;
}

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void reverb_cleanup(ubr_reverb_t* reverb);

#endif  // ORVANE_RENDERER_ROOM_MODULES_H_
