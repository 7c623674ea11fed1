#include "tools/validate/reverb_measure.h"

#include <cmath>
#include <numeric>

#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"

namespace validate {
namespace {

constexpr int kFilterPasses = 3;
constexpr double kFilterQ = 1.0;
constexpr double kEnvelopeEnd = 0.001;

void band_pass(std::vector<double>* signal, double centre_hz) {
  const double w = 2.0 * kPi * centre_hz / kRateHz;
  const double alpha = std::sin(w) / (2.0 * kFilterQ);
  const double b0 = alpha / (1.0 + alpha);
  const double a1 = -2.0 * std::cos(w) / (1.0 + alpha);
  const double a2 = (1.0 - alpha) / (1.0 + alpha);
  double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
  for (double& sample : *signal) {
    const double y = b0 * (sample - x2) - a1 * y1 - a2 * y2;
    x2 = x1;
    x1 = sample;
    y2 = y1;
    y1 = sample = y;
  }
}

double product(const std::vector<float>& a, const std::vector<float>& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

}  // namespace

std::vector<float> octave_band(const std::vector<float>& signal, double centre_hz) {
  std::vector<double> filtered(signal.begin(), signal.end());
  for (int pass = 0; pass < kFilterPasses; ++pass) band_pass(&filtered, centre_hz);
  return {filtered.begin(), filtered.end()};
}

std::vector<float> energy_sum(const std::vector<std::vector<float>>& responses) {
  std::vector<float> sum(responses.front().size());
  for (size_t t = 0; t < sum.size(); ++t) {
    double energy = 0.0;
    for (const std::vector<float>& response : responses) {
      energy += static_cast<double>(response[t]) * static_cast<double>(response[t]);
    }
    sum[t] = static_cast<float>(std::sqrt(energy));
  }
  return sum;
}

double expected_reverberation_s(double decay_s, double level) {
  return decay_s * 60.0 / (20.0 * std::log10(level / kEnvelopeEnd));
}

double pulses_per_second(const std::vector<float>& tail, size_t start, size_t end,
                         double threshold) {
  size_t pulses = 0;
  for (size_t t = start; t < end; ++t) {
    if (std::fabs(static_cast<double>(tail[t])) > threshold) ++pulses;
  }
  return static_cast<double>(pulses) * kRateHz / static_cast<double>(end - start);
}

double balance_db(const std::vector<float>& left, const std::vector<float>& right) {
  return 10.0 * std::log10(product(left, left) / product(right, right));
}

double correlation(const std::vector<float>& left, const std::vector<float>& right) {
  return product(left, right) / std::sqrt(product(left, left) * product(right, right));
}

}  // namespace validate
