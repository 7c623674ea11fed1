// SPDX-License-Identifier: Apache-2.0
// The renderer: one object per effect instance that owns every signal-processing module and the
// buffers between them. Input is a set of discrete sources, encoded to ambisonics, or an ambisonic
// field; the render mode chooses which modules exist and how a block flows through them.
//
// All signals are planar single-precision channels. Nothing here locks or logs: calls on one
// renderer must not overlap.
#ifndef ORVANE_RENDERER_UBR_H_
#define ORVANE_RENDERER_UBR_H_

#include <stdint.h>

#include "ambisonics/ambisonics_base.h"
#include "ambisonics/binauralizer.h"
#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"
#include "base/export.h"
#include "base/limits.h"
#include "base/result.h"
#include "renderer/parameters.h"
#include "renderer/reflections.h"
#include "renderer/reverb.h"

enum ubr_input_type {
  UBR_INPUT_SOURCES = 0,     // mono signals with a position each
  UBR_INPUT_AMBISONICS = 1,  // a field of (order + 1)^2 channels, ACN/SN3D
};

// What comes out, and which inputs may use the mode.
enum ubr_render_mode {
  UBR_MODE_AMBISONIC = 0,          // ambisonic field; sources only
  UBR_MODE_AMBISONIC_TRACKED = 1,  // ambisonic field rotated against the head
  UBR_MODE_BINAURAL_TRACKED = 2,   // two ears, rotated against the head
  UBR_MODE_BINAURAL = 3,           // two ears, without head tracking
  UBR_MODE_DOWNMIX = 4,            // plain stereo downmix; sources only
};

enum {
  UBR_MAX_INPUTS = 128,
  UBR_MIN_FRAME_SIZE = 64,                     // accepted maximum frame sizes at initialisation
  UBR_MAX_FRAME_SIZE = ORVANE_MAX_FRAME_SIZE,  // growing later: see ubr_set_max_frame_size
  UBR_DOWNMIX_INPUTS = 8,
};

// The fields hoa_buffer_a and hoa_buffer_b exist where a mode needs them, and keep an older block
// where this one took a shortcut:
//
//   input       render mode                 hoa_buffer_a      hoa_buffer_b
//   sources     UBR_MODE_AMBISONIC_TRACKED  not while the     -
//                                           head turns
//   sources     UBR_MODE_BINAURAL_TRACKED   with reflections  with reflections, or while the head
//                                                             turns
//   sources     UBR_MODE_BINAURAL           -                 not in a static scene
//   ambisonics  UBR_MODE_BINAURAL_TRACKED   -                 always
//
// In a static scene channel 0 of hoa_buffer_b is current while the reverb is on. Whether a block
// takes a shortcut depends on its length and on the number of sources, too: if it takes none, every
// field that exists is current.
typedef struct ubr_t {
  uint32_t input_type;   // ubr_input_type
  uint32_t render_mode;  // ubr_render_mode
  uint32_t num_inputs;
  uint32_t num_outputs;
  ambisonics_config_t ambi_config;
  uint32_t frame_size;                     // samples of the current block
  uint32_t max_frame_size;                 // capacity of every buffer
  float** hoa_buffer_a;                    // field before rotation, see above
  float** hoa_buffer_b;                    // field that enters the binauralizer, see above
  float downmix_left[UBR_DOWNMIX_INPUTS];  // gain of each input in the stereo downmix
  float downmix_right[UBR_DOWNMIX_INPUTS];
  binauralizer_t* binauralizer;  // every pointer is owned, and null where the module is not built
  rotator_t* rotator;
  encoder_t* encoder;
  ambisonics_base_t* ambisonics;
  ubr_reverb_t* reverb;
  ubr_reflections_t* reflections;
} ubr_t;

