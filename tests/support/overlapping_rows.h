// SPDX-License-Identifier: Apache-2.0
#ifndef ORVANE_TESTS_SUPPORT_OVERLAPPING_ROWS_H_
#define ORVANE_TESTS_SUPPORT_OVERLAPPING_ROWS_H_

#include <cstdint>
#include <vector>

#include "tests/support/signals.h"

// Inputs and outputs, one row after another in one piece of memory of noise; the outputs begin
// `offset` samples after the inputs, so that an output also reaches into its neighbour's input.
class OverlappingRows {
 public:
  static constexpr int32_t kFarthest = 5;
  static constexpr int32_t kOffsets[] = {0, kFarthest, -kFarthest};

  OverlappingRows(size_t channels, size_t frames, int32_t offset)
      : frames_(frames), memory_(noise(channels * frames + 2 * kFarthest, 3)) {
    for (size_t c = 0; c < channels; ++c) {
      inputs.push_back(memory_.data() + kFarthest + c * frames);
      outputs.push_back(inputs.back() + offset);
    }
  }

  Planar copy(const std::vector<float*>& rows) const {
    Planar copied(rows.size(), 0);
    for (size_t c = 0; c < rows.size(); ++c) copied.set(c, {rows[c], rows[c] + frames_});
    return copied;
  }

  std::vector<float*> inputs, outputs;

 private:
  size_t frames_;
  std::vector<float> memory_;
};

#endif  // ORVANE_TESTS_SUPPORT_OVERLAPPING_ROWS_H_
