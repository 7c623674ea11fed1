// SPDX-License-Identifier: Apache-2.0
#include "numerics/lane_transform.h"

#include <gtest/gtest.h>
#include <math.h>
#include <stdio.h>

#include <complex>
#include <numbers>
#include <vector>

#include "base/result.h"
#include "numerics/mix_spectra.h"
#include "numerics/pair_transform.h"
#include "tests/support/signals.h"

namespace {

using Spectrum = std::vector<std::complex<double>>;

// The definition's sums in double precision, without scaling; `sign` is -1 forward and 1 inverse.
Spectrum transform(const Spectrum& signal, double sign) {
  const size_t size = signal.size();
  if (size == 1) return signal;
  const size_t radix = size % 2 == 0 ? 2 : size % 3 == 0 ? 3 : 5, part = size / radix;
  Spectrum sum(size);
  for (size_t j = 0; j < radix; ++j) {
    Spectrum every_radixth(part);
    for (size_t n = 0; n < part; ++n) every_radixth[n] = signal[n * radix + j];
    const Spectrum spectrum = transform(every_radixth, sign);
    for (size_t k = 0; k < size; ++k) {
      const double turns = static_cast<double>(j * k % size) / static_cast<double>(size);
      sum[k] += std::polar(1.0, sign * 2.0 * std::numbers::pi * turns) * spectrum[k % part];
    }
  }
  return sum;
}

// Bins 0 to size / 2 of the padded signal.
Spectrum transform(const std::vector<float>& signal, uint32_t size) {
  Spectrum padded(signal.begin(), signal.end());
  padded.resize(size);
  Spectrum spectrum = transform(padded, -1.0);
  spectrum.resize(size / 2 + 1);
  return spectrum;
}

// Even samples as real, odd ones as imaginary parts.
Spectrum pair_samples(const std::vector<float>& signal) {
  Spectrum pairs(signal.size() / 2);
  for (size_t n = 0; n < pairs.size(); ++n) pairs[n] = {signal[2 * n], signal[2 * n + 1]};
  return pairs;
}

// A lane's bins of a batch.
Spectrum find_lane(const std::vector<float>& batch, uint32_t lane) {
  Spectrum bins(batch.size() / (2 * kTransformLanes));
  for (size_t k = 0; k < bins.size(); ++k) {
    const float* const bin = &batch[2 * k * kTransformLanes + lane];
    bins[k] = {bin[0], bin[kTransformLanes]};
  }
  return bins;
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
    std::vector<float> sum(size + 2, NAN), other(size + 2, NAN), second(size + 2, NAN);
    const spectrum_sum_t alone = {responses.data(), sum.data()};
    const spectrum_sum_t both[] = {{packed.data(), other.data()},
                                   {responses.data(), second.data()}};
    mix_spectra(t, packed.data(), count, &alone, 1);
    mix_spectra(t, packed.data(), count, both, 2);
    EXPECT_EQ(sum, second);
    Spectrum spectrum(size / 2 + 1);
    for (size_t k = 0; k < spectrum.size(); ++k) spectrum[k] = {sum[k], sum[spectrum.size() + k]};
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

// The error that lane_transform.h states, of both directions.
TEST(LaneTransformTest, EveryLengthIsAsExactAsDocumented) {
  uint32_t lengths = 0;
  for (uint32_t size = 32; size <= 65536; size += 32) {
    lane_transform_t t;
    const uint32_t code = lane_transform_init(&t, size);
    lane_transform_cleanup(&t);
    if (code != UBR_OK) continue;
    ++lengths;
    const Lanes lanes(size);
    const Planar rows = planar_noise(kTransformLanes, size, 1);
    Planar back(kTransformLanes, size);
    const std::vector<float> packed = lanes.pack(rows), noise_bins = noise(8 * size, 2);
    std::vector<float> used_up = noise_bins;
    lane_transform_inverse(lanes.t, used_up.data(), back.data(), size);
    double forward = 0.0, inverse = 0.0;
    for (uint32_t lane = 0; lane < kTransformLanes; ++lane) {
      forward = std::max(
          forward, distance(transform(pair_samples(rows[lane]), -1.0), find_lane(packed, lane)));
      inverse = std::max(
          inverse, distance(transform(find_lane(noise_bins, lane), 1.0), pair_samples(back[lane])));
    }
    printf("%5u samples: error %.1e forward, %.1e inverse\n", size, forward, inverse);
    const double documented = size <= 40960 ? 2e-7 : 2.5e-7;
    EXPECT_LT(forward, documented) << size;
    EXPECT_LT(inverse, documented) << size;
  }
  EXPECT_EQ(31u, lengths);
}

// Every lane with a response of its own, in the batch's place, and rows that end inside a tile.
TEST(LaneTransformTest, MultipliedSpectraComeBackAsConvolutions) {
  for (const uint32_t size : {32u, 96u, 160u, 256u, 768u}) {
    const Lanes lanes(size);
    const uint32_t taps = 9, frames = size - taps + 1, kept = size - 3;
    const Planar rows = planar_noise(kTransformLanes, frames, 1);
    std::vector<float> responses = lanes.pack(planar_noise(kTransformLanes, taps, 50));
    std::vector<float> batch = lanes.pack(rows);
    unpack_spectra(lanes.t, responses.data(), 0.5f / static_cast<float>(size));
    Planar product(kTransformLanes, size);
    for (uint32_t lane = 0; lane < kTransformLanes; ++lane) product[lane][kept] = 7.0f;
    multiply_spectra(lanes.t, batch.data(), responses.data(), batch.data());
    lane_transform_inverse(lanes.t, batch.data(), product.data(), kept);
    for (uint32_t lane = 0; lane < kTransformLanes; ++lane) {
      const std::vector<float> response = noise(taps, 50 + lane);
      std::vector<float> expected(size);
      for (uint32_t n = 0; n < frames; ++n) {
        for (uint32_t k = 0; k < taps; ++k) expected[n + k] += rows[lane][n] * response[k];
      }
      std::fill(expected.begin() + kept, expected.end(), 0.0f);
      expected[kept] = 7.0f;  // beyond the frames nothing is written
      EXPECT_LT(max_difference(expected, product[lane]), 5e-6f) << size << ", lane " << lane;
    }
  }
}

// Lengths of every first and last pass, against the inverse transform of each spectrum.
TEST(PairTransformTest, WritesSumAndDifferenceOfTheSignals) {
  for (const uint32_t size : {128u, 256u, 384u, 512u, 640u, 768u, 1280u, 65536u}) {
    pair_transform_t t;
    ASSERT_EQ(UBR_OK, pair_transform_init(&t, size));
    const uint32_t bins = size / 2, stored = pair_spectrum_size(size);
    Planar spectra = planar_noise(2, stored, 1), samples(2, size);
    Spectrum expected[2];
    for (size_t x : {0u, 1u}) {
      float *const re = spectra[x].data(), *const im = re + bins + 1;
      im[0] = im[bins] = 0.0f;
      Spectrum whole(size);
      for (uint32_t k = 0; k <= bins; ++k) whole[k] = {re[k], im[k]};
      for (uint32_t k = 1; k < bins; ++k) whole[size - k] = conj(whole[k]);
      expected[x] = transform(whole, 1.0);
    }
    std::vector<float> work(pair_work_size(size), NAN);
    pair_transform_inverse(t, spectra.data()[0], spectra.data()[1], work.data(), samples.data()[0],
                           samples.data()[1]);
    Spectrum sum(size), difference(size);
    for (uint32_t n = 0; n < size; ++n) {
      sum[n] = expected[0][n] + expected[1][n];
      difference[n] = expected[0][n] - expected[1][n];
    }
    const auto doubled = [](const std::vector<float>& x) { return Spectrum(x.begin(), x.end()); };
    const double documented = size <= 40960 ? 2e-7 : 2.5e-7;
    EXPECT_LT(distance(sum, doubled(samples[0])), documented) << size;
    EXPECT_LT(distance(difference, doubled(samples[1])), documented) << size;
    pair_transform_cleanup(&t);
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
