// SPDX-License-Identifier: Apache-2.0
// Householder reduction to bidiagonal form, then implicit-shift QR sweeps: the scheme of LINPACK's
// SVDC (Dongarra, Bunch, Moler, Stewart: LINPACK Users' Guide, SIAM 1979, chapter 11).
#include "numerics/svd.h"

#include <math.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "numerics/bidiagonal.h"

namespace {

constexpr float kEpsilon = 1.1920929e-07f;  // 2^-23
constexpr float kTiny = 9.8607613e-32f;     // the smallest normal float / kEpsilon
constexpr int kMaxSweeps = 75;
// After these a value is also negligible when it is small against the whole matrix.
constexpr int kPatientSweeps = 20;

struct iteration_t {
  bidiagonal_t b;
  float norm;  // largest |s[k]| + |e[k]| before the first sweep
  int sweeps;
};

struct rotation_t {
  float c;
  float s;
};

// The plane rotation that turns (*a, b) into (r, 0); *a becomes r, with the sign of the larger one.
rotation_t make_rotation(float* a, float b) {
  const float scale = fabsf(*a) + fabsf(b);
  if (scale == 0.0f) return {1.0f, 0.0f};
  const float x = *a / scale;
  const float y = b / scale;
  const float r = copysignf(scale * sqrtf(x * x + y * y), fabsf(*a) > fabsf(b) ? *a : b);
  const rotation_t rotation = {*a / r, b / r};
  *a = r;
  return rotation;
}

void rotate_columns(float* matrix, int32_t rows, int32_t j, int32_t k, rotation_t g) {
  float* const x = matrix_at(matrix, rows, 0, j);
  float* const y = matrix_at(matrix, rows, 0, k);
  for (int32_t i = 0; i < rows; ++i) {
    const float rotated = g.c * x[i] + g.s * y[i];
    y[i] = g.c * y[i] - g.s * x[i];
    x[i] = rotated;
  }
}

bool is_negligible(const iteration_t& it, float value, float neighbours) {
  const float magnitude = fabsf(value);
  return magnitude <= kEpsilon * neighbours || magnitude <= kTiny ||
         (it.sweeps > kPatientSweeps && magnitude <= kEpsilon * it.norm);
}

// First value of the block that ends before `end` and has no negligible coupling inside.
int32_t find_block_start(iteration_t* it, int32_t end) {
  const float* const s = it->b.s;
  float* const e = it->b.e;
  for (int32_t k = end - 1; k > 0; --k) {
    if (is_negligible(*it, e[k - 1], fabsf(s[k - 1]) + fabsf(s[k]))) {
      e[k - 1] = 0.0f;
      return k;
    }
  }
  return 0;
}

// Last negligible value of the block, which is set to 0; start - 1 when there is none.
int32_t find_zero_value(iteration_t* it, int32_t start, int32_t end) {
  float* const s = it->b.s;
  const float* const e = it->b.e;
  for (int32_t k = end - 1; k >= start; --k) {
    const float below = k < end - 1 ? fabsf(e[k]) : 0.0f;
    const float above = k > start ? fabsf(e[k - 1]) : 0.0f;
    if (is_negligible(*it, s[k], below + above)) {
      s[k] = 0.0f;
      return k;
    }
  }
  return start - 1;
}

// s[end - 1] is 0: rotates its coupling away upwards.
void decouple_last_value(bidiagonal_t* b, int32_t start, int32_t end) {
  float f = std::exchange(b->e[end - 2], 0.0f);
  for (int32_t k = end - 2; k >= start; --k) {
    const rotation_t g = make_rotation(&b->s[k], f);
    if (k > start) {
      f = -g.s * b->e[k - 1];
      b->e[k - 1] *= g.c;
    }
    rotate_columns(b->v, b->cols, k, end - 1, g);
  }
}

// s[zero] is 0, inside the block: rotates its coupling away downwards, which splits the block.
void split_after_zero(bidiagonal_t* b, int32_t zero, int32_t end) {
  float f = std::exchange(b->e[zero], 0.0f);
  for (int32_t k = zero + 1; k < end; ++k) {
    const rotation_t g = make_rotation(&b->s[k], f);
    f = -g.s * b->e[k];
    b->e[k] *= g.c;
    rotate_columns(b->u, b->rows, k, zero, g);
  }
}

struct bulge_t {
  float f;
  float g;
};

// First rotation of a sweep, from the eigenvalue of the trailing 2 x 2 block nearer to its end.
bulge_t start_bulge(const bidiagonal_t& b, int32_t start, int32_t end) {
  const float scale = std::max({fabsf(b.s[end - 1]), fabsf(b.s[end - 2]), fabsf(b.e[end - 2]),
                                fabsf(b.s[start]), fabsf(b.e[start])});
  const float last = b.s[end - 1] / scale;
  const float before_last = b.s[end - 2] / scale;
  const float coupling = b.e[end - 2] / scale;
  const float first = b.s[start] / scale;
  const float mid = ((before_last + last) * (before_last - last) + coupling * coupling) * 0.5f;
  const float product = (last * coupling) * (last * coupling);
  float shift = 0.0f;
  if (mid != 0.0f || product != 0.0f) {
    shift = product / (mid + copysignf(sqrtf(mid * mid + product), mid));
  }
  return {(first + last) * (first - last) + shift, first * (b.e[start] / scale)};
}

// One implicit-shift QR sweep over the block: chases the bulge down the diagonal.
void sweep_block(bidiagonal_t* b, int32_t start, int32_t end) {
  float* const s = b->s;
  float* const e = b->e;
  auto [f, g] = start_bulge(*b, start, end);
  for (int32_t k = start; k < end - 1; ++k) {
    const rotation_t right = make_rotation(&f, g);
    if (k > start) e[k - 1] = f;
    f = right.c * s[k] + right.s * e[k];
    e[k] = right.c * e[k] - right.s * s[k];
    g = right.s * s[k + 1];
    s[k + 1] *= right.c;
    rotate_columns(b->v, b->cols, k, k + 1, right);

    const rotation_t left = make_rotation(&f, g);
    s[k] = f;
    f = left.c * e[k] + left.s * s[k + 1];
    s[k + 1] = left.c * s[k + 1] - left.s * e[k];
    g = left.s * e[k + 1];
    e[k + 1] *= left.c;
    rotate_columns(b->u, b->rows, k, k + 1, left);
  }
  e[end - 2] = f;
}

void diagonalise(iteration_t* it) {
  bidiagonal_t* const b = &it->b;
  for (int32_t k = 0; k < b->cols; ++k) {
    it->norm = std::max(it->norm, fabsf(b->s[k]) + fabsf(b->e[k]));
  }
  int32_t end = b->cols;
  while (end > 0 && it->sweeps < kMaxSweeps) {
    const int32_t start = find_block_start(it, end);
    if (start == end - 1) {
      --end;
      continue;
    }
    const int32_t zero = find_zero_value(it, start, end);
    if (zero == end - 1) {
      decouple_last_value(b, start, end);
    } else if (zero >= start) {
      split_after_zero(b, zero, end);
    } else {
      sweep_block(b, start, end);
      ++it->sweeps;
    }
  }
}

void make_values_positive(bidiagonal_t* b) {
  for (int32_t k = 0; k < b->cols; ++k) {
    if (!(b->s[k] < 0.0f)) continue;
    b->s[k] = -b->s[k];
    float* const column = matrix_at(b->v, b->cols, 0, k);
    for (int32_t i = 0; i < b->cols; ++i) column[i] = -column[i];
  }
}

void swap_columns(float* matrix, int32_t rows, int32_t j, int32_t k) {
  float* const column = matrix_at(matrix, rows, 0, j);
  std::swap_ranges(column, column + rows, matrix_at(matrix, rows, 0, k));
}

void sort_values(bidiagonal_t* b) {
  for (int32_t k = 0; k < b->cols - 1; ++k) {
    const int32_t largest = static_cast<int32_t>(std::max_element(b->s + k, b->s + b->cols) - b->s);
    if (largest == k) continue;
    std::swap(b->s[k], b->s[largest]);
    swap_columns(b->u, b->rows, k, largest);
    swap_columns(b->v, b->cols, k, largest);
  }
}

}  // namespace

void svd(const float* a, int32_t rows, int32_t cols, float* scratch, float* u, float* s, float* v) {
  if (cols < 1) return;
  const int32_t count = rows * cols;
  memcpy(scratch, a, sizeof(float) * static_cast<size_t>(count));
  iteration_t it = {};
  it.b.rows = rows;
  it.b.cols = cols;
  it.b.a = scratch;
  it.b.row_sum = scratch + count;
  it.b.u = u;
  it.b.s = s;
  it.b.v = v;
  bidiagonal_reduce(&it.b);
  diagonalise(&it);
  make_values_positive(&it.b);
  sort_values(&it.b);
}
