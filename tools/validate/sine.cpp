#include "tools/validate/sine.h"

#include <algorithm>
#include <cmath>

#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"
#include "tools/validate/power_spectrum.h"

namespace validate {
namespace {

double phase_step(double hz) { return 2.0 * kPi * hz / kRateHz; }

}  // namespace

std::vector<float> sine(double hz, double amplitude, size_t frames) {
  std::vector<float> samples;
  for (size_t t = 0; t < frames; ++t) {
    samples.push_back(
        static_cast<float>(amplitude * std::sin(phase_step(hz) * static_cast<double>(t))));
  }
  return samples;
}

double residue_db(const std::vector<float>& signal, double hz, size_t frames) {
  const size_t start = signal.size() - frames;
  const auto wave = [&](size_t t, double quarter) {
    return std::sin(phase_step(hz) * static_cast<double>(t) + quarter * 0.5 * kPi);
  };
  double ss = 0.0, cc = 0.0, sc = 0.0, xs = 0.0, xc = 0.0;
  for (size_t t = start; t < signal.size(); ++t) {
    const double s = wave(t, 0.0), c = wave(t, 1.0), x = static_cast<double>(signal[t]);
    ss += s * s;
    cc += c * c;
    sc += s * c;
    xs += x * s;
    xc += x * c;
  }
  const double determinant = ss * cc - sc * sc;
  const double a = (xs * cc - xc * sc) / determinant;
  const double b = (xc * ss - xs * sc) / determinant;
  double fitted = 0.0, left_over = 0.0;
  for (size_t t = start; t < signal.size(); ++t) {
    const double fit = a * wave(t, 0.0) + b * wave(t, 1.0);
    const double error = static_cast<double>(signal[t]) - fit;
    fitted += fit * fit;
    left_over += error * error;
  }
  return power_db(left_over / fitted);
}

double splatter_db(const std::vector<float>& signal, double hz, double beside_hz, size_t frames) {
  double beside = 0.0, all = 0.0;
  for (const SpectrumPoint& point : sine_spectrum(signal, frames)) {
    const double power = std::pow(10.0, 0.1 * point.db);
    all += power;
    if (std::fabs(point.hz - hz) > beside_hz) beside += power;
  }
  return power_db(beside / all);
}

measure::Curve sine_curve(const std::vector<float>& signal, size_t frames, double step_octaves) {
  measure::Curve curve;
  double edge_hz = 0.0;
  for (const SpectrumPoint& point : sine_spectrum(signal, frames)) {
    if (point.hz <= 0.0) continue;
    if (curve.empty() || point.hz >= edge_hz) {
      curve.emplace_back(point.hz, point.db);
      edge_hz = point.hz * std::exp2(step_octaves);
    } else if (point.db > curve.back().second) {
      curve.back() = {point.hz, point.db};
    }
  }
  return curve;
}

}  // namespace validate
