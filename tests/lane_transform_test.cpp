#include "numerics/lane_transform.h"

#include <gtest/gtest.h>
#include <math.h>

#include <complex>
#include <vector>

#include "base/result.h"
#include "numerics/mix_spectra.h"
#include "tests/support/signals.h"

namespace {

using Spectrum = std::vector<std::complex<double>>;

// Bins 0 to size / 2 of the padded signal, as the definition has them.
Spectrum transform(const std::vector<float>& signal, uint32_t size) {
  Spectrum roots(size), spectrum(size / 2 + 1);
  for (uint32_t k = 0; k < size; ++k) roots[k] = std::polar(1.0, -2.0 * M_PI * k / size);
  for (uint32_t k = 0; k <= size / 2; ++k) {
    for (uint32_t n = 0; n < signal.size(); ++n) {
      spectrum[k] += static_cast<double>(signal[n]) * roots[k * n % size];
    }
  }
  return spectrum;
}

struct Lanes {
  uint32_t size;
  lane_transform_t t;
  explicit Lanes(uint32_t n) : size(n) { EXPECT_EQ(UBR_OK, lane_transform_init(&t, n)); }
  ~Lanes() { lane_transform_cleanup(&t); }

  std::vector<float> pack(const Planar& rows) const {
    std::vector<float> packed;
    for (size_t first = 0; first < rows.size(); first += kTransformLanes) {
      std::vector<float> batch(batch_size(size), NAN);
      const uint32_t frames = static_cast<uint32_t>(rows[0].size());
      lane_transform_forward(t, rows.data() + first, frames, batch.data());
      packed.insert(packed.end(), batch.begin(), batch.end());
    }
    return packed;
  }
  // By a sum of its own, and as the second of two.
  Spectrum mix(const std::vector<float>& packed, const std::vector<float>& responses) const {
    const uint32_t count = static_cast<uint32_t>(packed.size() / batch_size(size));
    std::vector<float> sum(size, NAN), other(size, NAN), second(size, NAN);
    const spectrum_sum_t alone = {responses.data(), sum.data()};
    const spectrum_sum_t both[] = {{packed.data(), other.data()},
                                   {responses.data(), second.data()}};
    mix_spectra(t, packed.data(), count, &alone, 1);
    mix_spectra(t, packed.data(), count, both, 2);
    EXPECT_EQ(sum, second);
    Spectrum spectrum(size / 2 + 1);
    const std::vector<double> parts(sum.begin(), sum.end());
    for (uint32_t k = 1; k < size / 2; ++k) spectrum[k] = {parts[2 * k], parts[2 * k + 1]};
    spectrum[0] = parts[0];
    spectrum[size / 2] = parts[1];
    return spectrum;
  }
};

void put(std::vector<float>* batches, uint32_t lane, const Spectrum& spectrum) {
  const size_t bins = spectrum.size() - 1;
  float* const batch = batches->data() + lane / kTransformLanes * bins * 2 * kTransformLanes;
  for (size_t k = 0; k < bins; ++k) {
    float* const bin = batch + 2 * k * kTransformLanes + lane % kTransformLanes;
    bin[0] = static_cast<float>(spectrum[k].real());
    bin[kTransformLanes] = static_cast<float>(k ? spectrum[k].imag() : spectrum[bins].real());
  }
}

// Largest error of a bin over the largest bin; NaN when a bin is NaN.
double distance(const Spectrum& expected, const Spectrum& actual) {
  double largest = 0.0, level = 0.0;
  for (size_t k = 0; k < expected.size(); ++k) {
    const double error = abs(expected[k] - actual[k]);
    if (isnan(error)) return error;
    largest = std::max(largest, error);
    level = std::max(level, abs(expected[k]));
  }
  return largest / level;
}

// Every first and last pass, with blocks that end inside a tile, fill the transform or are tiny.
TEST(LaneTransformTest, ProductsAreThoseOfTheDefinition) {
  const uint32_t shapes[][3] = {{32, 32, 8},    {64, 1, 16},    {160, 77, 8},    {192, 192, 24},
                                {512, 256, 16}, {768, 480, 16}, {1280, 1024, 8}, {1280, 1280, 16}};
  for (const auto& [size, frames, channels] : shapes) {
    const Lanes lanes(size);
    const Planar rows = planar_noise(channels, frames, 1);
    std::vector<float> responses(batch_size(size) * count_batches(channels));
    Spectrum expected(size / 2 + 1);
    for (uint32_t c = 0; c < channels; ++c) {
      const Spectrum response = transform(noise(20, 50 + c), size);
      const Spectrum channel = transform(rows[c], size);
      put(&responses, c, response);
      for (size_t k = 0; k < expected.size(); ++k) expected[k] += 2.0 * channel[k] * response[k];
    }
    // 2e-7 were measured.
    EXPECT_LT(distance(expected, lanes.mix(lanes.pack(rows), responses)), 1e-6)
        << channels << " channels of " << frames << " samples, transformed at " << size;
  }
}

TEST(LaneTransformTest, NoBatchIsSilence) {
  const Lanes lanes(32);
  EXPECT_EQ(Spectrum(17), lanes.mix({}, {}));
}

TEST(LaneTransformTest, RefusesWhatThePassesDoNotMake) {
  for (const uint32_t size : {0u, 16u, 33u, 48u, 80u, 288u, 480u, 544u, 131072u}) {
    lane_transform_t t;
    EXPECT_EQ(UBR_INVALID, lane_transform_init(&t, size)) << size;
    lane_transform_cleanup(&t);
  }
}

}  // namespace
