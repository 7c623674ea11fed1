// SPDX-License-Identifier: Apache-2.0
// Early reflections in the ambisonic domain. The field is decoded to virtual loudspeakers 1 m
// around the listener; each stands in a shoebox room as a source, and its six first-order
// reflections are delayed, attenuated copies of its signal, which are encoded into the field again,
// each from its own direction.
//
// A new room, listener or mode is heard from the next ubr_compute_reflections (renderer/ubr.h) on.
// Deliberate: there is no crossfade, because a compute also clears the delay lines that the earlier
// reflections would be read from.
#ifndef ORVANE_RENDERER_REFLECTIONS_H_
#define ORVANE_RENDERER_REFLECTIONS_H_

#include <stdint.h>

#include "ambisonics/encoder.h"
#include "base/export.h"
#include "base/limits.h"
#include "room/shoebox_scene.h"

enum {
  REFLECTIONS_SAMPLE_RATE = ORVANE_SAMPLE_RATE,        // Hz, of delays, whatever the stream runs at
  REFLECTIONS_MAX_MODE = ORVANE_MAX_ORDER,             // mode 0 is off, n decodes ambisonic order n
  REFLECTIONS_MAX_LOUDSPEAKERS = ORVANE_MAX_CHANNELS,  // of the highest mode
  // That count rounded up to a multiple of four.
  REFLECTIONS_MAX_PADDED = (REFLECTIONS_MAX_LOUDSPEAKERS + 3) / 4 * 4,
};

// Direction in radians and distance in metres of a virtual loudspeaker.
typedef struct ubr_virtual_source_t {
  float azimuth;
  float elevation;
  float distance;  // always 1
} ubr_virtual_source_t;

// With V loudspeakers (the scene's source_count), P = V rounded up to a multiple of four, and L the
// length of a delay line. The record points into itself: it cannot be copied.
typedef struct ubr_reflections_t {
  uint32_t reflections_mode;
  uint32_t ready;              // 1 once a compute has succeeded for the mode
  uint32_t delay_line_length;  // L: the longest delay or the longest block, whichever is more, plus
                               // the longest block
  uint32_t write_index;        // where the next block is written in every delay line
  uint32_t reflection_count;   // taps: six per loudspeaker
  float cartesian_sources;     // options of the scene: always 0, directions and a distance
  float relative_sources;      //                       always 1, around the listener
  ubr_virtual_source_t virtual_sources[REFLECTIONS_MAX_LOUDSPEAKERS];
  float listener_position[3];    // metres: x, y from the middle of the room, z from the floor
  float* delay_lines;            // V lines of L samples, end to end
  float** reflection_buffers;    // reflection_count rows, for pieces of taps that wrap around
  const float* decoding_matrix;  // P x P, row v: weights of the channels in loudspeaker v; or null
  float* staging_input;          // null: channels are read where they lie
  uint32_t stride;               // the longest block rounded up to a multiple of four
  encoder_t* reflections_encoder;  // one source per tap
  shoebox_scene_t scene;           // its delays are in whole samples once computed
  shoebox_config_t room;

  uint32_t num_delay_lines;  // lines that delay_lines has room for
  uint32_t max_frame_size;   // the longest block that the lines hold
  float* tap_weights;  // reflection_count x padded channels: gain times SH weights of every tap
  float decoding_storage[REFLECTIONS_MAX_PADDED * REFLECTIONS_MAX_PADDED];
  void** route_memory;  // what the routes of the renderer keep between blocks; or null
} ubr_reflections_t;

// Selects a mode (0 off, 1 to 4) with its loudspeakers and decoding matrix; nothing renders until
// the next compute. The mode in use changes nothing. Returns UBR_OK, UBR_MISSING for null, or
// UBR_INVALID for a mode above 4, which is stored all the same and leaves the reflections not
// ready.
ORVANE_API uint32_t ubr_set_reflections_mode(ubr_reflections_t* reflections, uint32_t mode);

// Adds the reflections of one block of `input` to `output`, which may be the same channels.
//
//   input   at least V channels of `frames` samples, ACN/SN3D
//   output  as many channels as the field that the reflections were computed for has
//   frames  at most the longest block they were computed for
//
// Without reflections_encoder, or with one for shorter blocks, the delay lines are written and
// nothing is added.
// Returns UBR_OK, nothing done, in mode 0; UBR_MISSING, nothing done, for null, a longer block, or
// when there is no successful compute since the mode was set. Allocates nothing.
ORVANE_API uint32_t ubr_process_reflections(ubr_reflections_t* reflections,
                                            const float* const* input, float* const* output,
                                            uint32_t frames);

// Silences the delay lines and the first `frames` samples of every tap. `frames` is the longest
// block; more than a delay line holds aborts the process. Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t ubr_reset_reflections(ubr_reflections_t* reflections, uint32_t frames);

#endif  // ORVANE_RENDERER_REFLECTIONS_H_
