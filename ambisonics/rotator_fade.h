// For the library's own use: the fade of a rotator over the next block, from P, the matrix that the
// last one ended with, to R, that of the newest orientation.
#ifndef ORVANE_AMBISONICS_ROTATOR_FADE_H_
#define ORVANE_AMBISONICS_ROTATOR_FADE_H_

#include <stddef.h>
#include <string.h>

#include "ambisonics/rotator.h"

inline size_t rotator_matrix_bytes(const rotator_t& rotator) {
  return size_t{rotator.padded_channels} * rotator.padded_channels * sizeof(float);
}

// Whether there is nothing to fade: P is R.
inline bool rotator_is_at_rest(const rotator_t& rotator) {
  return memcmp(rotator.previous_matrix, rotator.current_matrix, rotator_matrix_bytes(rotator)) ==
         0;
}

// Finds D, the increment per sample that takes P to R in `frames` samples.
inline void rotator_start_fade(rotator_t* rotator, uint32_t frames) {
  const float scale = 1.0f / static_cast<float>(frames);
  const uint32_t size = rotator->padded_channels * rotator->padded_channels;
  for (uint32_t i = 0; i < size; ++i) {
    rotator->delta_matrix[i] = (rotator->current_matrix[i] - rotator->previous_matrix[i]) * scale;
  }
}

// Puts P on R.
inline void rotator_end_fade(rotator_t* rotator) {
  memcpy(rotator->previous_matrix, rotator->current_matrix, rotator_matrix_bytes(*rotator));
}

#endif  // ORVANE_AMBISONICS_ROTATOR_FADE_H_
