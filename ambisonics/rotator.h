// SPDX-License-Identifier: Apache-2.0
// Rotates an ambisonic field against the listener's head, so that the scene stays in its place.
//
// The rotation matrix is found by sampling: with as many directions as channels,
// R = inverse(Y) * B, where row d of Y holds the SH weights of direction d and row d of B those of
// the rotated direction d. A new orientation is reached over one block, by a linear ramp in steps
// of four samples.
#ifndef ORVANE_AMBISONICS_ROTATOR_H_
#define ORVANE_AMBISONICS_ROTATOR_H_

#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "base/export.h"
#include "numerics/float_matrix.h"
#include "numerics/pinv.h"

enum rotator_orientation_format {
  ROTATOR_EULER_A = 0,          // three angles in degrees, composed as rotator_orientation.cpp says
  ROTATOR_YAW_PITCH_ROLL = 1,   // yaw, pitch, roll in degrees
  ROTATOR_ROTATION_VECTOR = 2,  // axis times angle, in radians
};

typedef struct rotator_t {
  float orientation_matrix[9];  // 3 x 3, row-major, of the last Euler-angle orientation
  int32_t beam_rows;            // both num_channels
  int32_t beam_cols;
  float pinv_workspace[PINV_WORKSPACE_FLOATS];
  float* beam_matrix;       // Y: num_channels x num_channels, row d = weights of direction d
  float* beam_matrix_pinv;  // inverse of Y, row-major
  ubr_float_matrix_t directions_xyz;  // num_channels x 3, unit vectors
  ubr_float_matrix_t directions_sph;  // num_channels x 2, azimuth and elevation in radians
  float** rotated_beams;              // B: num_channels rows of num_channels
  float* input_buffer;                // null: samples are read where they lie
  float* previous_matrix;             // P: matrix at the end of the last block
  float* current_matrix;              // R: matrix of the newest orientation
  float* delta_matrix;                // D: increment per sample of the current block
  float* output_buffer;               // scratch: the outputs, where they overlap the inputs
  uint32_t padded_channels;           // row stride of P, R and D
  uint32_t max_frame_size;
  uint32_t padded_frame;
  const ambisonics_base_t* ambisonics;  // shared, not owned
} rotator_t;

// Matrix convention: R[i][j] is the weight of input channel i in output channel j.

// Builds a static rotator in the identity orientation. More channels than the order has sampling
// directions abort the process; an order outside 1 to 4 leaves the directions at zero. Returns
// UBR_OK, or UBR_NO_MEMORY for a null rotator or a failed allocation (rotator_cleanup then releases
// what was built).
ORVANE_API uint32_t rotator_init(rotator_t* rotator, const ambisonics_base_t* ambisonics,
                                 uint32_t max_frame_size);

// Sets the head orientation: three values in the given rotator_orientation_format. It is heard from
// the next block on; of several settings between two blocks only the last counts. `rotator` is not
// checked. Returns UBR_OK, or UBR_INVALID, nothing changed, for an unknown format or for angles or
// a vector length that are not finite. Allocates nothing.
ORVANE_API uint32_t rotator_set_orientation(rotator_t* rotator, const float orientation[3],
                                            uint32_t format);

// Orientation back to straight ahead; the next block turns there.
// Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t rotator_reset(rotator_t* rotator);

// Accepts blocks of up to `max_frame_size` samples; matrices stay. Returns UBR_OK, UBR_MISSING
// for null, or UBR_NO_MEMORY, with the rotator as it was.
ORVANE_API uint32_t rotator_reset_max_frame_size(rotator_t* rotator, uint32_t max_frame_size);

// Rotates one block of num_channels channels from `inputs` to `outputs`, which are overwritten.
// They may overlap the inputs in any way. A block of 0 frames ends a turn, too: the next one starts
// at the new orientation. Returns UBR_OK, or UBR_MISSING, nothing touched, for more
// than max_frame_size frames. Allocates nothing.
ORVANE_API uint32_t rotator_process(rotator_t* rotator, const float* const* inputs,
                                    float* const* outputs, uint32_t frames);

// Frees what the rotator owns and zeroes it; null and half-built rotators are accepted.
// Returns UBR_OK.
ORVANE_API uint32_t rotator_cleanup(rotator_t* rotator);

#endif  // ORVANE_AMBISONICS_ROTATOR_H_
