// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/ear_fit.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "base/limits.h"

namespace ears {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr size_t kOrder = ORVANE_MAX_ORDER, kChannels = kTableChannels;
constexpr double kTransitionHz = 1750.0, kTransitionOctaves = 0.5;
constexpr double kRegularisation = 1e-4;  // relative to the diagonal of the SN3D Gram matrix
// Above the transition errors count in dB rather than in absolute level, to some extent.
constexpr double kLevelExponent = 0.35, kLowestRelativeLevel = 0.1;
constexpr double kDiffuseOctaves = 1.0 / 3.0, kDiffuseHighestHz = 16000.0;
constexpr double kDiffuseGainLow = 0.5, kDiffuseGainHigh = 2.0;
constexpr size_t kFadeIn = 16, kFadeOut = 32;  // taps
constexpr size_t kRounds = 12;
constexpr double kGain = 0.2339, kPolarity = -1.0;  // as the built-in table's

// The degrees' mean power over the sphere with SN3D.
double mean_power(size_t channel) {
  return 1.0 / (2.0 * static_cast<double>(degree_of(channel)) + 1.0);
}

// 0 where the phase is fitted too, 1 where it is free.
double magnitude_share(size_t bin) {
  if (bin == 0) return 0.0;
  return std::clamp(std::log2(bin_hz(bin) / kTransitionHz) / kTransitionOctaves + 0.5, 0.0, 1.0);
}

// Spectra of the harmonics, [channel][bin].
using Spectra = std::vector<Complex>;

Complex unit_phase(const Complex& value) {
  return value / std::max(std::sqrt(std::norm(value)), 1e-12);
}

// The fits of one ear.
class Fit {
 public:
  Fit(const HeadSet& set, size_t ear)
      : set_(set),
        ear_(ear),
        size_(set.directions.size()),
        power_(set.diffuse_power(ear)),
        wanted_power_(smooth_power(power_, kDiffuseOctaves)),
        basis_(size_ * kChannels),
        weights_(size_ * kBins) {
    for (size_t i = 0; i < size_; ++i) harmonics(set.directions[i], kOrder, &basis_[i * kChannels]);
    for (size_t k = 0; k < kBins; ++k) share_.push_back(magnitude_share(k));
    weigh();
    for (size_t k = 0; k < kBins; ++k) factors_.push_back(factor(k));
  }

  // From bin to bin, each taking its free phases from the fit of the bin below.
  Spectra first_pass() const {
    Spectra fitted(kChannels * kBins);
    for (size_t k = 0; k < kBins; ++k) {
      Complex right[kChannels] = {};
      for (size_t i = 0; i < size_; ++i) {
        const double* const y = &basis_[i * kChannels];
        Complex reached = 0.0;
        for (size_t c = 0; k > 0 && c < kChannels; ++c) reached += y[c] * fitted[c * kBins + k - 1];
        const Complex wanted = weights_[i * kBins + k] * find_wanted(i, k, reached);
        for (size_t c = 0; c < kChannels; ++c) right[c] += y[c] * wanted;
      }
      factors_[k].solve(right);
      for (size_t c = 0; c < kChannels; ++c) fitted[c * kBins + k] = right[c];
    }
    match_diffuse_field(&fitted);
    return fitted;
  }

  // Takes its free phases from an earlier fit.
  Spectra next_pass(const Spectra& earlier) const {
    Spectra right(kChannels * kBins), reached(kBins);
    for (size_t i = 0; i < size_; ++i) {
      const double* const y = &basis_[i * kChannels];
      std::fill(reached.begin(), reached.end(), Complex());
      for (size_t c = 0; c < kChannels; ++c) {
        for (size_t k = 0; k < kBins; ++k) reached[k] += y[c] * earlier[c * kBins + k];
      }
      for (size_t k = 0; k < kBins; ++k) {
        reached[k] = weights_[i * kBins + k] * find_wanted(i, k, reached[k]);
      }
      for (size_t c = 0; c < kChannels; ++c) {
        for (size_t k = 0; k < kBins; ++k) right[c * kBins + k] += y[c] * reached[k];
      }
    }
    for (size_t k = 0; k < kBins; ++k) {
      Complex values[kChannels];
      for (size_t c = 0; c < kChannels; ++c) values[c] = right[c * kBins + k];
      factors_[k].solve(values);
      for (size_t c = 0; c < kChannels; ++c) right[c * kBins + k] = values[c];
    }
    match_diffuse_field(&right);
    return right;
  }

