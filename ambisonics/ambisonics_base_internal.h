// SPDX-License-Identifier: Apache-2.0
// For the library's own use: SH weights of directions without a channel set, and without
// trigonometric functions.
#ifndef ORVANE_AMBISONICS_AMBISONICS_BASE_INTERNAL_H_
#define ORVANE_AMBISONICS_AMBISONICS_BASE_INTERNAL_H_

#include <stdint.h>

#include "ambisonics/ambisonics_base.h"

// Channels of a field of that order.
constexpr uint32_t ambisonics_count_channels(uint32_t order) { return (order + 1) * (order + 1); }

// Writes the SH weights of a direction in radians, ACN/SN3D at unit gain; order at
// most AMBISONICS_MAX_ORDER. The same values as ambisonics_base_generate_beam's, without a channel
// set. Allocates nothing.
void ambisonics_write_weights(uint32_t order, float azimuth, float elevation, float* weights);

// Writes the num_channels SH weights of the unit vector `v` = {x, y, z}, as
// ambisonics_base_generate_beam does for angles, but without a trigonometric function: in Cartesian
// form every harmonic is a polynomial. `base` is in ACN order. Allocates nothing.
void ambisonics_write_cartesian_weights(const ambisonics_base_t& base, const float v[3],
                                        float* weights);

#endif  // ORVANE_AMBISONICS_AMBISONICS_BASE_INTERNAL_H_
