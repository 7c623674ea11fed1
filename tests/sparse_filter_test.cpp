// SPDX-License-Identifier: Apache-2.0
#include "numerics/sparse_filter.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/signals.h"

namespace {

struct SparseCase {
  const char* name;
  std::vector<int32_t> places;
  int32_t length, first, count;
};

TEST(SparseFilterTest, AddsTheSamplesOncePerTap) {
  std::vector<int32_t> dense;
  for (int32_t at = -30; at < 30; ++at) dense.push_back(at);
  const SparseCase cases[] = {
      {"from before the start", {-70, -3, -3, 0, 1, 63, 64, 200}, 100, 0, 333},
      {"a piece from the middle", {0, 5, 90, 130, 131, 500}, 77, 91, 307},
      {"every sample", dense, 64, 0, 131},
      {"shorter than a vector", {0, 2}, 1, 0, 3},
      {"out of reach", {-64, 300}, 64, 0, 300},
      {"no tap", {}, 64, 0, 64},
      {"nothing to do", {0}, 64, 10, 0}};
  for (const SparseCase& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<float> gains = noise(c.places.size() + 1, 1), x = noise(c.length, 2);
    std::vector<sparse_tap_t> taps;
    for (size_t k = 0; k < c.places.size(); ++k) taps.push_back({c.places[k], gains[k]});
    std::vector<float> padded(x.size() + 2 * SPARSE_FILTER_MARGIN);
    std::copy(x.begin(), x.end(), padded.begin() + SPARSE_FILTER_MARGIN);
    std::vector<float> out = noise(static_cast<size_t>(c.count), 3);
    const std::vector<float> before = out;
    sparse_filter_add({taps.data(), static_cast<int32_t>(taps.size())},
                      padded.data() + SPARSE_FILTER_MARGIN, c.length, c.first, c.count, out.data());
    for (int32_t i = 0; i < c.count; ++i) {
      double expected = before[static_cast<size_t>(i)];
      for (const sparse_tap_t& tap : taps) {
        const int32_t t = c.first + i - tap.at;
        if (t >= 0 && t < c.length)
          expected += double{tap.gain} * double{x[static_cast<size_t>(t)]};
      }
      // One rounding of a sum below 16 per tap.
      const double tolerance = static_cast<double>(taps.size()) * 0x1p-20;
      ASSERT_NEAR(expected, out[static_cast<size_t>(i)], tolerance) << i;
    }
  }
}

}  // namespace
