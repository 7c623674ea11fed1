// SPDX-License-Identifier: Apache-2.0
// Sets of nearly uniform directions on the sphere, one per ambisonic order.
//
// Each has as many directions as the order has channels, so that its matrix of SH weights is square
// and invertible. Made by tools/tables/make_sphere_directions.py; see docs/data.md.
#ifndef ORVANE_AMBISONICS_SPHERE_DIRECTIONS_H_
#define ORVANE_AMBISONICS_SPHERE_DIRECTIONS_H_

#include <stdint.h>

// Angles in radians; (x, y, z) is the unit vector of the same direction: x ahead, y left, z up.
struct sphere_direction_t {
  float azimuth, elevation;
  float x, y, z;
};

// Returns the (order + 1)^2 directions of `order` (1 to 4), the zenith first, or null for any
// other order. The table is constant and never freed.
const sphere_direction_t* sphere_directions(uint32_t order);

#endif  // ORVANE_AMBISONICS_SPHERE_DIRECTIONS_H_
