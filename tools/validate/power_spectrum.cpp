#include "tools/validate/power_spectrum.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>

#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"

namespace validate {
namespace {

constexpr size_t kErbTransform = 1024;  // the grid that the measured ears were judged on
constexpr double kLowestHz = 100.0;
constexpr double kSilenceDb = -240.0;

using Complex = std::complex<double>;

// In place, by halves (Cooley and Tukey); the length is a power of two.
void transform(std::vector<Complex>* values) {
  const size_t half = values->size() / 2;
  if (half == 0) return;
  std::vector<Complex> even, odd;
  for (size_t i = 0; i < half; ++i) {
    even.push_back((*values)[2 * i]);
    odd.push_back((*values)[2 * i + 1]);
  }
  transform(&even);
  transform(&odd);
  for (size_t k = 0; k < half; ++k) {
    const double angle = -kPi * static_cast<double>(k) / static_cast<double>(half);
    const Complex turned = std::polar(1.0, angle) * odd[k];
    (*values)[k] = even[k] + turned;
    (*values)[k + half] = even[k] - turned;
  }
}

double erb_number(double hz) { return 21.4 * std::log10(1.0 + 0.00437 * hz); }

ErbLevels make_centres() {
  ErbLevels centres;
  for (size_t band = 0; band < kErbBands; ++band) {
    const double number = erb_number(kLowestHz) + static_cast<double>(band);
    centres[band] = (std::pow(10.0, number / 21.4) - 1.0) / 0.00437;
  }
  return centres;
}

using BandWeights = std::array<std::array<double, kErbTransform / 2 + 1>, kErbBands>;

// Of every bin of the grid in every band; they add up to 1.
BandWeights make_weights() {
  BandWeights weights;
  for (size_t band = 0; band < kErbBands; ++band) {
    const double centre_hz = erb_centres_hz()[band];
    const double bandwidth = 1.019 * 24.7 * (0.00437 * centre_hz + 1.0);
    for (size_t k = 0; k < weights[band].size(); ++k) {
      const double hz = static_cast<double>(k) * kRateHz / kErbTransform;
      const double offset = (hz - centre_hz) / bandwidth;
      weights[band][k] = std::pow(1.0 + offset * offset, -4.0);
    }
    const double sum = std::accumulate(weights[band].begin(), weights[band].end(), 0.0);
    for (double& weight : weights[band]) weight /= sum;
  }
  return weights;
}

}  // namespace

double power_db(double power) { return power == 0.0 ? kSilenceDb : 10.0 * std::log10(power); }

std::vector<double> power_spectrum(const std::vector<double>& signal) {
  std::vector<Complex> values(signal.begin(), signal.end());
  transform(&values);
  std::vector<double> power;
  for (size_t k = 0; k <= signal.size() / 2; ++k) power.push_back(std::norm(values[k]));
  return power;
}

std::vector<SpectrumPoint> sine_spectrum(const std::vector<float>& signal, size_t size) {
  std::vector<double> windowed;
  for (size_t i = 0; i < size; ++i) {
    const double phase = 2.0 * kPi * static_cast<double>(i) / static_cast<double>(size);
    const double window = 0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2.0 * phase) -
                          0.01168 * std::cos(3.0 * phase);
    windowed.push_back(window * static_cast<double>(signal[signal.size() - size + i]));
  }
  const std::vector<double> power = power_spectrum(windowed);
  const double highest = *std::max_element(power.begin(), power.end());
  std::vector<SpectrumPoint> points;
  for (size_t k = 0; k < power.size(); ++k) {
    const double hz = static_cast<double>(k) * kRateHz / static_cast<double>(size);
    points.push_back({hz, power_db(power[k] / highest)});
  }
  return points;
}

const ErbLevels& erb_centres_hz() {
  static const ErbLevels centres = make_centres();
  return centres;
}

ErbLevels erb_powers(const std::vector<float>& response) {
  std::vector<double> signal(response.begin(), response.end());
  signal.resize(kErbTransform);
  const std::vector<double> spectrum = power_spectrum(signal);
  static const BandWeights weights = make_weights();
  ErbLevels powers;
  for (size_t band = 0; band < kErbBands; ++band) {
    powers[band] = std::inner_product(spectrum.begin(), spectrum.end(), weights[band].begin(), 0.0);
  }
  return powers;
}

}  // namespace validate
