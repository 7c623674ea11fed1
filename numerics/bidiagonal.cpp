// SPDX-License-Identifier: Apache-2.0
#include "numerics/bidiagonal.h"

#include <math.h>
#include <string.h>

#include <algorithm>

#include "numerics/norm.h"

namespace {

// Columns that need a reflection: all, but for the last of a square matrix.
int32_t column_steps(const bidiagonal_t& d) { return std::min(d.rows - 1, d.cols); }

// Rows that need one: the last two are bidiagonal as they are.
int32_t row_steps(const bidiagonal_t& d) { return std::max(d.cols - 2, 0); }

float dot(int32_t n, const float* x, const float* y) {
  float sum = 0.0f;
  for (int32_t i = 0; i < n; ++i) sum += x[i] * y[i];
  return sum;
}

void add_scaled(int32_t n, float scale, const float* x, float* y) {
  for (int32_t i = 0; i < n; ++i) y[i] += scale * x[i];
}

// Turns x into the reflector w, with w[0] between 1 and 2, of the reflection I - w w^T / w[0] that
// maps x onto the first axis. Returns the image's first component; a zero vector stays as it is and
// returns 0.
float make_reflector(int32_t n, float* x) {
  const float norm = scaled_norm(x, static_cast<uint32_t>(n));
  if (norm == 0.0f) return 0.0f;
  const float signed_norm = copysignf(norm, x[0]);
  for (int32_t i = 0; i < n; ++i) x[i] /= signed_norm;
  x[0] += 1.0f;
  return -signed_norm;
}

void reflect(int32_t n, const float* w, float* y) { add_scaled(n, -dot(n, w, y) / w[0], w, y); }

void reflect_column(bidiagonal_t* d, int32_t k) {
  float* const w = matrix_at(d->a, d->rows, k, k);
  d->s[k] = make_reflector(d->rows - k, w);
  if (d->s[k] == 0.0f) return;
  for (int32_t j = k + 1; j < d->cols; ++j) reflect(d->rows - k, w, matrix_at(d->a, d->rows, k, j));
}

// Reflects row k, which waits in e, from column k + 1 on; the rows below it follow.
void reflect_row(bidiagonal_t* d, int32_t k) {
  float* const w = &d->e[k + 1];
  const int32_t columns = d->cols - k - 1;
  const int32_t rows_below = d->rows - k - 1;
  d->e[k] = make_reflector(columns, w);
  if (d->e[k] != 0.0f) {
    memset(d->row_sum, 0, sizeof(float) * static_cast<size_t>(rows_below));
    for (int32_t j = 0; j < columns; ++j) {
      add_scaled(rows_below, w[j], matrix_at(d->a, d->rows, k + 1, k + 1 + j), d->row_sum);
    }
    for (int32_t j = 0; j < columns; ++j) {
      add_scaled(rows_below, -w[j] / w[0], d->row_sum, matrix_at(d->a, d->rows, k + 1, k + 1 + j));
    }
  }
  memcpy(matrix_at(d->v, d->cols, k + 1, k), w, sizeof(float) * static_cast<size_t>(columns));
}

// Leaves the reflectors of the columns in a, those of the rows in v.
void reflect_to_bidiagonal(bidiagonal_t* d) {
  for (int32_t k = 0; k < column_steps(*d); ++k) {
    reflect_column(d, k);
    for (int32_t j = k + 1; j < d->cols; ++j) d->e[j] = *matrix_at(d->a, d->rows, k, j);
    if (k < row_steps(*d)) reflect_row(d, k);
  }
  const int32_t last = d->cols - 1;
  if (column_steps(*d) == last) d->s[last] = *matrix_at(d->a, d->rows, last, last);
  if (last > 0) d->e[last - 1] = *matrix_at(d->a, d->rows, last - 1, last);
  d->e[last] = 0.0f;
}

// Multiplies the column reflections, last to first, into the first cols columns of the identity.
void accumulate_u(bidiagonal_t* d) {
  for (int32_t k = d->cols - 1; k >= 0; --k) {
    float* const column = matrix_at(d->u, d->rows, 0, k);
    memset(column, 0, sizeof(float) * static_cast<size_t>(d->rows));
    column[k] = 1.0f;
    if (k >= column_steps(*d) || d->s[k] == 0.0f) continue;
    const float* const w = matrix_at(d->a, d->rows, k, k);
    for (int32_t j = k; j < d->cols; ++j) reflect(d->rows - k, w, matrix_at(d->u, d->rows, k, j));
  }
}

// The same for the row reflections. They are stored in columns of v, and the result overwrites
// them.
void accumulate_v(bidiagonal_t* d) {
  const int32_t n = d->cols;
  for (int32_t k = n - 1; k >= 0; --k) {
    if (k < row_steps(*d) && d->e[k] != 0.0f) {
      const float* const w = matrix_at(d->v, n, k + 1, k);
      for (int32_t j = k + 1; j < n; ++j) reflect(n - k - 1, w, matrix_at(d->v, n, k + 1, j));
    }
    memset(matrix_at(d->v, n, 0, k), 0, sizeof(float) * static_cast<size_t>(n));
    *matrix_at(d->v, n, k, k) = 1.0f;
  }
}

}  // namespace

void bidiagonal_reduce(bidiagonal_t* d) {
  reflect_to_bidiagonal(d);
  accumulate_u(d);
  accumulate_v(d);
}
