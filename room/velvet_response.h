// The velvet-noise response, as vn_prepare_to_play needs it.
#ifndef ORVANE_ROOM_VELVET_RESPONSE_H_
#define ORVANE_ROOM_VELVET_RESPONSE_H_

#include <stddef.h>
#include <stdint.h>

#include "room/velvet_noise.h"

// Vector `i` of the work area, fft_size samples.
inline float* velvet_work_vector(const vn_state_t& state, int32_t i) {
  return state.work_area + ptrdiff_t{i} * state.fft_size;
}

// Whether the settings describe a response at the state's sampling rate.
bool velvet_settings_are_valid(const vn_state_t& state);

// Draws the pulses of both responses into work vectors 0 and 1, which hold zeros.
void velvet_place_pulses(uint32_t* rng, const vn_state_t& state);

// The response of one pass of the tone filter, `count` samples.
void velvet_tone_pass(const vn_state_t& state, float* response, int32_t count);

// Distance of the outermost pole of one pass from the origin, 0 for a filter that changes nothing.
// Deliberate: large also where zeros nearly cancel the poles, at gains of almost 1: a pass in
// single precision has rounding errors, which ring on with the poles.
double velvet_tone_radius(const vn_state_t& state);

// Filters both responses forwards and backwards, which leaves no phase shift; vectors 2 and 3 are
// scratch. Nothing to do when the tone filter is off.
void velvet_apply_tone(const vn_state_t& state);

#endif  // ORVANE_ROOM_VELVET_RESPONSE_H_
