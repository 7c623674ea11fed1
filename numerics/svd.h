// SPDX-License-Identifier: Apache-2.0
// Singular value decomposition of a small single-precision matrix.
#ifndef ORVANE_NUMERICS_SVD_H_
#define ORVANE_NUMERICS_SVD_H_

#include <stdint.h>

#include "base/export.h"
#include "base/limits.h"

inline constexpr int32_t kSvdMaxColumns = ORVANE_MAX_CHANNELS;

// Economy-size decomposition a = U diag(s) V^T of a rows x cols matrix, rows >= cols. Matrices are
// column-major: element (i, j) of an m-row matrix at index i + m * j.
//
//   a        rows x cols; cols at most kSvdMaxColumns, which the caller guarantees
//   scratch  rows * (cols + 1) floats, overwritten
//   u        rows x cols, orthonormal columns
//   s        cols singular values, none negative, in decreasing order
//   v        cols x cols, orthogonal
//
// The iteration is bounded: should it not converge, the values reached so far are the result.
// Entries that are not finite give meaningless values. Allocates nothing.
ORVANE_EXTERN_C void svd(const float* a, int32_t rows, int32_t cols, float* scratch, float* u,
                         float* s, float* v);

#endif  // ORVANE_NUMERICS_SVD_H_
