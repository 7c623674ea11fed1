// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/ring_alignment.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <span>
#include <utility>

namespace ears {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDelayLowHz = 200.0, kDelayHighHz = 1500.0;
constexpr size_t kOrder = 5, kHarmonics = (kOrder + 1) * (kOrder + 1);
constexpr size_t kZonalOrder =
    2;  // harmonics that are constant on every ring: only these are smooth
constexpr double kOffsetCost = 1e-4;    // leaves to the harmonics what both can describe
constexpr double kHarmonicCost = 1e-9;  // keeps the solution defined
constexpr size_t kMinRing = 12;         // directions of a ring, on average

std::vector<size_t> smooth_channels() {
  std::vector<size_t> channels;
  for (size_t c = 0; c < kHarmonics; ++c) {
    const size_t n = degree_of(c);
    const bool is_zonal = c == n * n + n;
    if (!is_zonal || n <= kZonalOrder) channels.push_back(c);
  }
  return channels;
}

// Index of every direction's ring. One ring per whole degree of elevation.
std::vector<size_t> find_rings(const std::vector<Direction>& directions, size_t* count) {
  std::map<long, size_t> rings;
  std::vector<size_t> ring;
  for (const Direction& d : directions) {
    const long degrees = std::lround(d.elevation * 180.0 / kPi);
    ring.push_back(rings.emplace(degrees, rings.size()).first->second);
  }
  *count = rings.size();
  return ring;
}

// Weighted least squares of the delays by smooth harmonics and an offset per ring; the offsets.
std::vector<double> fit_offsets(const HeadSet& set, const std::vector<double>& delays,
                                const std::vector<size_t>& ring, size_t num_rings) {
  const std::vector<size_t> channels = smooth_channels();
  const size_t size = channels.size() + num_rings;
  std::vector<double> gram(size * size), row(size);
  std::vector<Complex> right(size);
  double harmonic[kHarmonics];
  for (size_t i = 0; i < set.directions.size(); ++i) {
    harmonics(set.directions[i], kOrder, harmonic);
    std::fill(row.begin(), row.end(), 0.0);
    for (size_t c = 0; c < channels.size(); ++c) row[c] = harmonic[channels[c]];
    row[channels.size() + ring[i]] = 1.0;
    for (size_t a = 0; a < size; ++a) {
      right[a] += set.weights[i] * row[a] * delays[i];
      for (size_t b = 0; b <= a; ++b) gram[a * size + b] += set.weights[i] * row[a] * row[b];
    }
  }
  for (size_t a = 0; a < size; ++a) {
    gram[a * size + a] += a < channels.size() ? kHarmonicCost : kOffsetCost;
  }
  Cholesky(size, std::move(gram)).solve(right.data());
  std::vector<double> offsets;
  for (size_t r = 0; r < num_rings; ++r) offsets.push_back(right[channels.size() + r].real());
  return offsets;
}

}  // namespace

double onset_delay(const Complex* bins) {
  const auto low = static_cast<size_t>(std::ceil(kDelayLowHz / kBinHz));
  const auto high = static_cast<size_t>(kDelayHighHz / kBinHz);
  std::vector<double> phases(high + 1);
  for (size_t k = low; k <= high; ++k) phases[k] = std::arg(bins[k]);
  unwrap(std::span(phases).subspan(low));  // small enough there to start from; DC may have any sign
  double cross = 0.0, square = 0.0;
  for (size_t k = low; k <= high; ++k) {
    const double energy = std::norm(bins[k]);
    cross += energy * phases[k] * bin_hz(k);
    square += energy * bin_hz(k) * bin_hz(k);
  }
  return square > 0.0 ? -cross / square / (2.0 * kPi) : 0.0;
}

void align_rings(HeadSet* set) {
  const size_t size = set->directions.size();
  size_t num_rings = 0;
  const std::vector<size_t> ring = find_rings(set->directions, &num_rings);
  if (num_rings < 2 || num_rings * kMinRing > size) return;
  std::vector<double> delays(size);
  for (size_t i = 0; i < size; ++i) {
    for (size_t ear = 0; ear < kNumEars; ++ear) {
      delays[i] += onset_delay(set->spectrum(ear, i)) / kNumEars;
    }
  }
  const std::vector<double> offsets = fit_offsets(*set, delays, ring, num_rings);
  double mean = 0.0;
  for (size_t i = 0; i < size; ++i) mean += set->weights[i] * offsets[ring[i]];
  for (size_t ear = 0; ear < kNumEars; ++ear) {
    for (size_t i = 0; i < size; ++i) {
      Complex* const bins = set->spectrum(ear, i);
      for (size_t k = 0; k < kBins; ++k) bins[k] *= delay_phase(mean - offsets[ring[i]], bin_hz(k));
    }
  }
}

}  // namespace ears