 private:
  // Above the transition quiet directions get more weight. The weights of a bin add up to 1.
  void weigh() {
    std::vector<double> sums(kBins);
    for (size_t i = 0; i < size_; ++i) {
      for (size_t k = 0; k < kBins; ++k) {
        double& weight = weights_[i * kBins + k] = set_.weights[i];
        if (share_[k] > 0.0) {
          const double mean = std::max(std::sqrt(power_[k]), 1e-9);
          const double level = std::sqrt(std::norm(set_.spectrum(ear_, i)[k])) / mean;
          weight *= std::pow(std::max(level, kLowestRelativeLevel), -kLevelExponent * share_[k]);
        }
        sums[k] += weight;
      }
    }
    for (size_t n = 0; n < weights_.size(); ++n) weights_[n] /= sums[n % kBins];
  }

  Cholesky factor(size_t k) const {
    std::vector<double> gram(kChannels * kChannels);
    for (size_t i = 0; i < size_; ++i) {
      const double* const y = &basis_[i * kChannels];
      for (size_t a = 0; a < kChannels; ++a) {
        const double wy = weights_[i * kBins + k] * y[a];
        for (size_t b = 0; b <= a; ++b) gram[a * kChannels + b] += wy * y[b];
      }
    }
    for (size_t c = 0; c < kChannels; ++c) {
      gram[c * kChannels + c] += kRegularisation * mean_power(c);
    }
    return Cholesky(kChannels, std::move(gram));
  }

  // The target's magnitude with a phase between its own and the one reached.
  Complex find_wanted(size_t i, size_t k, const Complex& reached) const {
    const Complex target = set_.spectrum(ear_, i)[k];
    const double share = share_[k];
    if (share <= 0.0) return target;
    const Complex phase =
        share >= 1.0 ? reached : (1.0 - share) * unit_phase(target) + share * unit_phase(reached);
    return std::sqrt(std::norm(target)) * unit_phase(phase);
  }

  // Zero-phase gain that gives the mean over all directions the level it should have.
  void match_diffuse_field(Spectra* fitted) const {
    std::vector<double> reached(kBins);
    for (size_t c = 0; c < kChannels; ++c) {
      for (size_t k = 0; k < kBins; ++k) {
        reached[k] += mean_power(c) * std::norm((*fitted)[c * kBins + k]);
      }
    }
    reached = smooth_power(reached, kDiffuseOctaves);
    const size_t highest = nearest_bin(kDiffuseHighestHz);
    for (size_t k = 0; k < kBins; ++k) {
      const size_t at = std::min(k, highest);
      const double gain = std::sqrt(wanted_power_[at] / std::max(reached[at], 1e-12));
      for (size_t c = 0; c < kChannels; ++c) {
        (*fitted)[c * kBins + k] *= std::clamp(gain, kDiffuseGainLow, kDiffuseGainHigh);
      }
    }
  }

