// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/head_set.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "tools/ears/gap_filling.h"
#include "tools/ears/ring_alignment.h"

namespace ears {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kBulkLowHz = 300.0, kBulkHighHz = 1200.0;
constexpr double kSmoothingOctaves = 1.0 / 6.0;
constexpr double kLowestEqualisedHz = 60.0, kHighestEqualisedHz = 18000.0;
constexpr double kExtensionHz = 200.0;
constexpr double kGroupDelayOctaves = 1.0 / 3.0, kGroupDelayHighestHz = 20000.0;
constexpr double kBandLimitLowHz = 19000.0, kBandLimitHighHz = 22000.0;
constexpr double kReachLowHz = 500.0, kReachHighHz = 1000.0, kReachDb = -10.0;
constexpr double kLongestResponseS = 0.018;  // what the grid holds, with room for delays
constexpr double kUpperElevation = 60.0 * kPi / 180.0;
constexpr double kLargestWeight = 3.0;  // of the median

// Area weights in which the edge of a gap does not stand for the gap.
std::vector<double> capped_weights(std::span<const Direction> directions) {
  std::vector<double> weights = area_weights(directions), middle;
  for (size_t i = 0; i < directions.size(); ++i) {
    if (std::fabs(directions[i].elevation) < kUpperElevation) middle.push_back(weights[i]);
  }
  if (middle.empty()) middle = weights;
  const auto median = middle.begin() + static_cast<ptrdiff_t>(middle.size() / 2);
  std::nth_element(middle.begin(), median, middle.end());
  double sum = 0.0;
  for (double& weight : weights) sum += weight = std::min(weight, kLargestWeight * *median);
  for (double& weight : weights) weight /= sum;
  return weights;
}

// Spectra from the earliest arrival on.
void transform(const MeasuredEars& measured, HeadSet* set) {
  double earliest = measured.arrivals_s[0][0];
  for (const auto& arrivals : measured.arrivals_s) {
    earliest = std::min({earliest, arrivals[0], arrivals[1]});
  }
  const size_t longest = static_cast<size_t>(kLongestResponseS * measured.rate_hz);
  const size_t taps = std::min(measured.taps, longest);
  GridTransform grid(measured.rate_hz, taps);
  for (size_t ear = 0; ear < kNumEars; ++ear) {
    set->spectra[ear].resize(measured.directions.size() * kBins);
    for (size_t i = 0; i < measured.directions.size(); ++i) {
      const double begin = (measured.arrivals_s[i][ear] - measured.delays_s[i][ear]);
      const double lead = std::max(begin - 1e-3, 0.0);  // silence before the sound
      const auto first =
          std::min(static_cast<size_t>(lead * measured.rate_hz), measured.taps - taps);
      Complex* const bins = set->spectrum(ear, i);
      grid.run(measured.response(i, ear).subspan(first, taps), bins);
      const double delay =
          measured.delays_s[i][ear] - earliest + static_cast<double>(first) / measured.rate_hz;
      for (size_t k = 0; k < kBins; ++k) bins[k] *= delay_phase(delay, bin_hz(k));
    }
  }
}

template <typename Action>
void each_spectrum(HeadSet* set, Action action) {
  for (size_t ear = 0; ear < kNumEars; ++ear) {
    for (size_t i = 0; i < set->directions.size(); ++i) action(set->spectrum(ear, i), i);
  }
}

void multiply(HeadSet* set, std::span<const Complex> gains) {
  each_spectrum(set, [&](Complex* bins, size_t) {
    for (size_t k = 0; k < kBins; ++k) bins[k] *= gains[k];
  });
}

// Slope of a regression line.
double slope_of(std::span<const double> x, std::span<const double> y) {
  double mean_x = 0.0, mean_y = 0.0, cross = 0.0, square = 0.0;
  for (size_t i = 0; i < x.size(); ++i) mean_x += x[i], mean_y += y[i];
  mean_x /= static_cast<double>(x.size());
  mean_y /= static_cast<double>(x.size());
  for (size_t i = 0; i < x.size(); ++i) {
    cross += (x[i] - mean_x) * (y[i] - mean_y);
    square += (x[i] - mean_x) * (x[i] - mean_x);
  }
  return cross / square;
}

// The mean travel time, read from the phase slopes at low frequencies.
void remove_bulk_delay(HeadSet* set) {
  const auto low = static_cast<size_t>(std::ceil(kBulkLowHz / kBinHz));
  const auto high = static_cast<size_t>(kBulkHighHz / kBinHz);
  std::vector<double> hz, phases(high - low + 1);
  for (size_t k = low; k <= high; ++k) hz.push_back(bin_hz(k));
  double delay = 0.0;
  each_spectrum(set, [&](Complex* bins, size_t i) {
    for (size_t k = low; k <= high; ++k) phases[k - low] = std::arg(bins[k]);
    unwrap(phases);
    delay -= set->weights[i] * slope_of(hz, phases) / (2.0 * kPi * kNumEars);
  });
  std::vector<Complex> advance(kBins);
  for (size_t k = 0; k < kBins; ++k) advance[k] = delay_phase(-delay, bin_hz(k));
  multiply(set, advance);
}

double mean_level(std::span<const double> power, double low_hz, double high_hz) {
  double sum = 0.0;
  const size_t low = nearest_bin(low_hz), high = nearest_bin(high_hz);
  for (size_t k = low; k <= high; ++k) sum += std::log(std::max(power[k], 1e-12));
  return std::exp(sum / static_cast<double>(high - low + 1));
}

// Lowest frequency down to which the level stays near that of the mid band.
double find_reach(const HeadSet& set) {
  const std::vector<double> power = smooth_power(set.diffuse_power(), kSmoothingOctaves);
  const double least =
      mean_level(power, kReachLowHz, kReachHighHz) * std::pow(10.0, kReachDb / 10.0);
  size_t bin = nearest_bin(kReachLowHz);
  while (bin > 1 && power[bin - 1] > least) --bin;
  return bin_hz(bin);
}

void hold_ends(std::vector<double>* gain, size_t low, size_t high) {
  for (size_t k = 0; k < low; ++k) (*gain)[k] = (*gain)[low];
  for (size_t k = high + 1; k < kBins; ++k) (*gain)[k] = (*gain)[high];
}

// Loudspeaker and ear canal are in every response alike: the average is divided out.
void equalise_diffuse_field(HeadSet* set) {
  std::vector<double> gain = smooth_power(set->diffuse_power(), kSmoothingOctaves);
  for (double& g : gain) g = 1.0 / std::sqrt(g);
  hold_ends(&gain, nearest_bin(kLowestEqualisedHz), nearest_bin(kHighestEqualisedHz));
  multiply(set, minimum_phase(gain));
}

// Below `edge` the level in dB runs to 0 with the square of the frequency, and the phase to that of
// a delay, which is read from the octave above.
void extend_low_frequencies(HeadSet* set, size_t edge) {
  std::vector<double> phases(edge);
  each_spectrum(set, [&](Complex* bins, size_t) {
    for (size_t k = 0; k < edge; ++k) phases[k] = std::arg(bins[edge + k]);
    unwrap(phases);
    double cross = 0.0, square = 0.0;
    for (size_t k = 0; k < edge; ++k) {
      cross += phases[k] * bin_hz(edge + k);
      square += bin_hz(edge + k) * bin_hz(edge + k);
    }
    const double delay = -cross / square / (2.0 * kPi);
    const double level = std::abs(bins[edge]);
    const double rest = std::arg(bins[edge] / delay_phase(delay, bin_hz(edge)));
    for (size_t k = 0; k < edge; ++k) {
      const double ratio = static_cast<double>(k) / static_cast<double>(edge);
      bins[k] =
          std::polar(std::pow(level, ratio * ratio), rest * ratio) * delay_phase(delay, bin_hz(k));
    }
  });
}

// The smoothed, energy-weighted mean group delay, so that time 0 is common.
void remove_common_group_delay(HeadSet* set) {
  std::vector<Complex> cross(kBins - 1);
  each_spectrum(set, [&](Complex* bins, size_t i) {
    for (size_t k = 0; k + 1 < kBins; ++k) {
      cross[k] += set->weights[i] * bins[k + 1] * std::conj(bins[k]);
    }
  });
  std::vector<double> advance(kBins - 1), middles(kBins - 1), step(kBins - 1);
  for (size_t k = 0; k + 1 < kBins; ++k) {
    advance[k] = std::arg(cross[k]);
    middles[k] = bin_hz(k) + 0.5 * kBinHz;
  }
  const auto last = static_cast<size_t>(kGroupDelayHighestHz / kBinHz);
  for (size_t k = 0; k + 1 < kBins; ++k) {
    step[k] = k <= last ? smooth_at(advance, middles, middles[k], kGroupDelayOctaves) : step[last];
  }
  std::vector<Complex> turn(kBins, 1.0);
  double phase = 0.0;
  for (size_t k = 1; k < kBins; ++k) turn[k] = std::polar(1.0, -(phase += step[k - 1]));
  multiply(set, turn);
}

// What needs the whole sphere: a last small correction of level, and the band limit.
void finish(HeadSet* set) {
  std::vector<double> gain = smooth_power(set->diffuse_power(), kSmoothingOctaves);
  for (double& g : gain) g = 1.0 / std::sqrt(g);
  hold_ends(&gain, 0, nearest_bin(kHighestEqualisedHz));
  std::vector<Complex> gains(kBins);
  for (size_t k = 0; k < kBins; ++k) {
    const double beyond =
        std::clamp((bin_hz(k) - kBandLimitLowHz) / (kBandLimitHighHz - kBandLimitLowHz), 0.0, 1.0);
    const double fade = 0.5 + 0.5 * std::cos(kPi * beyond);
    gains[k] = fade * (bin_hz(k) < kLowestEqualisedHz ? 1.0 : gain[k]);
  }
  multiply(set, gains);
}

}  // namespace

std::vector<double> HeadSet::diffuse_power(size_t ear) const {
  std::vector<double> power(kBins);
  for (size_t i = 0; i < directions.size(); ++i) {
    const Complex* const bins = spectrum(ear, i);
    for (size_t k = 0; k < kBins; ++k) power[k] += weights[i] * std::norm(bins[k]);
  }
  return power;
}

std::vector<double> HeadSet::diffuse_power() const {
  std::vector<double> power = diffuse_power(0);
  const std::vector<double> right = diffuse_power(1);
  for (size_t k = 0; k < kBins; ++k) power[k] = 0.5 * (power[k] + right[k]);
  return power;
}

HeadSet head_set_make(const MeasuredEars& measured) {
  HeadSet set;
  set.directions = measured.directions;
  set.num_measured = measured.directions.size();
  set.weights = capped_weights(set.directions);
  transform(measured, &set);
  remove_bulk_delay(&set);
  align_rings(&set);
  set.lowest_hz = find_reach(set);
  equalise_diffuse_field(&set);
  extend_low_frequencies(&set, nearest_bin(std::max(kExtensionHz, set.lowest_hz)));
  remove_common_group_delay(&set);
  fill_gaps(&set);
  finish(&set);
  return set;
}

}  // namespace ears
