// For the library's own use: a beam without a channel set.
#ifndef ORVANE_AMBISONICS_BEAM_H_
#define ORVANE_AMBISONICS_BEAM_H_

#include <stdint.h>

// Writes the (order + 1)^2 harmonics of a direction in radians, ACN/SN3D at unit gain, into `beam`;
// order at most AMBISONICS_MAX_ORDER. The same values as ambisonics_base_generate_beam's.
// Allocates nothing.
void ambisonics_write_beam(uint32_t order, float azimuth, float elevation, float* beam);

#endif  // ORVANE_AMBISONICS_BEAM_H_
