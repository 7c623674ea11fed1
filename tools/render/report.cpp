// SPDX-License-Identifier: Apache-2.0
#include "tools/render/report.h"

#include <algorithm>
#include <cmath>

#include "tools/render/decibels.h"
#include "tools/render/text.h"

namespace render {
namespace {

std::string level_text(const EarLevel& level) {
  return text_format("peak %.1f dBFS, %llu samples beyond full scale",
                     decibels_from_factor(static_cast<double>(level.peak)),
                     static_cast<unsigned long long>(level.over_full_scale));
}

double seconds(uint64_t frames, int rate_hz) { return static_cast<double>(frames) / rate_hz; }

}  // namespace

void report_measure(EarLevels* levels, const float* ears, size_t frames) {
  for (size_t i = 0; i < frames * 2; ++i) {
    EarLevel& level = (*levels)[i % 2];
    const float magnitude = std::fabs(ears[i]);
    level.peak = std::max(level.peak, magnitude);
    if (magnitude > 1.0f) ++level.over_full_scale;
  }
}

void report_print(std::ostream& out, const Report& report) {
  const double output_seconds = seconds(report.output_frames, report.output_rate_hz);
  out << "layout  " << report.layout << "\n";
  if (!report.input.empty()) {
    out << "input   " << report.input
        << text_format(", %d Hz, %.3f s", report.input_rate_hz,
                       seconds(report.input_frames, report.input_rate_hz))
        << "\n";
  }
  out << "output  " << report.output << ", " << report.output_format
      << text_format(", %d Hz, %.3f s", report.output_rate_hz, output_seconds) << "\n"
      << text_format("gain    %+.2f dB", report.gain_db) << "\n";
  if (report.input_loudness) out << "heard   in " << loudness_text(*report.input_loudness) << "\n";
  if (report.output_loudness) {
    out << "heard   out " << loudness_text(*report.output_loudness) << "\n";
  }
  out << "left    " << level_text(report.levels[0]) << "\n"
      << "right   " << level_text(report.levels[1]) << "\n"
      << text_format("speed   %.0f x real time", output_seconds / report.seconds_taken) << "\n";
}

}  // namespace render
