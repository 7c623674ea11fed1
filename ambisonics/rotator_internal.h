// SPDX-License-Identifier: Apache-2.0
// For the library's own use: the ramp of a rotator over the next block, from P, the matrix that the
// last one ended with, to R, that of the newest orientation.
#ifndef ORVANE_AMBISONICS_ROTATOR_INTERNAL_H_
#define ORVANE_AMBISONICS_ROTATOR_INTERNAL_H_

#include <stddef.h>
#include <stdint.h>

#include "ambisonics/rotator.h"

// Bytes of each of P, R and D.
size_t rotator_matrix_bytes(const rotator_t& rotator);

// Whether P is R, so that the next block has no ramp.
bool rotator_is_static(const rotator_t& rotator);

// Finds D, the increment per sample that takes P to R in `frames` samples.
void rotator_start_ramp(rotator_t* rotator, uint32_t frames);

// Puts P on R.
void rotator_end_ramp(rotator_t* rotator);

// Makes D zero: for a block without a ramp.
void rotator_clear_ramp(rotator_t* rotator);

#endif  // ORVANE_AMBISONICS_ROTATOR_INTERNAL_H_
