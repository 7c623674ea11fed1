// SPDX-License-Identifier: Apache-2.0
// For the library's own use: building, changing and releasing the record of the reverb.
#ifndef ORVANE_RENDERER_REVERB_INTERNAL_H_
#define ORVANE_RENDERER_REVERB_INTERNAL_H_

#include <stdint.h>

#include "renderer/reverb.h"

// Gives a zero-filled record the default settings and a generator that starts afresh.
// Returns UBR_OK, UBR_INVALID for blocks longer than the reverberator takes, or UBR_NO_MEMORY.
uint32_t reverb_init(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Prepares it for blocks of up to `max_frame_size` samples with a new response, which drops the
// tail. Returns as reverb_init; UBR_INVALID changes nothing.
uint32_t reverb_set_max_frame_size(ubr_reverb_t* reverb, uint32_t max_frame_size);

// Draws a new response for the settings; drops the tail. Returns vn_prepare_to_play's code.
uint32_t reverb_prepare(ubr_reverb_t* reverb);

// Whether the reverb is switched on.
inline bool reverb_is_on(const ubr_reverb_t& reverb) {
  return reverb.velvet_noise.settings.enable != 0.0f;
}

// Frees what the record owns and zeroes it; null and half-built records are accepted.
void reverb_cleanup(ubr_reverb_t* reverb);

// ubr_set_reverb_param in four steps, so that a caller with a lock need not hold it while the new
// response is drawn. Blocks may be rendered between any two steps, and during prepare and release.
// One change must end before the next begins.
struct reverb_change_t {
  vn_state_t state;  // the new reverberator; once applied, the old one
  uint32_t code;     // of its preparation
};

// Takes the settings with one parameter changed. Returns as ubr_set_reverb_param, UBR_MISSING for a
// null reverb; after a failure no other step may follow.
uint32_t reverb_change_begin(const ubr_reverb_t* reverb, uint32_t id, float value,
                             reverb_change_t* change);

// Makes buffers and draws the response.
void reverb_change_prepare(ubr_reverb_t* reverb, reverb_change_t* change);

// Puts the new reverberator in the place of the old one.
void reverb_change_apply(ubr_reverb_t* reverb, reverb_change_t* change);

// Frees the old one.
void reverb_change_release(reverb_change_t* change);

#endif  // ORVANE_RENDERER_REVERB_INTERNAL_H_
