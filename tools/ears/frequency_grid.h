// SPDX-License-Identifier: Apache-2.0
// The frequency grid that ears are fitted on, and what is done on it.
#ifndef ORVANE_TOOLS_EARS_FREQUENCY_GRID_H_
#define ORVANE_TOOLS_EARS_FREQUENCY_GRID_H_

#include <complex>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "base/limits.h"

namespace ears {

using Complex = std::complex<double>;

constexpr double kRateHz = ORVANE_SAMPLE_RATE;
constexpr size_t kFftSize = 1024;
constexpr size_t kBins = kFftSize / 2 + 1;
constexpr double kBinHz = kRateHz / double{kFftSize};

inline double bin_hz(size_t bin) { return static_cast<double>(bin) * kBinHz; }
size_t nearest_bin(double hz);

// Spectrum of a pure delay at one frequency.
Complex delay_phase(double seconds, double hz);

// Transforms of one length, a power of two, in place and unscaled.
class Fft {
 public:
  explicit Fft(size_t size);
  size_t size() const { return reversed_.size(); }
  void forward(std::span<Complex> samples) const { run(samples, false); }
  void inverse(std::span<Complex> samples) const { run(samples, true); }

 private:
  void run(std::span<Complex> samples, bool inverse) const;

  std::vector<uint32_t> reversed_;
  std::vector<Complex> twiddles_;
};

// The Fourier transform of samples at any rate, evaluated at the bins of the grid, which resamples
// exactly (L. I. Bluestein, "A linear filtering approach to the computation of discrete Fourier
// transform", 1970).
class GridTransform {
 public:
  GridTransform(double rate_hz, size_t samples);

  // `samples` as many as announced; writes kBins values.
  void run(std::span<const float> samples, Complex* bins);

 private:
  Fft fft_;
  std::vector<Complex> chirp_, filter_, work_;
};

// Row-normalised Gaussian smoothing over log frequency: weights of bins `from`, at frequencies
// `hz`, around `centre_hz`. Dividing by the frequency makes up for the growing number of bins per
// octave.
double smooth_at(std::span<const double> values, std::span<const double> hz, double centre_hz,
                 double octaves);

// Smooths the logarithm of a power spectrum of kBins values over `octaves`.
std::vector<double> smooth_power(std::span<const double> power, double octaves);

// Minimum-phase spectrum of a magnitude response of kBins values, by its folded cepstrum.
std::vector<Complex> minimum_phase(std::span<const double> magnitude);

// Phases of successive bins without jumps beyond half a turn.
void unwrap(std::span<double> phases);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_FREQUENCY_GRID_H_
