// SPDX-License-Identifier: Apache-2.0
#include "numerics/pinv.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "base/checked.h"
#include "numerics/pinv_internal.h"
#include "numerics/svd.h"

namespace {

// Where the parts of the workspace begin; the decomposition's scratch is two blocks long.
constexpr int32_t kSvdScratch = 0;
constexpr int32_t kLeftVectors = 2 * PINV_MAX_ELEMENTS;
constexpr int32_t kRightVectors = 3 * PINV_MAX_ELEMENTS;
constexpr int32_t kTransposed = 4 * PINV_MAX_ELEMENTS;
constexpr int32_t kInverse = 5 * PINV_MAX_ELEMENTS;

// Number of elements, once it is known that the matrix fits the workspace.
int32_t count_elements(const int32_t size[2]) {
  if (size[0] < 0 || size[1] < 0) abort();
  const int32_t count = checked_mul(size[0], size[1]);
  if (count > PINV_MAX_ELEMENTS) abort();
  return count;
}

// Distance from |v| to the next larger float.
float spacing_at(float v) {
  constexpr float kSmallestNormal = 1.17549435e-38f;
  constexpr int kMantissaBits = 24;
  const float magnitude = fabsf(v);
  if (magnitude <= kSmallestNormal) return 0x1p-149f;
  int exponent = 0;
  frexpf(magnitude, &exponent);
  return ldexpf(1.0f, exponent - kMantissaBits);
}

// Leading singular values that count as more than rounding error.
int32_t rank_of(const float* s, int32_t rows, int32_t cols) {
  const float tolerance = static_cast<float>(rows) * spacing_at(s[0]);
  int32_t rank = 0;
  while (rank < cols && s[rank] > tolerance) ++rank;
  return rank;
}

void transpose(const float* a, int32_t rows, int32_t cols, float* transposed) {
  for (int32_t j = 0; j < cols; ++j) {
    for (int32_t i = 0; i < rows; ++i) transposed[j + cols * i] = a[i + rows * j];
  }
}

}  // namespace

void eml_pinv(float* workspace, const float* a, const int32_t a_size[2], float* x,
              int32_t x_size[2]) {
  const int32_t m = a_size[0];
  const int32_t n = a_size[1];
  std::fill_n(x, count_elements(a_size), 0.0f);
  x_size[0] = n;
  x_size[1] = m;
  if (m == 0 || n == 0) return;

  float* const u = workspace + kLeftVectors;
  float* const v = workspace + kRightVectors;
  float s[kSvdMaxColumns];
  svd(a, m, n, workspace + kSvdScratch, u, s, v);

  // x = V diag(1/s) U^T over the singular values that count.
  const int32_t rank = rank_of(s, m, n);
  for (int32_t k = 0; k < rank; ++k) {
    const float reciprocal = 1.0f / s[k];
    for (int32_t i = 0; i < n; ++i) v[i + n * k] *= reciprocal;
    for (int32_t j = 0; j < m; ++j) {
      for (int32_t i = 0; i < n; ++i) x[i + n * j] += v[i + n * k] * u[j + m * k];
    }
  }
}

void ubr_pinv(float* workspace, const float* a, const int32_t a_size[2], float* x,
              int32_t x_size[2]) {
  count_elements(a_size);
  const int32_t rows = a_size[0];
  const int32_t cols = a_size[1];
  if (rows >= cols) {
    eml_pinv(workspace, a, a_size, x, x_size);
    return;
  }
  const int32_t transposed_size[2] = {cols, rows};
  int32_t inverse_size[2];
  float* const transposed = workspace + kTransposed;
  float* const inverse = workspace + kInverse;
  transpose(a, rows, cols, transposed);
  eml_pinv(workspace, transposed, transposed_size, inverse, inverse_size);
  transpose(inverse, rows, cols, x);
  x_size[0] = cols;
  x_size[1] = rows;
}
