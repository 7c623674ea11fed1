// For the rotator's own use: which channels a rotation mixes with each other.
#ifndef ORVANE_AMBISONICS_ROTATOR_BLOCKS_H_
#define ORVANE_AMBISONICS_ROTATOR_BLOCKS_H_

#include "ambisonics/rotator.h"

// Number of channels in the diagonal block of the rotation matrix that starts at channel `first`,
// n^2 for the block of degree n. Rotations keep degrees apart, so only these blocks, of 2n + 1
// channels each, are non-zero: 165 weights of 625 at order 4. A channel set that cuts its last
// degree off is one block.
inline uint32_t rotator_block_width(const rotator_t& rotator, uint32_t first) {
  const uint32_t order = rotator.ambisonics->order;
  const uint32_t num_channels = rotator.ambisonics->num_channels;
  if (num_channels != (order + 1) * (order + 1)) return num_channels;
  uint32_t degree = 0;
  while (degree * degree < first) ++degree;
  return 2 * degree + 1;
}

#endif  // ORVANE_AMBISONICS_ROTATOR_BLOCKS_H_