  const HeadSet& set_;
  size_t ear_, size_;
  std::vector<double> power_, wanted_power_, share_;  // per bin
  std::vector<double> basis_;                         // [direction][channel]
  std::vector<double> weights_;                       // [direction][bin]
  std::vector<Cholesky> factors_;                     // per bin
};

// Cosine fades at both ends, 1 between.
double window_at(size_t tap) {
  const auto raised = [](size_t from_end, size_t length) {
    const double position = (static_cast<double>(from_end) + 0.5) / static_cast<double>(length);
    return 0.5 - 0.5 * std::cos(kPi * position);
  };
  if (tap < kFadeIn) return raised(tap, kFadeIn);
  if (tap >= kTableTaps - kFadeOut) return raised(kTableTaps - 1 - tap, kFadeOut);
  return 1.0;
}

// Windowed responses of kTableTaps taps, channel after channel, at unit gain.
class Taps {
 public:
  Taps() : fft_(kFftSize) {
    for (size_t k = 0; k < kBins; ++k) origin_.push_back(delay_phase(kOriginS, bin_hz(k)));
  }

  std::vector<double> from_spectra(const Spectra& spectra) const {
    std::vector<double> taps(kTableSize);
    std::vector<Complex> samples(kFftSize);
    for (size_t c = 0; c < kChannels; ++c) {
      for (size_t k = 0; k < kBins; ++k) {
        samples[k] = spectra[c * kBins + k] * origin_[k];
        if (k > 0 && k < kBins - 1) samples[kFftSize - k] = std::conj(samples[k]);
      }
      samples[0] = samples[0].real();
      samples[kBins - 1] = samples[kBins - 1].real();
      fft_.inverse(samples);
      for (size_t t = 0; t < kTableTaps; ++t) {
        taps[c * kTableTaps + t] = window_at(t) * samples[t].real() / double{kFftSize};
      }
    }
    return taps;
  }

  Spectra to_spectra(const std::vector<double>& taps) const {
    Spectra spectra(kChannels * kBins);
    std::vector<Complex> samples(kFftSize);
    for (size_t c = 0; c < kChannels; ++c) {
      std::fill(samples.begin(), samples.end(), Complex());
      for (size_t t = 0; t < kTableTaps; ++t) samples[t] = taps[c * kTableTaps + t];
      fft_.forward(samples);
      for (size_t k = 0; k < kBins; ++k) spectra[c * kBins + k] = samples[k] / origin_[k];
    }
    return spectra;
  }

 private:
  static constexpr double kOriginS = int{BINAURALIZER_LATENCY} / kRateHz;

  Fft fft_;
  std::vector<Complex> origin_;
};

// Alternates between the fit and what a table can hold. Each round goes beyond the step that it
// found, by as much again as the last one went, which halves their number (N. Perraudin, P. Balazs
// and P. L. Sondergaard, "A fast Griffin-Lim algorithm", WASPAA 2013).
std::vector<float> fit_ear(const HeadSet& set, size_t ear) {
  const Fit fit(set, ear);
  const Taps converter;
  std::vector<double> taps = converter.from_spectra(fit.first_pass()), ahead = taps;
  for (size_t round = 0; round < kRounds; ++round) {
    const std::vector<double> last = taps;
    taps = converter.from_spectra(fit.next_pass(converter.to_spectra(ahead)));
    for (size_t i = 0; i < taps.size(); ++i) ahead[i] = 2.0 * taps[i] - last[i];
  }
  std::vector<float> table(kTableSize);
  for (size_t c = 0; c < kChannels; ++c) {
    for (size_t t = 0; t < kTableTaps; ++t) {
      table[t * kChannels + c] = static_cast<float>(kPolarity * kGain * taps[c * kTableTaps + t]);
    }
  }
  return table;
}

}  // namespace

EarTables ear_tables_fit(const HeadSet& set) {
  EarTables tables;
  for (size_t ear = 0; ear < kNumEars; ++ear) tables.ears[ear] = fit_ear(set, ear);
  return tables;
}

std::vector<Complex> ear_table_spectra(const std::vector<float>& table) {
  std::vector<double> taps(kTableSize);
  for (size_t i = 0; i < kTableSize; ++i) {
    const size_t channel = i % kChannels, tap = i / kChannels;
    taps[channel * kTableTaps + tap] = static_cast<double>(table[i]) / (kPolarity * kGain);
  }
  return Taps().to_spectra(taps);
}

}  // namespace ears
