// SPDX-License-Identifier: Apache-2.0
// Renders a 5.1 bed with the renderer's own functions, for a head that is turned to the left.
//
//   renderer OUT.wav
#include <orvane/renderer.h>
#include <stdbool.h>

#include "example_bed.h"

// +x ahead, +y left, +z up.
static const float POSITIONS[NUM_CHANNELS][3] = {
    {0.7071f, 0.7071f, 0.0f},  {0.7071f, -0.7071f, 0.0f},
    {1.0f, 0.0f, 0.0f},        {1.0f, 0.0f, 0.0f},  // an LFE is heard from nowhere
    {-0.7071f, 0.7071f, 0.0f}, {-0.7071f, -0.7071f, 0.0f},
};

// Every function returns UBR_OK, which is 0, or says what it could not do.
static bool set_up(ubr_t* renderer) {
  const uint32_t order = 4;
  if (ubr_init(renderer, UBR_INPUT_SOURCES, NUM_CHANNELS, UBR_MODE_BINAURAL_TRACKED, BLOCK_FRAMES,
               order) != UBR_OK) {
    return false;
  }
  for (uint32_t i = 0; i < NUM_CHANNELS; ++i) {
    const float* p = POSITIONS[i];
    const bool is_lfe = i == 3;
    // The type first: it shapes what the position sets.
    ubr_set_source_type(renderer, i, is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER);
    ubr_set_source_position(renderer, i, p[0], p[1], p[2]);
  }
  const float head[3] = {0.0f, 0.0f, HEAD_YAW};  // a turn about +z, in radians
  return ubr_set_user_orientation(renderer, head, ROTATOR_ROTATION_VECTOR) == UBR_OK;
}

// Renders the block that starts at `first`, and writes it.
static bool render_block(ubr_t* renderer, uint32_t first, FILE* file) {
  static float bed[NUM_CHANNELS][BLOCK_FRAMES];
  static float ears[2][BLOCK_FRAMES];
  const float* inputs[NUM_CHANNELS];
  float* outputs[2] = {ears[0], ears[1]};

  for (uint32_t channel = 0; channel < NUM_CHANNELS; ++channel) {
    for (uint32_t i = 0; i < BLOCK_FRAMES; ++i) bed[channel][i] = bed_sample(channel, first + i);
    inputs[channel] = bed[channel];
  }
  if (ubr_process(renderer, inputs, NUM_CHANNELS, outputs, 2, BLOCK_FRAMES) != UBR_OK) return false;
  for (uint32_t i = 0; i < BLOCK_FRAMES; ++i) {
    const float frame[2] = {ears[0][i], ears[1][i]};
    if (fwrite(frame, sizeof(frame), 1, file) != 1) return false;
  }
  return true;
}

int main(int argc, char** argv) {
  ubr_t renderer = {0};
  FILE* file = argc == 2 ? fopen(argv[1], "wb") : NULL;
  if (!file) {
    fputs("usage: renderer OUT.wav\n", stderr);
    return 2;
  }
  wav_put_header(file, BED_FRAMES);
  bool good = set_up(&renderer);
  for (uint32_t first = 0; good && first < BED_FRAMES; first += BLOCK_FRAMES) {
    good = render_block(&renderer, first, file);
  }
  ubr_cleanup(&renderer);  // also after a failure; the record itself is ours
  good = fclose(file) == 0 && good;
  return good ? 0 : 1;
}
