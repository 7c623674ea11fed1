// SPDX-License-Identifier: Apache-2.0
// The ambisonic channel set: which spherical harmonics exist, their order, their normalisation, and
// the SH weights (the beam) of a direction. This is the single definition of the conventions for
// every other module:
//
//   - ACN channel order: channel n*n + n + m holds degree n, order m (-n <= m <= n);
//   - SN3D normalisation, no Condon-Shortley phase;
//   - right-handed axes: +x ahead, +y left, +z up; azimuth 0 ahead and positive to the left,
//     elevation positive upwards, in radians.
//
// The first-order weights of a direction are (1, cos e sin a, sin e, cos e cos a).
#ifndef ORVANE_AMBISONICS_AMBISONICS_BASE_H_
#define ORVANE_AMBISONICS_AMBISONICS_BASE_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"

enum {
  AMBISONICS_MAX_ORDER = ORVANE_MAX_ORDER,
  AMBISONICS_MAX_CHANNELS = ORVANE_MAX_CHANNELS,
};

typedef struct ambisonics_config_t {
  uint32_t order;               // highest degree N, at most AMBISONICS_MAX_ORDER
  uint32_t ordering;            // 0: ACN, the only one defined
  uint32_t normalisation_type;  // 0: SN3D, the only one defined
  uint32_t num_channels;        // (N + 1)^2
} ambisonics_config_t;

typedef struct ambisonics_base_t {
  uint32_t order;
  uint32_t num_channels;
  float* normalisation;    // num_channels factors
  int32_t** degree_order;  // num_channels pairs {degree n, order m}
} ambisonics_base_t;

// Builds the channel table. Any ordering but 0 leaves the pairs at {0, 0}; any normalisation but 0
// makes every factor, and so every weight, zero.
// Returns UBR_OK; UBR_NO_MEMORY for a null record, a failed allocation (what was built stays for
// ambisonics_base_cleanup) or more channels than AMBISONICS_MAX_CHANNELS; UBR_INVALID for an order
// above AMBISONICS_MAX_ORDER.
ORVANE_API uint32_t ambisonics_base_init(ambisonics_base_t* base, ambisonics_config_t config);

// Writes the num_channels spherical harmonics of a direction, scaled by `gain`, into `beam`.
// Azimuth and elevation in radians. `base` is not checked. Allocates nothing; may run at once on a
// shared base. Returns UBR_OK.
ORVANE_API uint32_t ambisonics_base_generate_beam(const ambisonics_base_t* base, float* beam,
                                                  float azimuth, float elevation, float gain);

// Frees the tables and zeroes the record; null, zero-filled and half-built records are accepted.
// Returns UBR_OK.
ORVANE_API uint32_t ambisonics_base_cleanup(ambisonics_base_t* base);

#endif  // ORVANE_AMBISONICS_AMBISONICS_BASE_H_
