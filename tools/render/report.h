// SPDX-License-Identifier: Apache-2.0
// What a rendering was: levels per ear, length and speed.
#ifndef ORVANE_TOOLS_RENDER_REPORT_H_
#define ORVANE_TOOLS_RENDER_REPORT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "tools/render/loudness.h"

namespace render {

// Level of one ear, full scale = 1.
struct EarLevel {
  float peak = 0.0f;
  uint64_t over_full_scale = 0;  // samples; 24-bit files hold them clipped
};

using EarLevels = std::array<EarLevel, 2>;  // left, right

// Adds interleaved stereo frames to `levels`.
void report_measure(EarLevels* levels, const float* ears, size_t frames);

struct Report {
  std::string layout;
  std::string input;  // empty: none, and nothing below of it
  int input_rate_hz = 0;
  uint64_t input_frames = 0;
  std::string output;
  std::string output_format;
  int output_rate_hz = 0;
  uint64_t output_frames = 0;
  std::optional<Loudness> input_loudness, output_loudness;  // where they were measured
  double gain_db = 0.0;
  double seconds_taken = 0.0;
  EarLevels levels;
};

void report_print(std::ostream& out, const Report& report);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_REPORT_H_
