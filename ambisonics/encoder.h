// SPDX-License-Identifier: Apache-2.0
// Encodes mono sources into ambisonics. Each source carries its SH weights, the beam; one pass is
// one matrix product of the weights with the block of samples, from the inputs straight to the
// outputs. No state crosses a block: new weights apply from the first sample of the next block,
// nothing is interpolated.
#ifndef ORVANE_AMBISONICS_ENCODER_H_
#define ORVANE_AMBISONICS_ENCODER_H_

#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "base/export.h"

// Values of encoder_source_t.type; sources of any other type are silent.
enum encoder_source_type {
  ENCODER_SOURCE_WORLD = 0,        // relative to user_position, 1/distance beyond 1 m; dynamic pass
  ENCODER_SOURCE_LOUDSPEAKER = 1,  // relative to the listener, not attenuated; dynamic pass
  ENCODER_SOURCE_HEAD_LOCKED = 2,  // relative to the listener, not attenuated; static pass
  ENCODER_SOURCE_LFE = 3,          // raw samples into channel 0 only; static pass
};

typedef struct encoder_source_t {
  float beam[AMBISONICS_MAX_CHANNELS];  // SH weights, distance gain included
  float position[3];                    // x, y, z in metres, as last set
  float distance;                       // metres
  float azimuth;                        // radians
  float elevation;                      // radians
  float distance_gain;                  // 1/distance for world sources beyond 1 m, else 1
  uint32_t type;                        // encoder_source_type
} encoder_source_t;

typedef struct encoder_t {
  uint32_t num_sources;
  uint32_t max_frame_size;
  float user_position[3];  // listener x, y, z in metres
  encoder_source_t* sources;
  const ambisonics_base_t* ambisonics;  // shared, not owned
  float* input_matrix;                  // scratch: addresses of the encoded sources' samples
  float* gain_matrix;                   // padded_sources x padded_channels, their SH weights
  float* output_matrix;     // scratch: the outputs, where they overlap the inputs; or null
  uint32_t padded_sources;  // sizes rounded up to multiples of four
  uint32_t padded_channels;
  uint32_t padded_frame;
} encoder_t;

// Builds an encoder whose sources all are of type 0, straight ahead at 1 m.
// Returns UBR_OK, or UBR_NO_MEMORY for a null encoder or a failed allocation (encoder_cleanup then
// releases what was built).
ORVANE_API uint32_t encoder_init(encoder_t* encoder, const ambisonics_base_t* ambisonics,
                                 uint32_t num_sources, uint32_t max_frame_size);

// Stores x, y, z (metres) and recomputes geometry, distance gain and beam of source `index`.
// Returns UBR_OK, UBR_MISSING for a null encoder, UBR_INVALID for an index out of range.
ORVANE_API uint32_t encoder_set_source_position(encoder_t* encoder, uint32_t index, float x,
                                                float y, float z);

// Stores the type and recomputes geometry and distance gain, not the beam: set the type before the
// position. Returns as encoder_set_source_position.
ORVANE_API uint32_t encoder_set_source_type(encoder_t* encoder, uint32_t index, uint32_t type);

// Replaces the beam by the unit-gain beam of a direction (radians) and leaves the geometry alone.
// Returns as encoder_set_source_position.
ORVANE_API uint32_t encoder_set_source_direction(encoder_t* encoder, uint32_t index, float azimuth,
                                                 float elevation);

// Stores the listener position (metres) and recomputes geometry and gain of every type-0 source,
// not their SH weights: those follow at the source's next position. Returns UBR_OK, or UBR_MISSING
// for null.
ORVANE_API uint32_t encoder_set_user_position(encoder_t* encoder, float x, float y, float z);

// encoder_set_user_position at the origin.
ORVANE_API uint32_t encoder_reset(encoder_t* encoder);

// Accepts blocks of up to `max_frame_size` samples. Returns UBR_OK, UBR_MISSING for null, or
// UBR_NO_MEMORY, with the encoder as it was.
ORVANE_API uint32_t encoder_reset_max_frame_size(encoder_t* encoder, uint32_t max_frame_size);

// Encodes one block in the given mode: 0 both passes, 1 dynamic, 2 static (each overwriting),
// 3 dynamic added, 4 static added to the outputs; any other mode does nothing.
//
//   inputs   num_sources channels of `frames` samples
//   outputs  ambisonics->num_channels channels of `frames` samples, ACN/SN3D; in mode 0 none of
//            them may overlap an input, since the second pass reads the inputs again
//
// Returns UBR_OK, or UBR_MISSING for a null encoder or more than max_frame_size frames.
ORVANE_API uint32_t encoder_process(encoder_t* encoder, const float* const* inputs,
                                    float* const* outputs, uint32_t frames, uint32_t mode);

// Encodes the head-tracked sources (types 0 and 1) of one block.
//
//   outputs     may overlap the inputs in any way
//   frames      at most max_frame_size; the caller guarantees it. More frames are encoded only
//               where no output overlaps an input
//   accumulate  0 overwrites the outputs, anything else adds to them
//
// outputs[c][t] = sum over the selected sources, in index order, of beam[c] * inputs[s][t],
// accumulated with fused multiply-adds. Returns UBR_OK, or UBR_MISSING for null. Allocates nothing.
ORVANE_API uint32_t encoder_process_dynamic(encoder_t* encoder, const float* const* inputs,
                                            float* const* outputs, uint32_t frames,
                                            uint32_t accumulate);

// As encoder_process_dynamic for the head-locked sources (type 2); then adds the samples of every
// type-3 source to output channel 0, whatever `accumulate` says.
ORVANE_API uint32_t encoder_process_static(encoder_t* encoder, const float* const* inputs,
                                           float* const* outputs, uint32_t frames,
                                           uint32_t accumulate);

// Frees what the encoder owns and zeroes it; null and half-built encoders are accepted.
// Returns UBR_OK.
ORVANE_API uint32_t encoder_cleanup(encoder_t* encoder);

// Distance, azimuth and elevation of a source, seen from `listener` for type 0 and from the origin
// for every other type. A source at the listener's place has azimuth and elevation 0.
ORVANE_API void calculate_source_position_sph(encoder_source_t* source, const float listener[3]);

#endif  // ORVANE_AMBISONICS_ENCODER_H_
