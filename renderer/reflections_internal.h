// SPDX-License-Identifier: Apache-2.0
// For the renderer's own use: building, computing and releasing the record of the reflections.
#ifndef ORVANE_RENDERER_REFLECTIONS_INTERNAL_H_
#define ORVANE_RENDERER_REFLECTIONS_INTERNAL_H_

#include <stdint.h>

#include "renderer/reflections.h"

// Sets a zero-filled record to the defaults: off, in a room of 5 x 6 x 4 m, the listener in its
// middle at a height of 1.6 m. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t reflections_init(ubr_reflections_t* reflections);

// ubr_compute_reflections for a field of `ambisonics` and blocks of up to `max_frame_size` samples.
uint32_t reflections_compute(ubr_reflections_t* reflections, const ambisonics_base_t* ambisonics,
                             uint32_t max_frame_size);

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void reflections_cleanup(ubr_reflections_t* reflections);

// Whether reflections are switched off; false for a missing record, which a block refuses.
inline bool reflections_are_off(const ubr_reflections_t* reflections) {
  return reflections && reflections->reflections_mode == 0;
}

#endif  // ORVANE_RENDERER_REFLECTIONS_INTERNAL_H_
