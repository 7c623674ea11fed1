#include "tools/render/report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace render {
namespace {

template <typename... Values>
std::string text(const char* format, Values... values) {
  char line[128];
  std::snprintf(line, sizeof(line), format, values...);
  return line;
}

std::string level_text(const EarLevel& level) {
  const double decibels = 20.0 * std::log10(static_cast<double>(level.peak));
  return text("peak %.1f dBFS, %llu samples beyond full scale", decibels,
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
  out << "layout  " << report.layout << "\n"
      << "input   " << report.input
      << text(", %d Hz, %.3f s", report.input_rate_hz,
              seconds(report.input_frames, report.input_rate_hz))
      << "\n"
      << "output  " << report.output << ", " << report.output_format
      << text(", %d Hz, %.3f s", report.output_rate_hz, output_seconds) << "\n"
      << "left    " << level_text(report.levels[0]) << "\n"
      << "right   " << level_text(report.levels[1]) << "\n"
      << text("speed   %.0f x real time", output_seconds / report.seconds_taken) << "\n";
}

}  // namespace render
