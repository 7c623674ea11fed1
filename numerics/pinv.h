// SPDX-License-Identifier: Apache-2.0
// Moore-Penrose pseudo-inverse of a small single-precision matrix.
#ifndef ORVANE_NUMERICS_PINV_H_
#define ORVANE_NUMERICS_PINV_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"

enum {
  PINV_MAX_ELEMENTS = ORVANE_MAX_CHANNELS * ORVANE_MAX_CHANNELS,
  PINV_WORKSPACE_FLOATS = 6 * PINV_MAX_ELEMENTS,  // six blocks of one matrix each
};

// Writes the pseudo-inverse of `a` into `x`.
//
//   workspace  PINV_WORKSPACE_FLOATS floats, overwritten
//   a          rows x cols, column-major: element (i, j) at a[i + rows * j]
//   a_size     {rows, cols}; rows * cols at most PINV_MAX_ELEMENTS, otherwise the process aborts
//   x          cols x rows, column-major; holds rows * cols floats, may not overlap `a`
//   x_size     receives {cols, rows}; may be the same array as a_size
//
// Singular values not above max(rows, cols) x eps(largest) count as zero, so a matrix of zeros
// yields zeros and a rank-deficient one its minimum-norm inverse. Because pinv(A^T) = pinv(A)^T, a
// row-major matrix with its sizes exchanged yields a row-major result. There is no failure: entries
// that are not finite give values without meaning.
// Allocates nothing; calls with separate workspaces may run at once.
ORVANE_API void ubr_pinv(float* workspace, const float* a, const int32_t a_size[2], float* x,
                         int32_t x_size[2]);

#endif  // ORVANE_NUMERICS_PINV_H_
