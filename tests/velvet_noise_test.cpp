// SPDX-License-Identifier: Apache-2.0
#include "room/velvet_noise.h"

#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <array>
#include <vector>

#include "base/result.h"
#include "tests/support/signals.h"
#include "tests/support/velvet_reverb.h"

namespace {

using Change = VelvetChange;
using Config = vn_config_t;
using Reverb = VelvetReverb;

constexpr float kRate = VelvetReverb::kRate;

struct ConvolutionCase {
  const char* name;
  bool by_pulses;
  int32_t block_size;
  std::vector<Change> changes;
};

TEST(VelvetConvolutionTest, BlocksEqualTheirDirectConvolution) {
  const ConvolutionCase cases[] = {
      {"defaults", true, 128, {}},
      {"long blocks", true, 1024, {}},
      {"loud shelf", true, 300, {{&Config::tone_gain, 2.0f}, {&Config::tone_corner_hz, 6000.0f}}},
      {"white", true, 300, {{&Config::tone_enable, 0.0f}}},
      {"two seconds", true, 1024, {{&Config::decay_s, 2.0f}}},
      {"at once, mono", true, 64, {{&Config::pre_delay_ms, 0.0f}, {&Config::stereo, 0.0f}}},
      {"transform as long as the convolution",
       true,
       97,
       {{&Config::tone_enable, 0.0f}, {&Config::decay_s, 4000.0f / kRate}}},
      {"no room for the tone", false, 97, {{&Config::decay_s, 4000.0f / kRate}}},
      {"pulses near the start", true, 128, {{&Config::pulse_spacing, 40.0f}}},
      {"many pulses", false, 128, {{&Config::pulse_spacing, 3.0f}}},
      {"a tone filter that rings", false, 128, {{&Config::tone_corner_hz, 300.0f}}},
      {"a tone filter that only its rounding errors ring through",
       false,
       128,
       {{&Config::tone_corner_hz, 100.0f}, {&Config::tone_gain, 1.0f + 3 * 0x1p-23f}}},
      {"flat tone", true, 128, {{&Config::tone_corner_hz, 100.0f}, {&Config::tone_gain, 1.0f}}},
      {"two seconds of many pulses",
       false,
       1024,
       {{&Config::pulse_spacing, 3.0f}, {&Config::decay_s, 2.0f}}},
      {"five samples", true, 2, {{&Config::tone_enable, 0.0f}, {&Config::decay_s, 1e-4f}}},
      {"a pulse in each of five samples",
       false,
       2,
       {{&Config::pulse_spacing, 1.0f}, {&Config::decay_s, 1e-4f}}}};
  std::vector<float> in = noise(6000, 7);
  for (size_t t = 0; t < in.size(); ++t) in[t] *= t % 37 == 0 ? 1.0f : 0.0f;  // for a quick check
  for (const ConvolutionCase& test : cases) {
    SCOPED_TRACE(test.name);
    Reverb reverb(test.changes, test.block_size);
    ASSERT_EQ(UBR_OK, reverb.prepare());
    EXPECT_EQ(test.by_pulses, reverb.state.fft_setup->pulses != nullptr);
    const Planar out = reverb.render(in);
    EXPECT_TRUE(reverb.state.settings.stereo == 1.0f || out[0] == out[1]);
    for (int32_t c : {0, 1}) {
      const std::vector<float> expected = reverb.expected(in, c);
      ASSERT_GT(peak(expected), 0.0f);
      // Rounding of two single-precision transforms, or of as many sums as there are pulses.
      EXPECT_LT(max_difference(expected, out[static_cast<size_t>(c)]), 2e-6f * peak(expected));
    }
  }
}

TEST(VelvetPreparationTest, SizesFollowTheSettings) {
  struct Sizes {
    float decay_s, pre_delay_ms;
    int32_t block_size;
    std::array<int32_t, 4> expected;  // response, convolution, transform, ring
  };
  for (const Sizes& s :
       {Sizes{0.25f, 30.0f, 1024, {12000, 13023, 16384, 14463}},
        Sizes{3.0f, 150.0f, 1024, {96000, 97023, 131072, 101823}},  // clamped
        Sizes{0.02f, 0.0f, 65, {960, 1024, 1024, 1024}},
        Sizes{0.02f, 0.01f, 66, {960, 1025, 2048, 1026}}, Sizes{1e-4f, 0.0f, 1, {5, 5, 32, 5}}}) {
    Reverb reverb({{&Config::decay_s, s.decay_s}, {&Config::pre_delay_ms, s.pre_delay_ms}},
                  s.block_size);
    ASSERT_EQ(UBR_OK, reverb.prepare());
    const vn_state_t& v = reverb.state;
    const std::array<int32_t, 4> sizes = {v.response_length, v.convolution_length, v.fft_size,
                                          v.ring_length};
    EXPECT_EQ(s.expected, sizes);
    EXPECT_EQ(std::min(s.decay_s, 2.0f), v.settings.decay_s);
  }
}

TEST(VelvetPreparationTest, SettingsWithoutSoundGiveSilence) {
  for (const Change& change : {Change{&Config::level, 0.0f}, Change{&Config::level, 1e-42f},
                               Change{&Config::decay_s, 0.0f}, Change{&Config::decay_s, 1e-6f},
                               Change{&Config::enable, 0.0f}}) {
    Reverb reverb({change});
    ASSERT_EQ(UBR_OK, reverb.prepare());
    const Planar out = reverb.render(noise(3000, 1));
    EXPECT_EQ(0.0f, peak(out[0]) + peak(out[1]));
    // Two numbers of two words for each of 30 pulses per ear are drawn even for level 0.
    EXPECT_EQ(change.setting == &Config::level ? 240u : 624u, reverb.rng.back());
  }
}

TEST(VelvetPreparationTest, MeaninglessSettingsKeepTheResponse) {
  for (const Change& change :
       {Change{&Config::level, NAN}, Change{&Config::pulse_spacing, 0.5f},
        Change{&Config::decay_s, -1.0f}, Change{&Config::pre_delay_ms, NAN},
        Change{&Config::tone_slope, 0.0f},
        // poles on the unit circle, or outside
        Change{&Config::tone_slope, 10.0f}, Change{&Config::tone_corner_hz, 0.0f},
        Change{&Config::tone_corner_hz, 24000.0f}}) {
    Reverb reverb;
    ASSERT_EQ(UBR_OK, reverb.prepare());
    const Planar before = reverb.render(noise(2000, 1));
    const float valid = reverb.state.settings.*change.setting;
    reverb.state.settings.*change.setting = change.value;
    EXPECT_EQ(UBR_INVALID, reverb.prepare());
    reverb.state.settings.*change.setting = valid;
    EXPECT_EQ(UBR_OK, vn_reset(&reverb.state));
    EXPECT_EQ(before[0], reverb.render(noise(2000, 1))[0]);
  }
}

TEST(VelvetPreparationTest, ALongerPreDelayWaitsForItsPreparation) {
  Reverb reverb({{&Config::pre_delay_ms, 0.0f}});
  ASSERT_EQ(UBR_OK, reverb.prepare());
  const Planar before = reverb.render(noise(2000, 1));
  const float settings[] = {1.0f, 80.0f, 0.05f, 0.1f, 100.0f, 1.0f, 1.0f, 10000.0f, -1.0f, 1.0f};
  EXPECT_EQ(UBR_OK, vn_set_config(&reverb.state, settings));
  EXPECT_EQ(UBR_OK, vn_reset(&reverb.state));
  EXPECT_EQ(before[0], reverb.render(noise(2000, 1))[0]);
}

TEST(VelvetProcessTest, ChecksBlocksAndAveragesTwoChannels) {
  Reverb reverb({}, 64);
  EXPECT_EQ(UBR_INVALID, vn_set_fs(&reverb.state, 44100));
  EXPECT_EQ(UBR_INVALID, vn_set_buf_size(&reverb.state, 1025));
  EXPECT_EQ(UBR_INVALID, vn_set_buf_size(&reverb.state, 0));
  std::vector<float> in = noise(256, 1), out(256, 5.0f);
  EXPECT_EQ(UBR_MISSING, reverb.process(in.data(), out.data(), 64)) << "not prepared";
  ASSERT_EQ(UBR_OK, reverb.prepare());
  vn_set_buf_size(&reverb.state, 128);  // waits for its preparation
  EXPECT_EQ(UBR_MISSING, reverb.process(in.data(), out.data(), 65));
  EXPECT_EQ(UBR_MISSING, reverb.process(in.data(), out.data(), 64, 3));
  const int32_t sizes[][2] = {{64, 1}, {32, 2}};
  EXPECT_EQ(UBR_MISSING, vn_process(reverb.rng.data(), &reverb.state, in.data(), sizes[0],
                                    out.data(), sizes[1]));
  EXPECT_EQ(std::vector<float>(256, 5.0f), out);
  const float average = (in[3] + in[67]) * 0.5f;
  ASSERT_EQ(UBR_OK, reverb.process(in.data(), out.data(), 64, 2));
  EXPECT_EQ(average, in[3]);
}

}  // namespace
