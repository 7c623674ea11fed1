// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/gap_filling.h"

#include <algorithm>
#include <cmath>

#include "tools/ears/ring_alignment.h"

namespace ears {
namespace {

constexpr size_t kResponseOrder = 4, kDelayOrder = 3;
constexpr double kResponseRoughness = 3e-3, kDelayRoughness = 1e-3;
constexpr size_t kLattice = 800;  // directions of the whole sphere, before the measured part is cut

// n (n + 1) is the eigenvalue of the sphere's Laplacian: its square penalises curvature.
HarmonicFit smooth_fit(const HeadSet& set, size_t order, double roughness) {
  std::vector<double> penalty((order + 1) * (order + 1));
  for (size_t c = 0; c < penalty.size(); ++c) {
    const auto n = static_cast<double>(degree_of(c));
    penalty[c] = roughness * n * (n + 1.0) * n * (n + 1.0);
  }
  return HarmonicFit({set.directions.data(), set.num_measured}, set.weights, order, penalty);
}

std::vector<Direction> gap_directions(const std::vector<Direction>& measured) {
  std::vector<Vector> vectors;
  for (const Direction& d : measured) vectors.push_back(unit_vector(d));
  const double cosine = std::cos(reach_of(measured));
  std::vector<Direction> gaps;
  for (const Direction& d : spread_directions(kLattice)) {
    if (nearest_cosine(unit_vector(d), vectors) < cosine) gaps.push_back(d);
  }
  return gaps;
}

// A map fitted to the measured directions, at one of the new ones.
class Map {
 public:
  Map(const HarmonicFit& fit, size_t columns)
      : channels_(fit.channels()), values_(columns * channels_) {}

  Complex* column(size_t k) { return &values_[k * channels_]; }
  Complex at(size_t k, const double* harmonics) const {
    Complex sum = 0.0;
    for (size_t c = 0; c < channels_; ++c) sum += values_[k * channels_ + c] * harmonics[c];
    return sum;
  }

 private:
  size_t channels_;
  std::vector<Complex> values_;
};

void fill_ear(HeadSet* set, size_t ear, const std::vector<Direction>& gaps,
              const HarmonicFit& response_fit, const HarmonicFit& delay_fit) {
  const size_t m = set->num_measured;
  std::vector<Complex> delays(m), levels(m * kBins), phases(m * kBins);
  for (size_t i = 0; i < m; ++i) {
    const Complex* const bins = set->spectrum(ear, i);
    delays[i] = onset_delay(bins);
    for (size_t k = 0; k < kBins; ++k) {
      const Complex aligned = bins[k] / delay_phase(delays[i].real(), bin_hz(k));
      const double magnitude = std::abs(aligned);
      levels[i * kBins + k] = std::log(std::max(magnitude, 1e-4));
      phases[i * kBins + k] = aligned / std::max(magnitude, 1e-9);
    }
  }
  Map delay(delay_fit, 1), level(response_fit, kBins), phase(response_fit, kBins);
  delay_fit.solve(delays.data(), 1, delay.column(0));
  for (size_t k = 0; k < kBins; ++k) {
    response_fit.solve(&levels[k], kBins, level.column(k));
    response_fit.solve(&phases[k], kBins, phase.column(k));
  }
  double harmonic[(kResponseOrder + 1) * (kResponseOrder + 1)];
  for (const Direction& d : gaps) {
    harmonics(d, kResponseOrder, harmonic);
    const double seconds = delay.at(0, harmonic).real();
    for (size_t k = 0; k < kBins; ++k) {
      const double magnitude = std::exp(level.at(k, harmonic).real());
      set->spectra[ear].push_back(std::polar(magnitude, std::arg(phase.at(k, harmonic))) *
                                  delay_phase(seconds, bin_hz(k)));
    }
  }
}

}  // namespace

void fill_gaps(HeadSet* set) {
  const std::vector<Direction> gaps = gap_directions(set->directions);
  if (!gaps.empty()) {
    const HarmonicFit response_fit = smooth_fit(*set, kResponseOrder, kResponseRoughness);
    const HarmonicFit delay_fit = smooth_fit(*set, kDelayOrder, kDelayRoughness);
    for (size_t ear = 0; ear < kNumEars; ++ear) {
      fill_ear(set, ear, gaps, response_fit, delay_fit);
    }
    set->directions.insert(set->directions.end(), gaps.begin(), gaps.end());
  }
  set->weights = area_weights(set->directions);
}

}  // namespace ears
