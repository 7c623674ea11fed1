// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <math.h>

#include <string>
#include <vector>

#include "base/result.h"
#include "numerics/pinv.h"
#include "tests/support/signals.h"

namespace {

// Column-major, in double, so that the checks add no rounding of their own.
struct Matrix {
  int32_t rows, cols;
  std::vector<double> elements;

  Matrix(int32_t m, int32_t n) : rows(m), cols(n), elements(static_cast<size_t>(m * n)) {}
  Matrix(int32_t m, int32_t n, const std::vector<float>& v)
      : rows(m), cols(n), elements(v.begin(), v.end()) {}
  double& operator()(int32_t i, int32_t j) { return elements[static_cast<size_t>(i + rows * j)]; }
  double operator()(int32_t i, int32_t j) const {
    return elements[static_cast<size_t>(i + rows * j)];
  }
};

Matrix operator*(const Matrix& a, const Matrix& b) {
  Matrix c(a.rows, b.cols);
  for (int32_t j = 0; j < b.cols; ++j)
    for (int32_t k = 0; k < a.cols; ++k)
      for (int32_t i = 0; i < a.rows; ++i) c(i, j) += a(i, k) * b(k, j);
  return c;
}

Matrix transpose(const Matrix& a) {
  Matrix t(a.cols, a.rows);
  for (int32_t j = 0; j < a.cols; ++j)
    for (int32_t i = 0; i < a.rows; ++i) t(j, i) = a(i, j);
  return t;
}

// Largest difference, relative to the largest element of `a`.
double distance(const Matrix& a, const Matrix& b) {
  double difference = 0.0, largest = 1e-300;
  for (size_t i = 0; i < a.elements.size(); ++i) {
    difference = std::max(difference, fabs(a.elements[i] - b.elements[i]));
    largest = std::max(largest, fabs(a.elements[i]));
  }
  return difference / largest;
}

Matrix pinv(const Matrix& a) {
  std::vector<float> workspace(PINV_WORKSPACE_FLOATS, NAN);
  std::vector<float> x(a.elements.size(), NAN);
  const std::vector<float> floats(a.elements.begin(), a.elements.end());
  int32_t size[2] = {a.rows, a.cols};
  ubr_pinv(workspace.data(), floats.data(), size, x.data(), size);  // one record for both
  return {size[0], size[1], x};
}

Matrix random_matrix(int32_t rows, int32_t cols, double scale = 1.0) {
  Matrix a(rows, cols, noise(static_cast<size_t>(rows * cols), 7));
  for (double& v : a.elements) v *= scale;
  return a;
}

Matrix identity(int32_t n) {
  Matrix a(n, n);
  for (int32_t i = 0; i < n; ++i) a(i, i) = 1.0;
  return a;
}

Matrix with_equal_columns(Matrix a) {
  for (int32_t i = 0; i < a.rows; ++i) a(i, 3) = a(i, 1);
  return a;
}

// Bidiagonal as it stands, with zeros on the diagonal at `zero`.
Matrix bidiagonal_with_zero(int32_t n, int32_t zero) {
  Matrix a = identity(n);
  for (int32_t i = 0; i + 1 < n; ++i) a(i, i + 1) = 0.5;
  a(zero, zero) = 0.0;
  return a;
}

// Bidiagonal as it stands: the coupling of the small block is an epsilon of the large one.
Matrix bidiagonal_of_two_scales() {
  Matrix a = identity(4);
  a(0, 0) = a(1, 1) = 0x1p-20;
  a(0, 1) = 0x1p-23;
  a(2, 3) = 0.5;
  return a;
}

struct PinvCase {
  const char* name;
  Matrix a;
};

class PinvTest : public ::testing::TestWithParam<PinvCase> {};

// The four conditions that define the pseudo-inverse. The tolerance leaves a factor of three to the
// rounding that was measured.
TEST_P(PinvTest, MeetsThePenroseConditions) {
  const Matrix& a = GetParam().a;
  const Matrix x = pinv(a);
  ASSERT_EQ(a.cols, x.rows);
  ASSERT_EQ(a.rows, x.cols);
  EXPECT_LT(distance(a, a * x * a), 1e-5);
  EXPECT_LT(distance(x, x * a * x), 1e-5);
  EXPECT_LT(distance(a * x, transpose(a * x)), 1e-5);
  EXPECT_LT(distance(x * a, transpose(x * a)), 1e-5);
}

INSTANTIATE_TEST_SUITE_P(
    Matrices, PinvTest,
    ::testing::Values(
        PinvCase{"LargestSquare", random_matrix(25, 25)}, PinvCase{"Tall", random_matrix(30, 20)},
        PinvCase{"Wide", random_matrix(20, 30)}, PinvCase{"LongestColumn", random_matrix(625, 1)},
        PinvCase{"Row", random_matrix(1, 3)}, PinvCase{"Single", random_matrix(1, 1)},
        PinvCase{"Tiny", random_matrix(12, 9, 0x1p-66)},
        PinvCase{"Huge", random_matrix(12, 9, 0x1p66)},
        PinvCase{"EqualColumns", with_equal_columns(random_matrix(9, 6))},
        PinvCase{"EqualColumnsOfWide", with_equal_columns(random_matrix(6, 9))},
        PinvCase{"LastDiagonalZero", bidiagonal_with_zero(6, 5)},
        PinvCase{"InnerDiagonalZero", bidiagonal_with_zero(6, 2)},
        PinvCase{"TwoScales", bidiagonal_of_two_scales()}, PinvCase{"Zero", Matrix(4, 3)}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(PinvValueTest, IdentityIsItsOwnInverse) {
  EXPECT_EQ(identity(25).elements, pinv(identity(25)).elements);
}

TEST(PinvValueTest, SingularValuesUpToTheToleranceAreDropped) {
  Matrix a = identity(2);
  a(1, 1) = 0x1p-22;  // 2 x the spacing of floats at 1
  EXPECT_EQ(0.0, pinv(a)(1, 1));
  a(1, 1) = 0x1.1p-22;
  EXPECT_NEAR(0x1p22 / 1.0625, pinv(a)(1, 1), 1.0);
}

TEST(PinvValueTest, EmptyAndNonFiniteMatricesComeToAnEnd) {
  EXPECT_EQ(0, pinv(Matrix(5, 0)).rows);
  EXPECT_EQ(5, pinv(Matrix(0, 5)).rows);
  Matrix a = random_matrix(8, 8);
  a(2, 3) = nan("");
  pinv(a);
}

TEST(PinvDeathTest, MatrixBeyondTheWorkspaceAborts) {
  EXPECT_DEATH(pinv(Matrix(26, 25)), "");
  EXPECT_DEATH(pinv(Matrix(1, 626)), "");
}

}  // namespace
