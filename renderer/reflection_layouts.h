// SPDX-License-Identifier: Apache-2.0
// The virtual loudspeakers that reflections start from: one layout per reflections mode.
#ifndef ORVANE_RENDERER_REFLECTION_LAYOUTS_H_
#define ORVANE_RENDERER_REFLECTION_LAYOUTS_H_

#include <stdint.h>

// Loudspeakers of a mode, as many as ambisonic order `mode` has channels: 4, 9, 16 or 25; none for
// mode 0.
constexpr uint32_t reflection_layout_size(uint32_t mode) {
  return mode == 0 ? 0 : (mode + 1) * (mode + 1);
}

// Writes the matrix that decodes a field of order `mode`, 1 to 4, to the loudspeakers of that mode:
// the inverse transpose of the matrix whose row v is the beam of loudspeaker v (mode matching), so
// that the loudspeaker signals, encoded again from their directions, give the field back.
//
//   matrix  `stride` floats per loudspeaker: the weight of channel c (ACN) is matrix[v * stride +
//   c]
//
// Writes nothing else: rows and columns beyond the layout are the caller's. Takes 20 KB of stack
// and allocates nothing.
void reflection_layout_decoder(uint32_t mode, uint32_t stride, float* matrix);

#endif  // ORVANE_RENDERER_REFLECTION_LAYOUTS_H_
