// SPDX-License-Identifier: Apache-2.0
// Head-related impulse responses as measured: read from a SOFA file, and checked.
#ifndef ORVANE_TOOLS_EARS_MEASURED_EARS_H_
#define ORVANE_TOOLS_EARS_MEASURED_EARS_H_

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "tools/ears/sphere.h"

struct MYSOFA_HRTF;

namespace ears {

constexpr size_t kNumEars = 2;  // left, right

// Distinct directions, and the responses of both ears to a source there.
struct MeasuredEars {
  double rate_hz = 0.0;
  size_t taps = 0;
  std::vector<Direction> directions;
  std::vector<float> responses;                          // [direction][ear][tap]
  std::vector<std::array<double, kNumEars>> delays_s;    // before the first tap
  std::vector<std::array<double, kNumEars>> arrivals_s;  // when the sound begins
  double coverage = 0.0;  // share of the sphere that is near a direction

  std::span<const float> response(size_t direction, size_t ear) const {
    return {&responses[(direction * kNumEars + ear) * taps], taps};
  }
};

// Reads a file of the convention SimpleFreeFieldHRIR (AES69), at any rate, on any grid. Throws
// Failure with what is missing where it cannot be fitted.
MeasuredEars measured_ears_read(const std::string& path);

// The same from a record that libmysofa has read. `path` is for the Failure.
MeasuredEars measured_ears_from(const MYSOFA_HRTF& hrtf, const std::string& path);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_MEASURED_EARS_H_
