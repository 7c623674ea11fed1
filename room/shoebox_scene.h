// SPDX-License-Identifier: Apache-2.0
// First-order image sources of a shoebox room: every source is mirrored in each of the six walls,
// and each image is heard with a delay, a gain and a direction of its own.
//
// Source: J. B. Allen and D. A. Berkley, "Image method for efficiently simulating small-room
// acoustics", J. Acoust. Soc. Am. 65(4), 1979.
#ifndef ORVANE_ROOM_SHOEBOX_SCENE_H_
#define ORVANE_ROOM_SHOEBOX_SCENE_H_

#include "base/export.h"
#include "room/shoebox.h"

enum {
  SHOEBOX_MAX_TAPS = SHOEBOX_MAX_SOURCES * SHOEBOX_WALLS,
  SHOEBOX_TAP_CAPACITY = SHOEBOX_MAX_TAPS + 1,  // the last entry is spare
};

// The reflections of a scene. Wall w (from 0) of source s is tap reflections_per_source * s + w.
typedef struct shoebox_scene_t {
  float source_count;                     // set by the caller
  float reflections_per_source;           // stride between sources, set by the caller to 6
  float delay[SHOEBOX_TAP_CAPACITY];      // image to listener, seconds
  float gain[SHOEBOX_TAP_CAPACITY];       // linear, can be negative
  float azimuth[SHOEBOX_TAP_CAPACITY];    // direction of arrival at the listener, radians
  float elevation[SHOEBOX_TAP_CAPACITY];  // radians
} shoebox_scene_t;

// Places listener and sources, keeps them room->wall_margin inside the walls and computes the taps.
//
//   room      receives the options, the source count, the listener inside the room, and of every
//             source its direct distance and its position (as given, in Cartesian room axes)
//   scene     receives six taps per source; taps of sources beyond the count keep their values
//   listener  x, y, z in metres, z from the floor if room->height_from_floor
//   sources   source_count triples: x, y, z in metres, z as for the listener, or azimuth, elevation
//             and distance in metres
//   option_a  not 0: the triples are Cartesian
//   option_b  not 0: the triples are relative to the listener
//
// With d the path from image to listener and d0 that from source to listener, in metres:
//
//   delay = d / speed_of_sound
//   gain = (1 - absorption) * d0 / max(d, d0) - distance_loss * max(d, d0)
//
// At most room->max_sources sources are used, none if the count is not a number. Aborts on a source
// or tap for which the records have no room. Allocates nothing.
ORVANE_API void shoebox_set_scene(shoebox_config_t* room, shoebox_scene_t* scene,
                                  const float listener[3], const float* sources, float option_a,
                                  float option_b);

#endif  // ORVANE_ROOM_SHOEBOX_SCENE_H_
