// For the library's own use: beams of directions that are at hand as vectors.
#ifndef ORVANE_AMBISONICS_UNIT_BEAM_H_
#define ORVANE_AMBISONICS_UNIT_BEAM_H_

#include "ambisonics/ambisonics_base.h"

// Writes the num_channels spherical harmonics of the unit vector `v` = {x, y, z} into `beam`, as
// ambisonics_base_generate_beam does for its angles, but without a trigonometric function: in
// Cartesian form every harmonic is a polynomial. `base` is in ACN order. Allocates nothing.
void generate_unit_beam(const ambisonics_base_t& base, float* beam, const float v[3]);

#endif  // ORVANE_AMBISONICS_UNIT_BEAM_H_
