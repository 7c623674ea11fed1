// The velvet-noise response as what it is made of: its pulses, and the tone filter that colours all
// of them alike. Where they are few, adding up the filtered block once per pulse takes a fraction
// of the time of transforms as long as the whole tail.
#ifndef ORVANE_ROOM_VELVET_PULSES_H_
#define ORVANE_ROOM_VELVET_PULSES_H_

#include <stdint.h>

#include "room/velvet_noise.h"

// Collects the pulses that stand in work vectors 0 and 1, without their tone. The state's `pulses`
// stay null where transforms serve better: many pulses, a tone filter that rings for long, vectors
// too short for the scratch. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t velvet_gather_pulses(vn_state_t* state);

// Adds the response to a block of `frames` samples to the rings, one convolution length from the
// write index on. Needs `pulses`; work vectors 2 and 3 are scratch.
void velvet_add_pulses(const vn_state_t& state, const float* input, int32_t frames);

#endif  // ORVANE_ROOM_VELVET_PULSES_H_
