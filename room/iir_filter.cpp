// SPDX-License-Identifier: Apache-2.0
#include "room/iir_filter.h"

#include <stddef.h>

namespace {

// What earlier samples contribute to the next two outputs is carried along. The order of the
// additions is part of the result.
void filter_column(const float b[3], const float a[3], const float* x, float* y, int32_t rows) {
  float next = 0.0f, after_next = 0.0f;
  for (int32_t k = 0; k < rows; ++k) {
    y[k] = next + x[k] * b[0];
    next = after_next + x[k] * b[1] - y[k] * a[1];
    after_next = 0.0f + x[k] * b[2] - y[k] * a[2];
  }
}

}  // namespace

void filter(const float b[3], const float a[3], const float* x, const int32_t x_size[2], float* y,
            int32_t y_size[2]) {
  const int32_t rows = x_size[0];
  const int32_t columns = x_size[1];
  for (int32_t c = 0; c < columns; ++c) {
    const auto start = ptrdiff_t{c} * rows;
    filter_column(b, a, x + start, y + start, rows);
  }
  y_size[0] = rows;
  y_size[1] = columns;
}
