#include "tools/measure/ear_measure.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace measure {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kCutoffHz = 1500.0;
constexpr int kHalfTaps = 64;
constexpr double kMaxLagSeconds = 1e-3;

// Windowed sinc (Hann) of 2 * kHalfTaps + 1 taps, gain 1 at 0 Hz.
std::vector<double> low_pass_taps(int rate_hz) {
  const double cutoff = 2.0 * kCutoffHz / rate_hz;
  std::vector<double> taps;
  for (int i = -kHalfTaps; i <= kHalfTaps; ++i) {
    const double phase = kPi * cutoff * i;
    const double sinc = i == 0 ? 1.0 : std::sin(phase) / phase;
    taps.push_back(cutoff * sinc * (0.5 + 0.5 * std::cos(kPi * i / (kHalfTaps + 1))));
  }
  return taps;
}

// Every second sample of `interleaved`, low-passed; the ends are cut by the filter's length.
std::vector<double> low_pass(const float* interleaved, size_t frames,
                             const std::vector<double>& taps) {
  std::vector<double> output;
  for (size_t start = 0; start + taps.size() <= frames; ++start) {
    double sum = 0.0;
    for (size_t k = 0; k < taps.size(); ++k) {
      sum += taps[k] * static_cast<double>(interleaved[2 * (start + k)]);
    }
    output.push_back(sum);
  }
  return output;
}

// Sum of left[t] * right[t + lag] over the samples that both have.
double correlate(const std::vector<double>& left, const std::vector<double>& right, int lag) {
  const int length = static_cast<int>(left.size());
  double sum = 0.0;
  for (int t = std::max(0, -lag); t < std::min(length, length - lag); ++t) {
    sum += left[static_cast<size_t>(t)] * right[static_cast<size_t>(t + lag)];
  }
  return sum;
}

// Lag of the largest correlation, from the parabola through it and its neighbours.
double peak_lag(const std::vector<double>& left, const std::vector<double>& right, int max_lag) {
  std::vector<double> values;
  for (int lag = -max_lag; lag <= max_lag; ++lag) values.push_back(correlate(left, right, lag));
  const auto peak = std::max_element(values.begin() + 1, values.end() - 1);
  const double before = *(peak - 1);
  const double after = *(peak + 1);
  const double curvature = before - 2.0 * *peak + after;
  const double fraction = curvature < 0.0 ? 0.5 * (before - after) / curvature : 0.0;
  return static_cast<double>(peak - values.begin()) - max_lag + fraction;
}

double energy(const float* interleaved, size_t frames) {
  double sum = 0.0;
  for (size_t i = 0; i < frames; ++i) {
    const double sample = static_cast<double>(interleaved[2 * i]);
    sum += sample * sample;
  }
  return sum;
}

}  // namespace

EarDifference ear_difference_measure(const float* ears, size_t frames, int rate_hz) {
  const std::vector<double> taps = low_pass_taps(rate_hz);
  const std::vector<double> left = low_pass(ears, frames, taps);
  const std::vector<double> right = low_pass(ears + 1, frames, taps);
  const int max_lag = static_cast<int>(std::lround(kMaxLagSeconds * rate_hz));
  return {10.0 * std::log10(energy(ears, frames) / energy(ears + 1, frames)),
          1e6 * peak_lag(left, right, max_lag) / rate_hz};
}

}  // namespace measure
