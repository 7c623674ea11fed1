// The room as it is heard: tail and reflections measured in the ears.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "tests/support/test_renderer.h"

namespace {

constexpr double kRate = ORVANE_SAMPLE_RATE;
constexpr size_t kDirectEnd = 1024;  // samples after an impulse that only the direct sound takes

double energy(const std::vector<float>& samples, size_t begin) {
  double sum = 0.0;
  for (size_t t = begin; t < samples.size(); ++t) sum += std::pow(double{samples[t]}, 2.0);
  return sum;
}

// Seconds that the level of both ears together takes to fall by 60 dB, from the time between -5 and
// -25 dB of the energy that is still to come (Schroeder, "New method of measuring reverberation
// time", J. Acoust. Soc. Am. 37, 1965).
double reverberation_time(const Planar& ears) {
  const double total = energy(ears[0], kDirectEnd) + energy(ears[1], kDirectEnd);
  double to_come = 0.0, start = 0.0, end = 0.0;
  for (size_t t = ears[0].size(); t-- > kDirectEnd;) {
    to_come += std::pow(double{ears[0][t]}, 2.0) + std::pow(double{ears[1][t]}, 2.0);
    const double level_db = 10.0 * std::log10(to_come / total);
    if (level_db < -25.0) end = static_cast<double>(t);
    if (level_db < -5.0) start = static_cast<double>(t);
  }
  return 3.0 * (end - start) / kRate;
}

TEST(RoomTailTest, DecaysAsSetAndFillsBothEars) {
  const struct {
    float decay_s, level, spacing, tone_gain;
  } settings[] = {{0.25f, 0.1f, 80.0f, -1.0f},
                  {0.5f, 0.1f, 80.0f, 1.0f},
                  {1.0f, 0.5f, 40.0f, 0.0f},
                  {2.0f, 1.0f, 20.0f, -1.0f},
                  {1.5f, 0.2f, 120.0f, 1.0f}};
  double difference_db = 0.0;
  for (const auto& s : settings) {
    TestRenderer renderer(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 480, 1);
    const std::pair<uint32_t, float> values[] = {{UBR_REVERB_DECAY, s.decay_s},
                                                 {UBR_REVERB_LEVEL, s.level},
                                                 {UBR_REVERB_PULSE_SPACING, s.spacing},
                                                 {UBR_REVERB_TONE_GAIN, s.tone_gain}};
    for (const auto& [id, value] : values) {
      EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&renderer.r, id, value));
    }
    renderer.place(0, ENCODER_SOURCE_LOUDSPEAKER, 1.0f, 0.0f, 0.0f);
    Planar impulse(1, static_cast<size_t>((double{s.decay_s} + 0.1) * kRate));
    impulse[0][0] = 1.0f;
    const Planar ears = renderer.render(impulse, {480});
    // The envelope falls from the level to 0.001 over the decay time.
    const double expected = double{s.decay_s} * 60.0 / (20.0 * std::log10(double{s.level} / 0.001));
    EXPECT_NEAR(1.0, reverberation_time(ears) / expected, 0.1) << s.decay_s;
    difference_db += 10.0 * std::log10(energy(ears[0], kDirectEnd) / energy(ears[1], kDirectEnd));
  }
  EXPECT_LT(std::fabs(difference_db / std::size(settings)), 1.0);
}

