// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/ear_quality.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/limits.h"

namespace ears {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr double kLowestHz = 100.0, kHighestHz = 16000.0;  // centres of the first and last band
constexpr double kSplitHz = 2000.0, kIldLowestHz = 1500.0, kItdHighestHz = 1500.0;
constexpr double kItdElevation = 31.0 * kDegree;
constexpr double kMaxLagS = 1.2e-3;
constexpr size_t kLagOversampling = 4;

// Bands one ERB apart (B. R. Glasberg and B. C. J. Moore, "Derivation of auditory filter shapes
// from notched-noise data", Hearing Research 47, 1990), with the skirts of a fourth-order
// gammatone.
struct Band {
  double centre_hz;
  std::vector<double> weights;  // per bin, sum 1
};

std::vector<Band> make_bands() {
  const auto number = [](double hz) { return 21.4 * std::log10(1.0 + 0.00437 * hz); };
  std::vector<Band> bands;
  for (double n = number(kLowestHz); n < number(kHighestHz) + 1e-6; n += 1.0) {
    Band band = {(std::pow(10.0, n / 21.4) - 1.0) / 0.00437, std::vector<double>(kBins)};
    const double width = 1.019 * 24.7 * (0.00437 * band.centre_hz + 1.0);
    double sum = 0.0;
    for (size_t k = 0; k < kBins; ++k) {
      const double offset = (bin_hz(k) - band.centre_hz) / width;
      sum += band.weights[k] = std::pow(1.0 + offset * offset, -4.0);
    }
    for (double& weight : band.weights) weight /= sum;
    bands.push_back(std::move(band));
  }
  return bands;
}

double level_db(const Band& band, const Complex* bins) {
  double power = 0.0;
  for (size_t k = 0; k < kBins; ++k) power += band.weights[k] * std::norm(bins[k]);
  return 10.0 * std::log10(std::max(power, 1e-12));
}

// Lag of the largest cross-correlation of the ears, interpolated by a parabola.
class ItdMeter {
 public:
  ItdMeter() : fft_(kLagOversampling * kFftSize), work_(fft_.size()) {}

  double measure_us(const Complex* left, const Complex* right) {
    std::fill(work_.begin(), work_.end(), Complex());
    for (size_t k = 1; k < kBins - 1; ++k) {
      const Complex cross =
          std::conj(left[k]) * right[k] / (1.0 + std::pow(bin_hz(k) / kItdHighestHz, 20.0));
      work_[k] = cross;
      work_[fft_.size() - k] = std::conj(cross);
    }
    fft_.inverse(work_);
    const double rate = kLagOversampling * kRateHz;
    const auto reach = static_cast<long>(kMaxLagS * rate);
    long best = -reach;
    for (long lag = -reach; lag <= reach; ++lag) {
      if (at(lag) > at(best)) best = lag;
    }
    const double curvature = at(best - 1) - 2.0 * at(best) + at(best + 1);
    const double beside = curvature < 0.0 ? 0.5 * (at(best - 1) - at(best + 1)) / curvature : 0.0;
    return 1e6 * (static_cast<double>(best) + beside) / rate;
  }

 private:
  double at(long lag) const {
    const auto size = static_cast<long>(work_.size());
    return work_[static_cast<size_t>((lag + size) % size)].real();
  }

  Fft fft_;
  std::vector<Complex> work_;
};

// What both ears hear of one direction through the tables.
class Listener {
 public:
  explicit Listener(const EarTables& tables) {
    for (size_t ear = 0; ear < kNumEars; ++ear) spectra_[ear] = ear_table_spectra(tables.ears[ear]);
  }

  void hear(const Direction& direction, size_t ear, std::vector<Complex>* bins) const {
    double harmonic[kTableChannels];
    harmonics(direction, ORVANE_MAX_ORDER, harmonic);
    bins->assign(kBins, Complex());
    for (size_t c = 0; c < kTableChannels; ++c) {
      for (size_t k = 0; k < kBins; ++k) (*bins)[k] += harmonic[c] * spectra_[ear][c * kBins + k];
    }
  }

 private:
  std::vector<Complex> spectra_[kNumEars];
};

}  // namespace

EarQuality ear_quality_measure(const HeadSet& set, const EarTables& tables) {
  const std::vector<Band> bands = make_bands();
  const Listener listener(tables);
  ItdMeter itd;
  EarQuality sums;
  double weight_sum = 0.0, itd_weight_sum = 0.0, high_bands = 0.0, ild_bands = 0.0;
  for (const Band& band : bands) {
    high_bands += band.centre_hz >= kSplitHz;
    ild_bands += band.centre_hz >= kIldLowestHz;
  }
  std::vector<Complex> heard[kNumEars];
  for (size_t i = 0; i < set.num_measured; ++i) {
    const double weight = set.weights[i];
    for (size_t ear = 0; ear < kNumEars; ++ear) {
      listener.hear(set.directions[i], ear, &heard[ear]);
    }
    for (const Band& band : bands) {
      double errors[kNumEars];
      for (size_t ear = 0; ear < kNumEars; ++ear) {
        errors[ear] = level_db(band, heard[ear].data()) - level_db(band, set.spectrum(ear, i));
        const double error = weight * std::fabs(errors[ear]) / kNumEars;
        sums.level_db += error / static_cast<double>(bands.size());
        if (band.centre_hz >= kSplitHz) sums.high_level_db += error / high_bands;
      }
      if (band.centre_hz < kIldLowestHz) continue;
      sums.ild_db += weight * std::fabs(errors[0] - errors[1]) / ild_bands;
    }
    weight_sum += weight;
    if (std::fabs(set.directions[i].elevation) > kItdElevation) continue;
    const double measured = itd.measure_us(set.spectrum(0, i), set.spectrum(1, i));
    const double reached = itd.measure_us(heard[0].data(), heard[1].data());
    sums.itd_us += weight * std::fabs(reached - measured);
    itd_weight_sum += weight;
  }
  return {sums.level_db / weight_sum, sums.high_level_db / weight_sum, sums.ild_db / weight_sum,
          itd_weight_sum > 0.0 ? sums.itd_us / itd_weight_sum : 0.0};
}

}  // namespace ears