// Builds the modules of an input type and render mode. `renderer` is zeroed first: clean up an
// earlier build before. A mode above UBR_MODE_DOWNMIX builds the channel set and the encoder, and
// every ubr_process then refuses it.
//
//   num_inputs      sources: 1 to UBR_MAX_INPUTS; ambisonics: a perfect square
//   max_frame_size  UBR_MIN_FRAME_SIZE to UBR_MAX_FRAME_SIZE samples
//   order           sources: 1 to 4; ambisonics: the input, of order 1 to 4, is truncated to this
//                   order
//
// Returns UBR_OK, UBR_MISSING for a null renderer, UBR_INVALID for an argument or a combination
// that is not supported, UBR_NO_MEMORY or a module's code. After a failure only ubr_cleanup may
// follow.
ORVANE_API uint32_t ubr_init(ubr_t* renderer, uint32_t input_type, uint32_t num_inputs,
                             uint32_t render_mode, uint32_t max_frame_size, uint32_t order);

// The steps of ubr_init: each builds one module and the buffers that come with it, from the fields
// that ubr_init has set. Reflections start switched off, the reverb with its defaults. A module
// that exists is replaced, but for the channel set, which stays; after a failure it is missing.
// Return UBR_OK, UBR_MISSING for a null renderer or a missing channel set, UBR_NO_MEMORY or the
// module's code.
ORVANE_API uint32_t ubr_init_ambisonics(ubr_t* renderer);
ORVANE_API uint32_t ubr_init_encoder(ubr_t* renderer);
ORVANE_API uint32_t ubr_init_rotator(ubr_t* renderer);
ORVANE_API uint32_t ubr_init_binauralizer(ubr_t* renderer);
ORVANE_API uint32_t ubr_init_reflections(ubr_t* renderer);
ORVANE_API uint32_t ubr_init_reverb(ubr_t* renderer);

// Writes the stereo downmix gains for the channel order front left, front right, centre, LFE, back
// left, back right, side left, side right. Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t ubr_set_downmix_coefficients(ubr_t* renderer);

// Silences every module, puts the listener at the origin and turns the head straight ahead. Modules
// that do not exist are skipped. Reflections that ubr_set_user_position has changed stay so until
// the next ubr_compute_reflections. Returns UBR_OK, UBR_MISSING for null, or the failing module's
// code.
ORVANE_API uint32_t ubr_reset(ubr_t* renderer);

// Frees every module and buffer and zeroes the renderer but for input_type and render_mode. The
// object itself is its owner's. Zero-filled and half-built renderers are accepted.
// Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t ubr_cleanup(ubr_t* renderer);

// Grows every module for blocks of up to `max_frame_size` samples; a smaller size changes nothing.
// Sound in flight continues, except that reflections and reverb tail start anew. In binaural modes
// the reverb limits the size to UBR_MAX_FRAME_SIZE; the other modes have no limit.
//
// Returns UBR_OK; UBR_MISSING for null; UBR_INVALID, nothing changed, beyond the limit. After
// UBR_NO_MEMORY, or UBR_INVALID for a reflections mode that cannot be computed, max_frame_size has
// its old value, blocks of the old length still render, and a retry does the work again. Until then
// the module that ran out of memory is silent; if it is the reverb or the reflections, blocks
// report UBR_MISSING.
ORVANE_API uint32_t ubr_set_max_frame_size(ubr_t* renderer, uint32_t max_frame_size);

// Renders one block.
//
//   inputs   num_inputs channels, `num_inputs` as the renderer was built for
//   outputs  num_outputs channels, overwritten; they may overlap the inputs with an ambisonic input
//            and UBR_MODE_AMBISONIC_TRACKED, otherwise not
//   frames   samples per channel, at most max_frame_size; 0 means max_frame_size
//
// Subnormal samples count as zeros and none is written, because arithmetic with them takes many
// times as long. Returns UBR_OK; UBR_MISSING for a null renderer, one that is not configured, an
// unsupported mode or a module that does not exist or is not ready; UBR_INVALID for channel counts
// or a length that do not match. Allocates nothing.
ORVANE_API uint32_t ubr_process(ubr_t* renderer, const float* const* inputs, uint32_t num_inputs,
                                float* const* outputs, uint32_t num_outputs, uint32_t frames);