TEST(RoomTailTest, FollowsTheSoundByThePreDelay) {
  for (const auto& [input_type, mode] : {std::pair{UBR_INPUT_SOURCES, UBR_MODE_BINAURAL_TRACKED},
                                         {UBR_INPUT_SOURCES, UBR_MODE_BINAURAL},
                                         {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL_TRACKED},
                                         {UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL}}) {
    SCOPED_TRACE(testing::Message() << "input " << input_type << ", mode " << mode);
    TestRenderer renderer(input_type, 4, mode, 480, 1);
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&renderer.r, UBR_REVERB_PRE_DELAY, 50.0f));
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&renderer.r, UBR_REVERB_TONE_ENABLE, 0.0f));
    if (input_type == UBR_INPUT_SOURCES) renderer.place(0, ENCODER_SOURCE_LFE, 1.0f, 0.0f, 0.0f);
    Planar input(4, 16000);
    input[0][0] = 1.0f;
    const Planar ears = renderer.render(input, {480});
    for (const auto& ear : {ears[0], ears[1]}) {
      // Rounding of the transforms, at first.
      EXPECT_LT(peak({ear.begin() + kDirectEnd, ear.begin() + 2400}), 1e-7f);
      const auto pulse = std::find_if(ear.begin() + 2400, ear.end() - 1,
                                      [](float s) { return std::fabs(s) > 1e-3f; });
      const double position = static_cast<double>(pulse - ear.begin() - 2399);
      EXPECT_NEAR(0.2 * 0.1 * std::pow(0.01, position / 12000.0), std::fabs(*pulse), 2e-5);
      EXPECT_LT(peak({ear.begin() + 2400 + 12000, ear.end()}), 1e-7f);
    }
  }
}

// The discrete Fourier transform of a power of two of samples, in their place.
void transform(std::vector<std::complex<double>>& x) {
  const size_t half = x.size() / 2;
  if (half == 0) return;
  std::vector<std::complex<double>> even(half), odd(half);
  for (size_t i = 0; i < half; ++i) {
    even[i] = x[2 * i];
    odd[i] = x[2 * i + 1];
  }
  transform(even);
  transform(odd);
  for (size_t k = 0; k < half; ++k) {
    const auto turned =
        odd[k] * std::polar(1.0, -M_PI * static_cast<double>(k) / static_cast<double>(half));
    x[k] = even[k] + turned;
    x[k + half] = even[k] - turned;
  }
}

// The highest level beyond 500 Hz from 1 kHz, in dB relative to the highest within.
double artefacts_db(const std::vector<float>& samples) {
  constexpr size_t kSize = 32768;
  std::vector<std::complex<double>> spectrum(kSize);
  for (size_t t = 0; t < kSize; ++t) {
    // Blackman-Harris window: side lobes at -92 dB.
    const double x = 2.0 * M_PI * static_cast<double>(t) / kSize;
    const double window = 0.35875 - 0.48829 * cos(x) + 0.14128 * cos(2 * x) - 0.01168 * cos(3 * x);
    spectrum[t] = window * static_cast<double>(samples.at(samples.size() - kSize + t));
  }
  transform(spectrum);
  double near = 0.0, far = 0.0;
  for (size_t k = 1; k < kSize / 2; ++k) {
    const double frequency = static_cast<double>(k) * kRate / kSize;
    double& band = std::fabs(frequency - 1000.0) <= 500.0 ? near : far;
    band = std::max(band, std::abs(spectrum[k]));
  }
  return 20.0 * std::log10(far / near);
}

TEST(RoomPoseTest, ATurningFieldHasNoArtefacts) {
  for (const uint32_t mode : {0u, 4u}) {
    TestRenderer renderer(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 480, 4);
    renderer.dry();
    renderer.reflect(mode);
    Planar tone(1, 57600);
    for (size_t t = 0; t < tone[0].size(); ++t) {
      tone[0][t] = static_cast<float>(sin(2.0 * M_PI * 1000.0 * static_cast<double>(t) / kRate));
    }
    Planar ears(2, 0);
    for (size_t start = 0; start < tone[0].size(); start += 480) {
      // 360 degrees a second, from one pose every 10 ms.
      const float yaw =
          static_cast<float>(std::fmod(static_cast<double>(start) * 360.0 / kRate, 360.0));
      const float pose[3] = {yaw, 0.0f, 0.0f};
      ASSERT_EQ(UBR_OK, ubr_set_user_orientation(&renderer.r, pose, ROTATOR_YAW_PITCH_ROLL));
      Planar block(1, 480);
      std::copy_n(&tone[0][start], 480, block[0].begin());
      const Planar rendered = renderer.render(block, {480});
      for (const uint32_t ear : {0u, 1u}) {
        ears[ear].insert(ears[ear].end(), rendered[ear].begin(), rendered[ear].end());
      }
    }
    for (const uint32_t ear : {0u, 1u})
      EXPECT_LT(artefacts_db(ears[ear]), -60.0) << "mode " << mode;
  }
}

}  // namespace
