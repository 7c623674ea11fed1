// SPDX-License-Identifier: Apache-2.0
// Rectangular room: three dimensions and one broadband absorption coefficient per wall.
//
// Axes are those of the listener (+x ahead, +y left, +z up), in metres. The room is centred on the
// origin; heights handed to the scene may be counted from the floor instead (height_from_floor).
// Walls are numbered 1 to 6: +x, -x, +y, -y, +z (ceiling), -z (floor); arrays start at wall 1.
//
// No function here reports an error, allocates, or accepts a null pointer.
#ifndef ORVANE_ROOM_SHOEBOX_H_
#define ORVANE_ROOM_SHOEBOX_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"

enum {
  SHOEBOX_WALLS = 6,
  SHOEBOX_MATERIALS = 27,
  SHOEBOX_MAX_SOURCES = ORVANE_MAX_CHANNELS,
};

#define SHOEBOX_SPEED_OF_SOUND 343.0f  // metres per second, of a new room

// The room parameter block.
typedef struct shoebox_params_t {
  float room_x;                     // length, metres
  float room_y;                     // width, metres
  float room_z;                     // height, metres
  float absorption[SHOEBOX_WALLS];  // 0 (hard) to 1 (open window) per wall
} shoebox_params_t;

// The parameter block in fixed point.
typedef struct shoebox_params_fixed_t {
  int32_t room_x;  // Q11.20 metres
  int32_t room_y;
  int32_t room_z;
  int32_t absorption[SHOEBOX_WALLS];  // Q0.31
} shoebox_params_fixed_t;

// The room model. An option is on when it is not 0.
typedef struct shoebox_config_t {
  float reserved_a;                                 // not read
  float max_sources;                                // sources a scene may hold
  float reserved_b[2];                              // not read
  float source_positions[3 * SHOEBOX_MAX_SOURCES];  // x, y, z of each source of the last scene
  float direct_distances[SHOEBOX_MAX_SOURCES];      // source to listener, metres
  float listener[3];                                // x, y, z, inside the room
  float source_count;                               // sources of the last scene
  float cartesian_sources;  // option of the last scene: x, y, z instead of angles and distance
  float relative_sources;   // option of the last scene: positions relative to the listener
  float height_from_floor;  // option: z is counted from the floor
  float angles_in_radians;  // option: spherical coordinates are in radians, otherwise in degrees
  float reserved_c;         // not read
  float wall_margin;        // metres that sources and listener keep from every wall
  float speed_of_sound;     // metres per second
  float distance_loss;      // gain lost per metre
  shoebox_params_t params;
} shoebox_config_t;

// Writes the defaults of a parameter block, a room of 3 x 4 x 5 m. Returns `p`.
ORVANE_API shoebox_params_t* shoebox_config_init(shoebox_params_t* p);

// Writes the initial value of every field, a room of 5 x 6 x 4 m. Returns `s`.
ORVANE_API shoebox_config_t* shoebox_init(shoebox_config_t* s);

// Copies the parameter block of the room out.
ORVANE_API void shoebox_get_config(const shoebox_config_t* s, shoebox_params_t* p);

// Replaces the parameter block of the room, without any check: use dimensions above twice the wall
// margin, so that sound paths have a length.
ORVANE_API void shoebox_set_config(shoebox_config_t* s, const shoebox_params_t* p);

// Sets the absorption of one wall.
//
//   wall         1.0 to 6.0, then truncated
//   coefficient  0.0 to 1.0
//
// Does nothing when either is out of range.
ORVANE_API void shoebox_set_abscoeff(shoebox_config_t* s, float wall, float coefficient);

// Sets the absorption of one wall to that of a built-in material.
//
//   wall      1.0 to 6.0, then truncated
//   material  truncated, then 1 to SHOEBOX_MATERIALS
//
// Does nothing when either is out of range.
ORVANE_API void shoebox_set_material(shoebox_config_t* s, float wall, float material);

// Converts a parameter block to fixed point, rounding half away from zero. Dimensions saturate at
// +-2048 m, coefficients at +-1; a value that is not a number becomes the upper end.
ORVANE_API void shoebox_config_to_fixed(const shoebox_params_t* p, shoebox_params_fixed_t* q);

// Converts a parameter block back, to single precision.
ORVANE_API void shoebox_config_to_float(const shoebox_params_fixed_t* q, shoebox_params_t* p);

// Hooks for hosts that start and stop every module alike; the room model needs neither.
ORVANE_API void shoebox_initialize(void);
ORVANE_API void shoebox_terminate(void);
ORVANE_API void shoebox_structnames(void);

#endif  // ORVANE_ROOM_SHOEBOX_H_
