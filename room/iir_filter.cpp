#include "room/iir_filter.h"

#include <stddef.h>

#include <algorithm>

namespace {

constexpr int32_t kOrder = 2;

// Adds each sample's share to the outputs it reaches: the order of the additions is part of the
// result.
void filter_column(const float b[3], const float a[3], const float* x, float* y, int32_t rows) {
  std::fill_n(y, rows, 0.0f);
  for (int32_t k = 0; k < rows; ++k) {
    const int32_t reach = std::min(kOrder, rows - 1 - k);
    for (int32_t j = 0; j <= reach; ++j) y[k + j] += x[k] * b[j];
    for (int32_t j = 1; j <= reach; ++j) y[k + j] -= y[k] * a[j];
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
