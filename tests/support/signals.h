// SPDX-License-Identifier: Apache-2.0
// Deterministic signals and planar buffers for the tests.
#ifndef ORVANE_TESTS_SUPPORT_SIGNALS_H_
#define ORVANE_TESTS_SUPPORT_SIGNALS_H_

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

// `n` values in [-1, 1], the same on every machine for the same seed.
inline std::vector<float> noise(size_t n, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<float> samples(n);
  for (float& s : samples) s = static_cast<float>(static_cast<int32_t>(random())) * 0x1p-31f;
  return samples;
}

// `channels` zero-filled channels of `frames` samples, with the row pointers that modules take.
class Planar {
 public:
  Planar(size_t channels, size_t frames) : channels_(channels, std::vector<float>(frames)) {
    for (auto& channel : channels_) rows_.push_back(channel.data());
  }
  Planar(const Planar& other) : Planar(other.channels_.size(), 0) {
    for (size_t c = 0; c < channels_.size(); ++c) rows_[c] = (channels_[c] = other[c]).data();
  }
  Planar& operator=(const Planar&) = delete;

  void set(size_t c, std::vector<float> samples) {
    channels_[c] = std::move(samples);
    rows_[c] = channels_[c].data();
  }
  float** data() { return rows_.data(); }
  const float* const* data() const { return rows_.data(); }
  std::vector<float>& operator[](size_t c) { return channels_[c]; }
  const std::vector<float>& operator[](size_t c) const { return channels_[c]; }
  size_t size() const { return channels_.size(); }

 private:
  std::vector<std::vector<float>> channels_;
  std::vector<float*> rows_;
};

// Planar noise; every channel has its own seed.
inline Planar planar_noise(size_t channels, size_t frames, uint32_t seed) {
  Planar signal(channels, frames);
  for (size_t c = 0; c < channels; ++c) {
    std::ranges::copy(noise(frames, seed + static_cast<uint32_t>(c)), signal[c].begin());
  }
  return signal;
}

// Largest magnitude; NaN when a sample is NaN.
inline float peak(const std::vector<float>& samples) {
  float largest = 0.0f;
  for (const float s : samples) {
    if (isnan(s)) return s;
    largest = std::max(largest, fabsf(s));
  }
  return largest;
}

// Largest distance of two signals; NaN when a sample is NaN, infinite when the lengths differ.
inline float max_difference(const std::vector<float>& a, const std::vector<float>& b) {
  if (a.size() != b.size()) return INFINITY;
  std::vector<float> difference(a.size());
  for (size_t t = 0; t < a.size(); ++t) difference[t] = a[t] - b[t];
  return peak(difference);
}

#endif  // ORVANE_TESTS_SUPPORT_SIGNALS_H_
