// SPDX-License-Identifier: Apache-2.0
#include "numerics/float_matrix.h"

#include <string.h>

#include "base/memory.h"
#include "base/result.h"

uint32_t ubr_init_float_matrix(ubr_float_matrix_t* m, uint32_t rows, uint32_t cols) {
  float** const row_pointers = alloc_zeroed<float*>(rows);
  *m = row_pointers;
  if (!row_pointers) return UBR_NO_MEMORY;
  for (uint32_t r = 0; r < rows; ++r) {
    row_pointers[r] = alloc_zeroed<float>(cols);
    if (!row_pointers[r]) return UBR_NO_MEMORY;
  }
  return UBR_OK;
}

uint32_t ubr_free_float_matrix(ubr_float_matrix_t m, uint32_t rows) {
  if (!m) return UBR_OK;
  for (uint32_t r = 0; r < rows; ++r) release(m[r]);
  release(m);
  return UBR_OK;
}

uint32_t ubr_reset_float_matrix(ubr_float_matrix_t m, uint32_t rows, uint32_t cols) {
  if (!m) return UBR_OK;
  for (uint32_t r = 0; r < rows; ++r) {
    if (m[r]) memset(m[r], 0, sizeof(float) * cols);
  }
  return UBR_OK;
}
