// For the library's own use: ubr_set_reverb_param in steps, so that a caller with a lock need not
// hold it while a new response is drawn. All steps run on one thread; blocks may be rendered on
// another one between them, and during reverb_change_prepare and reverb_change_release.
#ifndef ORVANE_RENDERER_REVERB_CHANGE_H_
#define ORVANE_RENDERER_REVERB_CHANGE_H_

#include <stdint.h>

#include "renderer/ubr.h"

struct reverb_change_t {
  vn_state_t state;  // the new reverberator; once applied, the old one
  uint32_t code;     // of its preparation
};

// Takes the settings as they are.
void reverb_change_copy(const ubr_reverb_t& reverb, reverb_change_t* change);

// Takes the settings with one parameter changed. Returns as ubr_set_reverb_param; after a failure
// no other step may follow.
uint32_t reverb_change_begin(const ubr_t* renderer, uint32_t id, float value,
                             reverb_change_t* change);

// Makes buffers and draws the response.
void reverb_change_prepare(ubr_reverb_t* reverb, reverb_change_t* change);

// Puts the new reverberator in the place of the old one.
void reverb_change_apply(ubr_reverb_t* reverb, reverb_change_t* change);

// Frees the old one.
void reverb_change_release(reverb_change_t* change);

#endif  // ORVANE_RENDERER_REVERB_CHANGE_H_
