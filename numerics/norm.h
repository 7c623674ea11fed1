// SPDX-License-Identifier: Apache-2.0
// The scaled Euclidean norm of the decomposition and of the room model's distances.
#ifndef ORVANE_NUMERICS_NORM_H_
#define ORVANE_NUMERICS_NORM_H_

#include <math.h>
#include <stdint.h>

// Components up to this magnitude are measured against it instead of against each other: the square
// of their ratio still has room above the smallest float.
inline constexpr float kNormTinyMagnitude = 1.2924697e-26f;

// sqrt(v[0]^2 + ... + v[count - 1]^2), accumulated relative to the largest magnitude so far, so
// that no intermediate overflows or underflows; 0 for no components.
inline float scaled_norm(const float* v, uint32_t count) {
  float scale = kNormTinyMagnitude;
  float sum = 0.0f;  // of squares, in units of scale^2
  for (uint32_t i = 0; i < count; ++i) {
    const float magnitude = fabsf(v[i]);
    if (magnitude > scale) {
      const float ratio = scale / magnitude;
      sum = sum * ratio * ratio + 1.0f;
      scale = magnitude;
    } else {
      const float ratio = magnitude / scale;
      sum += ratio * ratio;
    }
  }
  return scale * sqrtf(sum);
}

#endif  // ORVANE_NUMERICS_NORM_H_