// The two paths of ubr_process, for frame_size samples. Return UBR_OK, UBR_MISSING for a null
// renderer, one that is not configured, an unsupported mode or a module that does not exist, or a
// module's code.
ORVANE_API uint32_t ubr_process_sources(ubr_t* renderer, const float* const* inputs,
                                        float* const* outputs);
ORVANE_API uint32_t ubr_process_hoa(ubr_t* renderer, const float* const* inputs,
                                    float* const* outputs);

// Mixes the first UBR_DOWNMIX_INPUTS inputs to stereo with the downmix gains; frame_size samples.
// Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t ubr_downmix(ubr_t* renderer, const float* const* inputs, float* const* outputs);

// Type of one source (encoder_source_type). Set it before the position: the SH weights are
// computed with the position. Returns UBR_OK; UBR_MISSING for a null renderer, an ambisonic input
// or no encoder; UBR_INVALID for an index not below num_inputs.
ORVANE_API uint32_t ubr_set_source_type(ubr_t* renderer, uint32_t index, uint32_t type);

// Position of one source in metres (+x ahead, +y left, +z up), from the next block on. Not checked:
// a position that is not finite spoils the output until the next one. Returns as
// ubr_set_source_type.
ORVANE_API uint32_t ubr_set_source_position(ubr_t* renderer, uint32_t index, float x, float y,
                                            float z);

// Listener position in metres. Geometry and gain of world sources follow at once, the SH weights
// of each when it is positioned again. If reflections are on, their gains become those of a
// listener at the sum of `position` and the listener position of the room, and they play without
// delay. Call ubr_compute_reflections afterwards: it computes delays and gains for the listener
// position of the room alone. Returns UBR_OK, UBR_MISSING for null, UBR_INVALID, nothing changed,
// for a position that is not finite.
ORVANE_API uint32_t ubr_set_user_position(ubr_t* renderer, const float position[3]);

// Head orientation in a rotator_orientation_format, faded in over the next block.
// Returns UBR_MISSING for a null renderer or one without rotator, else rotator_set_orientation's
// code.
ORVANE_API uint32_t ubr_set_user_orientation(ubr_t* renderer, const float orientation[3],
                                             uint32_t format);

// Replaces the responses of the ears, from the next block on: see binauralizer_set_responses, whose
// tables and codes these are. They stay through ubr_reset and ubr_set_max_frame_size, until they
// are replaced or the renderer is cleaned up. Reflections are heard through them; the tail of the
// reverb is the same for all ears.
// UBR_MISSING stands also for a renderer without binauralizer.
ORVANE_API uint32_t ubr_set_responses(ubr_t* renderer, const float* left, const float* right);

// Sets one parameter of the reflections (ubr_reflections_param): of the room, the listener in it
// and the virtual loudspeakers. Absorption and material of a wall are one value: the last one set
// counts. A change is heard after ubr_compute_reflections; a new mode stops the reflections until
// then. Returns UBR_OK; UBR_MISSING for a null renderer or one without reflections;
// UBR_INVALID, nothing changed, for an unknown parameter or a value outside its range.
ORVANE_API uint32_t ubr_set_reflections_param(ubr_t* renderer, uint32_t id, float value);

// Applies room, listener and mode: computes every reflection anew and silences those in flight.
// Returns UBR_OK; otherwise no reflections are ready, and ubr_process refuses a block that needs
// them: UBR_MISSING for a null renderer or one without reflections; UBR_INVALID for a mode above 4,
// one above the ambisonic order, or a room whose reflections are not finite; UBR_NO_MEMORY.
ORVANE_API uint32_t ubr_compute_reflections(ubr_t* renderer);

// Sets one parameter of the reverb (ubr_reverb_param) and prepares the reverberator, which draws a
// new response, heard from the next block on, and drops the tail. With the reverb off nothing is
// prepared. Returns UBR_OK; UBR_MISSING for a null renderer or one without reverb; UBR_INVALID,
// nothing changed, for an unknown parameter or a value outside its range.
ORVANE_API uint32_t ubr_set_reverb_param(ubr_t* renderer, uint32_t id, float value);

#endif  // ORVANE_RENDERER_UBR_H_
