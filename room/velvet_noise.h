// SPDX-License-Identifier: Apache-2.0
// Late reverberation: a mono signal is convolved with a synthetic stereo response of velvet noise,
// sparse pulses of +1 and -1 under an exponential decay (Karjalainen and Järveläinen,
// "Reverberation Modeling Using Velvet Noise", AES 30th Conference, 2007), coloured by a zero-phase
// high shelf.
//
// Life: vn_init, settings, vn_prepare_to_play, vn_process per block, vn_terminate. New settings, a
// new rate and a new block size apply from the next vn_prepare_to_play, which drops the tail.
// Matrices are column-major, with a size record {rows, columns}: sample t of channel c of a block
// of F frames is element c * F + t.
#ifndef ORVANE_ROOM_VELVET_NOISE_H_
#define ORVANE_ROOM_VELVET_NOISE_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"
#include "room/random_state.h"

struct vn_convolver_t;

enum {
  VN_NUM_SETTINGS = 10,
  VN_MAX_BLOCK_SIZE = ORVANE_MAX_FRAME_SIZE,
};

// The settings in storage order, all floats; see vn_prepare_to_play for what it refuses.
typedef struct vn_config_t {
  float enable;         // exactly 0 is off
  float pulse_spacing;  // average samples per pulse, Td
  float decay_s;        // seconds until the envelope has fallen to 0.001
  float level;          // the envelope at time 0
  float pre_delay_ms;   // milliseconds before the tail
  float stereo;         // exactly 1: a pulse train per channel; otherwise one for both
  float tone_enable;    // exactly 0 leaves the pulses white
  float tone_corner_hz;
  float tone_gain;   // the shelf's gain is (tone_gain - 1) * 24 dB, half of it per filter pass
  float tone_slope;  // shelf slope, 1 is the steepest without overshoot
} vn_config_t;

typedef struct vn_state_t {
  uint32_t sample_rate;     // Hz; 0 after vn_init
  uint32_t supported_rate;  // Hz; the only one vn_set_fs accepts
  int32_t max_block_size;
  float max_decay_s;  // decay and pre-delay are clamped to these
  float max_pre_delay_ms;
  int32_t response_length;  // K samples
  int32_t block_size;       // B: the longest block of vn_process
  int32_t ring_length;      // Q: P plus the pre-delay
  int32_t read_index;       // next output sample in the rings
  int32_t write_index;      // where the next block's convolution is added
  int32_t fft_size;  // N: power of two, at least P and at least 32; a block is convolved around it
  int32_t convolution_length;  // P = K + B - 1
  vn_config_t settings;
  int32_t num_work_vectors;  // 4
  float* ring_buffers;       // 2 x Q
  float* work_area;          // num_work_vectors x N while a response is prepared, otherwise null
  float* spectra;            // of the response's partitions; null where it has few pulses
  struct vn_convolver_t* fft_setup;  // private: what applies the response; null if not prepared
} vn_state_t;

// Zeroes the record, without freeing, stores limits and default settings, and starts the generator
// *rng of RANDOM_STATE_WORDS words afresh. Rate and block size are left at 0.
// Returns UBR_OK, or UBR_MISSING for a null pointer.
ORVANE_API uint32_t vn_init(vn_state_t* state, uint32_t* const* rng);

// Copies the settings out. Returns UBR_OK, or UBR_MISSING for a null pointer.
ORVANE_API uint32_t vn_get_config(const vn_state_t* state, vn_config_t* config);

// Copies the settings in, in storage order and unchecked. Returns as vn_get_config.
ORVANE_API uint32_t vn_set_config(vn_state_t* state, const float settings[VN_NUM_SETTINGS]);

// Stores the sampling rate in Hz.
// Returns UBR_OK, UBR_MISSING for null, UBR_INVALID for any but the supported rate.
ORVANE_API uint32_t vn_set_fs(vn_state_t* state, uint32_t sample_rate);

// Stores the longest block that vn_process will be given.
// Returns UBR_OK, UBR_MISSING for null, UBR_INVALID outside 1 to max_block_size.
ORVANE_API uint32_t vn_set_buf_size(vn_state_t* state, int32_t frames);

// Clamps decay and pre-delay, makes all buffers anew and draws a new response: the same settings
// give another one each time. With enable at 0 it releases everything instead.
//
// A decay shorter than half a sample, and a level for which the envelope is not finite (0 and
// below, or too small for single precision), give a silent response. Returns UBR_OK; UBR_MISSING
// for a null state, rate or block size not set, or a null generator; UBR_NO_MEMORY, after which
// vn_process refuses until a preparation succeeds; UBR_INVALID with everything as it was, for
// settings that mean nothing: not finite, spacing below 1, a negative decay or pre-delay, a tone
// filter in use whose corner is negative, whose coefficients are not finite, or with a pole on or
// outside the unit circle (corners of 0 Hz and from half the sampling rate on, slopes far above 1).
ORVANE_API uint32_t vn_prepare_to_play(uint32_t* rng, vn_state_t* state);

// Convolves one block with the response; the tail starts one pre-delay later, without any latency.
//
//   input     {frames, 1 or 2}. Deliberate: two channels are averaged into the caller's first one
//   output    {frames, 2}: left, right, overwritten; zeros when enable or decay is 0
//   frames    0 to the block size, as it is and as the response was prepared for; in any mix
//
// Returns UBR_OK, or UBR_MISSING, outputs untouched, for a null pointer, sizes that do not match,
// or a state that is not prepared. Allocates nothing.
ORVANE_API uint32_t vn_process(const uint32_t* rng, vn_state_t* state, const float* input,
                               const int32_t input_size[2], float* output,
                               const int32_t output_size[2]);

// Drops the tail and keeps the response. Returns UBR_OK, or UBR_MISSING for null.
ORVANE_API uint32_t vn_reset(vn_state_t* state);

// Frees what the state owns and keeps its settings; null is accepted. Returns UBR_OK.
ORVANE_API uint32_t vn_terminate(vn_state_t* state);

#endif  // ORVANE_ROOM_VELVET_NOISE_H_
