// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/frequency_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace ears {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr size_t kCepstrumOversampling = 8;  // keeps the folded cepstrum from aliasing

}  // namespace

size_t nearest_bin(double hz) {
  return std::min(static_cast<size_t>(std::lround(std::max(hz, 0.0) / kBinHz)), kBins - 1);
}

Complex delay_phase(double seconds, double hz) {
  return std::polar(1.0, -2.0 * kPi * hz * seconds);
}

Fft::Fft(size_t size) : reversed_(size), twiddles_(size / 2) {
  for (size_t i = 1; i < size; ++i) {
    reversed_[i] = reversed_[i / 2] / 2 + static_cast<uint32_t>(i % 2 ? size / 2 : 0);
  }
  for (size_t k = 0; k < size / 2; ++k) {
    twiddles_[k] = std::polar(1.0, -2.0 * kPi * static_cast<double>(k) / static_cast<double>(size));
  }
}

void Fft::run(std::span<Complex> x, bool inverse) const {
  const size_t size = reversed_.size();
  for (size_t i = 0; i < size; ++i) {
    if (i < reversed_[i]) std::swap(x[i], x[reversed_[i]]);
  }
  const double sign = inverse ? -1.0 : 1.0;
  for (size_t half = 1; half < size; half *= 2) {
    const size_t step = size / (2 * half);
    for (size_t k = 0; k < half; ++k) {
      const double re = twiddles_[k * step].real(), im = sign * twiddles_[k * step].imag();
      for (size_t i = k; i < size; i += 2 * half) {
        const Complex a = x[i], b = x[i + half];
        const Complex turned(b.real() * re - b.imag() * im, b.real() * im + b.imag() * re);
        x[i] = a + turned;
        x[i + half] = a - turned;
      }
    }
  }
}

GridTransform::GridTransform(double rate_hz, size_t samples)
    : fft_(std::bit_ceil(samples + kBins)),
      chirp_(std::max(samples, kBins)),
      filter_(fft_.size()),
      work_(fft_.size()) {
  const double angle = kPi * kBinHz / rate_hz;
  for (size_t i = 0; i < chirp_.size(); ++i) {
    const double n = static_cast<double>(i);
    chirp_[i] = std::polar(1.0, -angle * n * n);
    filter_[i] = i < kBins ? std::conj(chirp_[i]) : 0.0;
  }
  for (size_t i = 1; i < samples; ++i) filter_[fft_.size() - i] = std::conj(chirp_[i]);
  fft_.forward(filter_);
}

void GridTransform::run(std::span<const float> samples, Complex* bins) {
  std::fill(work_.begin(), work_.end(), Complex());
  for (size_t t = 0; t < samples.size(); ++t)
    work_[t] = static_cast<double>(samples[t]) * chirp_[t];
  fft_.forward(work_);
  for (size_t i = 0; i < work_.size(); ++i) work_[i] *= filter_[i];
  fft_.inverse(work_);
  const double scale = 1.0 / static_cast<double>(fft_.size());
  for (size_t k = 0; k < kBins; ++k) bins[k] = scale * work_[k] * chirp_[k];
}

double smooth_at(std::span<const double> values, std::span<const double> hz, double centre_hz,
                 double octaves) {
  double sum = 0.0, total = 0.0;
  for (size_t i = 0; i < values.size(); ++i) {
    const double distance = std::log2(hz[i] / centre_hz) / (0.5 * octaves);
    const double weight = std::exp(-0.5 * distance * distance) / hz[i];
    sum += weight * values[i];
    total += weight;
  }
  return sum / total;
}

std::vector<double> smooth_power(std::span<const double> power, double octaves) {
  std::vector<double> logs(kBins - 1), hz(kBins - 1), smoothed(kBins);
  for (size_t k = 1; k < kBins; ++k) {
    logs[k - 1] = std::log(std::max(power[k], 1e-12));
    hz[k - 1] = bin_hz(k);
  }
  for (size_t k = 1; k < kBins; ++k) {
    smoothed[k] = std::exp(smooth_at(logs, hz, bin_hz(k), octaves));
  }
  smoothed[0] = std::max(power[1], 1e-12);  // DC is infinitely many octaves away
  return smoothed;
}

std::vector<Complex> minimum_phase(std::span<const double> magnitude) {
  const Fft fft(kCepstrumOversampling * kFftSize);
  const size_t half = fft.size() / 2;
  std::vector<Complex> cepstrum(fft.size());
  for (size_t i = 0; i <= half; ++i) {
    const size_t bin = std::min(i / kCepstrumOversampling, kBins - 2);
    const double beyond = static_cast<double>(i) / kCepstrumOversampling - static_cast<double>(bin);
    const double low = std::log(std::max(magnitude[bin], 1e-9));
    const double high = std::log(std::max(magnitude[bin + 1], 1e-9));
    cepstrum[i] = low + beyond * (high - low);
    if (i > 0 && i < half) cepstrum[fft.size() - i] = cepstrum[i];
  }
  fft.inverse(cepstrum);
  for (Complex& value : cepstrum) value /= static_cast<double>(fft.size());
  for (size_t i = 1; i < half; ++i) cepstrum[i] *= 2.0;
  std::fill(cepstrum.begin() + static_cast<ptrdiff_t>(half) + 1, cepstrum.end(), Complex());
  fft.forward(cepstrum);
  std::vector<Complex> spectrum(kBins);
  for (size_t k = 0; k < kBins; ++k) spectrum[k] = std::exp(cepstrum[k * kCepstrumOversampling]);
  return spectrum;
}

void unwrap(std::span<double> phases) {
  for (size_t i = 1; i < phases.size(); ++i) {
    phases[i] += 2.0 * kPi * std::round((phases[i - 1] - phases[i]) / (2.0 * kPi));
  }
}

}  // namespace ears
