// SPDX-License-Identifier: Apache-2.0
// Heap-allocated float matrices held as an array of row pointers.
#ifndef ORVANE_NUMERICS_FLOAT_MATRIX_H_
#define ORVANE_NUMERICS_FLOAT_MATRIX_H_

#include <stdint.h>

#include "base/export.h"

// Handle of a row-major matrix: `rows` separately allocated rows of `cols` floats; element (r, c)
// is m[r][c]. It does not know its size: hand reset and free the `rows` that init was given.
typedef float** ubr_float_matrix_t;

// Allocates rows x cols zeros and stores the handle in *m. With 0 rows the handle is an empty
// array. Returns UBR_OK or UBR_NO_MEMORY; after a failure the rows that exist stay attached, the
// others are null, and ubr_free_float_matrix releases what there is.
ORVANE_API uint32_t ubr_init_float_matrix(ubr_float_matrix_t* m, uint32_t rows, uint32_t cols);

// Frees every row and the row array; a null handle and null rows are accepted. Returns UBR_OK.
ORVANE_API uint32_t ubr_free_float_matrix(ubr_float_matrix_t m, uint32_t rows);

// Sets every element to 0; a null handle and null rows are accepted. Returns UBR_OK.
ORVANE_API uint32_t ubr_reset_float_matrix(ubr_float_matrix_t m, uint32_t rows, uint32_t cols);

#endif  // ORVANE_NUMERICS_FLOAT_MATRIX_H_
