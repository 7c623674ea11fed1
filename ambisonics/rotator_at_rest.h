// For the library's own use: while the head rests, a rotator has nothing to fade.
#ifndef ORVANE_AMBISONICS_ROTATOR_AT_REST_H_
#define ORVANE_AMBISONICS_ROTATOR_AT_REST_H_

#include <stddef.h>
#include <string.h>

#include "ambisonics/rotator.h"

inline size_t rotator_matrix_bytes(const rotator_t& rotator) {
  return size_t{rotator.padded_channels} * rotator.padded_channels * sizeof(float);
}

// Whether the next block starts on the matrix of the newest orientation.
inline bool rotator_is_at_rest(const rotator_t& rotator) {
  return memcmp(rotator.previous_matrix, rotator.current_matrix, rotator_matrix_bytes(rotator)) ==
         0;
}

#endif  // ORVANE_AMBISONICS_ROTATOR_AT_REST_H_
