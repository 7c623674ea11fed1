// SPDX-License-Identifier: Apache-2.0
// First half of the singular value decomposition: from a matrix to a bidiagonal one.
#ifndef ORVANE_NUMERICS_BIDIAGONAL_H_
#define ORVANE_NUMERICS_BIDIAGONAL_H_

#include <stddef.h>
#include <stdint.h>

#include "numerics/svd.h"

// A decomposition on its way: a = U B V^T, where B has the diagonal s and, above it, e: e[k]
// couples s[k] and s[k + 1], and e[cols - 1] is 0. Matrices are column-major, as in numerics/svd.h.
struct bidiagonal_t {
  int32_t rows;
  int32_t cols;    // 1 to kSvdMaxColumns, at most rows
  float* a;        // the matrix, rows x cols, overwritten
  float* row_sum;  // rows floats of scratch
  float* u;        // rows x cols
  float* s;        // cols
  float* v;        // cols x cols
  float e[kSvdMaxColumns];
};

// Element (i, j) of a column-major matrix of `rows` rows.
inline float* matrix_at(float* matrix, int32_t rows, int32_t i, int32_t j) {
  return matrix + i + ptrdiff_t{rows} * j;
}

// Computes u, s, e and v of d->a by Householder reflections from both sides.
void bidiagonal_reduce(bidiagonal_t* d);

#endif  // ORVANE_NUMERICS_BIDIAGONAL_H_
