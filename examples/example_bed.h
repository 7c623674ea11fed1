// SPDX-License-Identifier: Apache-2.0
// What the examples render and write: a 5.1 bed in which one loudspeaker sounds after the other,
// and a WAVE file of two ears.
#ifndef ORVANE_EXAMPLES_EXAMPLE_BED_H_
#define ORVANE_EXAMPLES_EXAMPLE_BED_H_

#include <base/limits.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>

enum {
  RATE_HZ = ORVANE_SAMPLE_RATE,
  NUM_CHANNELS = 6,    // front left, front right, centre, LFE, back left, back right
  BLOCK_FRAMES = 480,  // 10 ms
  TURN_FRAMES = RATE_HZ / 2,
  BED_FRAMES = NUM_CHANNELS * TURN_FRAMES,
};

static const float HEAD_YAW = 0.5236f;  // radians: turned to the left by 30 degrees

// Half a second of every channel in turn, a tone that is struck and dies away.
static inline float bed_sample(uint32_t channel, uint32_t frame) {
  const float seconds = (float)(frame % TURN_FRAMES) / (float)RATE_HZ;
  if (frame / TURN_FRAMES != channel) return 0.0f;
  return 0.5f * expf(-12.0f * seconds) * sinf(6.2831853f * 880.0f * seconds);
}

static inline void wav_put(FILE* file, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) fputc((int)(value >> (8 * i) & 255u), file);
}

// Header of a stereo file of 32-bit float samples, which follow as they lie in memory (the machine
// is little-endian, as the format is).
static inline void wav_put_header(FILE* file, uint32_t frames) {
  const uint32_t data_bytes = frames * 8;
  fputs("RIFF", file);
  wav_put(file, 36 + data_bytes, 4);
  fputs("WAVEfmt ", file);
  wav_put(file, 16, 4);           // bytes of this chunk
  wav_put(file, 3, 2);            // float
  wav_put(file, 2, 2);            // channels
  wav_put(file, RATE_HZ, 4);      //
  wav_put(file, RATE_HZ * 8, 4);  // bytes per second
  wav_put(file, 8, 2);            // bytes per frame
  wav_put(file, 32, 2);           // bits per sample
  fputs("data", file);
  wav_put(file, data_bytes, 4);
}

#endif  // ORVANE_EXAMPLES_EXAMPLE_BED_H_
