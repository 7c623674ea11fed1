// SPDX-License-Identifier: Apache-2.0
// For the library's own use: the reverberator's response, and the two ways of applying it to a
// block.
#ifndef ORVANE_ROOM_VELVET_NOISE_INTERNAL_H_
#define ORVANE_ROOM_VELVET_NOISE_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>

#include "numerics/lane_transform.h"
#include "room/velvet_noise.h"

struct sparse_tap_t;

constexpr int32_t kVnOutputs = ORVANE_NUM_EARS;

// What vn_state_t's fft_setup points to: the response in the form in which it is applied.
struct vn_convolver_t {
  float* scratch;  // of a block
  // A response that has few pulses:
  sparse_tap_t* pulses;  // tone filter; then, per channel, corrections and pulses. Or null
  int32_t tone_reach;    // samples that the tone filter reaches to either side
  int32_t num_pulses[kVnOutputs];
  // A response with more pulses is kept as num_batches batches of spectra. A batch holds four
  // partitions of either channel:
  lane_transform_t transform;
  int32_t partition_length;  // samples
  int32_t num_batches;
  int32_t first_lag;  // of the first partition: 0 or less
  int32_t end_lag;    // behind the last sample of the response
};

// Copies rates, limits and settings, and takes none of the buffers: *to is as before its first
// preparation, whatever it owned.
void vn_copy_unprepared(const vn_state_t& from, vn_state_t* to);

// Vector `i` of the work area, fft_size samples. Only while a response is prepared.
inline float* vn_work_vector(const vn_state_t& state, int32_t i) {
  return state.work_area + ptrdiff_t{i} * state.fft_size;
}

// velvet_response.cpp: the response as the settings describe it.

// Whether the settings describe a response at the state's sampling rate.
bool vn_settings_are_valid(const vn_state_t& state);

// Draws the pulses of both responses into work vectors 0 and 1, which hold zeros.
void vn_place_pulses(uint32_t* rng, const vn_state_t& state);

// Filters both responses forwards and backwards, which leaves no phase shift; vectors 2 and 3 are
// scratch. Nothing to do when the tone filter is off.
void vn_apply_tone(const vn_state_t& state);

// The response of one pass of the tone filter, `count` samples.
void vn_tone_pass(const vn_state_t& state, float* response, int32_t count);

// Distance of the outermost pole of one pass from the origin, 0 for a filter that changes nothing.
// Deliberate: zeros are not taken into account, even where they nearly cancel the poles, because
// the rounding errors of a pass in single precision decay only as fast as its poles do.
double vn_tone_radius(const vn_state_t& state);

// velvet_pulses.cpp: the response as what it is made of, its pulses and the tone filter that
// colours all of them alike. Where they are few, adding up the filtered block once per pulse takes
// less time than transforms.

// Collects the pulses that stand in work vectors 0 and 1, without their tone. The convolver's
// `pulses` stay null where transforms serve better: many pulses, or a tone filter that rings for
// long. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t vn_gather_pulses(vn_state_t* state);

// Adds the response to a block of `frames` samples to the rings, one convolution length from the
// write index on. Needs `pulses`.
void vn_add_pulses(const vn_state_t& state, const float* input, int32_t frames);

// velvet_partitions.cpp: the response in partitions of equal length, by transforms as long as a
// partition and a block. For any response.

// Takes the responses that stand in work vectors 0 and 1, without their tone; all vectors are
// scratch. Returns UBR_OK or UBR_NO_MEMORY.
uint32_t vn_make_partitions(vn_state_t* state);

// Adds the response to a block of `frames` samples to the rings, one convolution length from the
// write index on.
void vn_add_partitions(const vn_state_t& state, const float* input, int32_t frames);

#endif  // ORVANE_ROOM_VELVET_NOISE_INTERNAL_H_
