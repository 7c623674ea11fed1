#include "room/velvet_noise.h"

#include <gtest/gtest.h>
#include <math.h>

#include <array>
#include <random>
#include <vector>

#include "base/result.h"
#include "room/velvet_noise_internal.h"
#include "tests/support/signals.h"

namespace {

using Config = vn_config_t;

constexpr float kRate = ORVANE_SAMPLE_RATE;

struct Change {
  float Config::*setting;
  float value;
};

// A reverberator with the default settings, a decay of 2400 samples and some changes.
struct Reverb {
  explicit Reverb(const std::vector<Change>& changes = {}, int32_t block_size = 128) {
    uint32_t* words = rng.data();
    vn_init(&state, &words);
    vn_set_fs(&state, ORVANE_SAMPLE_RATE);
    vn_set_buf_size(&state, block_size);
    state.settings.decay_s = 0.05f;
    for (const Change& c : changes) state.settings.*c.setting = c.value;
  }
  ~Reverb() { vn_terminate(&state); }
  Reverb(const Reverb&) = delete;
  Reverb& operator=(const Reverb&) = delete;

  uint32_t prepare() {
    rng_before = rng;
    return vn_prepare_to_play(rng.data(), &state);
  }

  // The response that the preparation drew: the pulses, filtered in time.
  std::vector<double> response(int32_t channel) const {
    vn_state_t drawn = state;
    std::vector<uint32_t> numbers = rng_before;
    std::vector<float> work(4 * static_cast<size_t>(state.fft_size));
    drawn.work_area = work.data();
    vn_place_pulses(numbers.data(), drawn);
    vn_apply_tone(drawn);
    const float* start = vn_work_vector(drawn, channel);
    return {start, start + state.fft_size};
  }

  uint32_t process(const float* in, float* out, int32_t frames, int32_t channels = 1) {
    const int32_t in_size[2] = {frames, channels};
    const int32_t out_size[2] = {frames, 2};
    return vn_process(rng.data(), &state, in, in_size, out, out_size);
  }

  // Calls render_block(start, length) for blocks of changing length.
  template <typename F>
  void for_each_block(size_t total, const F& render_block) const {
    const auto longest = static_cast<size_t>(state.block_size);
    const size_t lengths[] = {longest, 1, longest / 2, longest};
    for (size_t start = 0, turn = 0, n = 0; start < total; start += n, ++turn) {
      n = std::min(lengths[turn % 4], total - start);
      render_block(start, n);
    }
  }

  // Left and right.
  Planar render(const std::vector<float>& in) {
    Planar out(2, in.size());
    for_each_block(in.size(), [&](size_t start, size_t n) {
      std::vector<float> block(2 * n);
      EXPECT_EQ(UBR_OK, process(in.data() + start, block.data(), static_cast<int32_t>(n)));
      for (size_t c : {0u, 1u}) std::copy_n(&block.at(0) + c * n, n, &out[c][start]);
    });
    return out;
  }

  // One channel by direct sums: every block is convolved around the transform's length, and what is
  // beyond the convolution length is dropped.
  std::vector<float> expected(const std::vector<float>& in, int32_t channel) const {
    const auto delay = static_cast<size_t>(ceilf(state.settings.pre_delay_ms * (kRate / 1000.0f)));
    const auto kept = static_cast<size_t>(state.convolution_length);
    const std::vector<double> h = response(channel);
    std::vector<double> sum(in.size() + delay + kept);
    for_each_block(in.size(), [&](size_t start, size_t n) {
      for (size_t t = 0; t < n; ++t) {
        if (in[start + t] == 0.0f) continue;
        for (size_t i = 0; i < h.size(); ++i) {
          const size_t at = (t + i) % h.size();
          if (at < kept) sum[start + delay + at] += double{in[start + t]} * h[i];
        }
      }
    });
    return {sum.begin(), sum.begin() + static_cast<ptrdiff_t>(in.size())};
  }

  vn_state_t state;
  std::vector<uint32_t> rng = std::vector<uint32_t>(RANDOM_STATE_WORDS), rng_before;
};

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

// Both responses in double precision, from the numbers that `random` gives next.
std::array<std::vector<double>, 2> reference_responses(const vn_state_t& v, std::mt19937* random) {
  const vn_config_t& s = v.settings;
  const auto draw = [random] {
    const auto high = static_cast<double>((*random)() >> 5);
    return (high * 0x1p26 + static_cast<double>((*random)() >> 6)) * 0x1p-53;
  };
  std::vector<double> left(static_cast<size_t>(v.fft_size)), right = left;
  const double spacing = s.pulse_spacing, half = floor(spacing / 2.0), level = s.level;
  for (double start = 0.0; start < v.response_length; start += spacing) {
    double p = start + 1.0;
    for (auto* h : {&left, s.stereo == 1.0f ? &right : nullptr}) {
      if (!h) continue;
      p += start == 0.0 ? floor(draw() * (half + 1.0)) : floor(draw() * (2.0 * half + 1.0)) - half;
      p = std::min<double>(p, v.response_length);
      const double magnitude = level * pow(0.001 / level, p / (double{s.decay_s} * double{kRate}));
      h->at(static_cast<size_t>(p) - 1) = draw() < 0.5 ? -magnitude : magnitude;
    }
  }
  if (s.stereo != 1.0f) right = left;
  if (s.tone_enable == 0.0f) return {left, right};
  const double a = pow(10.0, (double{s.tone_gain} - 1.0) * 12.0 / 40.0);  // the cookbook's A
  const double w = M_PI * double{s.tone_corner_hz} / 24000.0, c = cos(w);
  const double q =
      sqrt(a) * sin(w) * sqrt((a + 1.0 / a) * (1.0 / double{s.tone_slope} - 1.0) + 2.0);
  for (auto* h : {&left, &right, &left, &right}) {  // forwards, then backwards
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;
    for (double& x : *h) {
      const double y = (a * ((a + 1 + (a - 1) * c + q) * x - 2 * (a - 1 + (a + 1) * c) * x1 +
                             (a + 1 + (a - 1) * c - q) * x2) -
                        2 * (a - 1 - (a + 1) * c) * y1 - (a + 1 - (a - 1) * c - q) * y2) /
                       (a + 1 - (a - 1) * c + q);
      x2 = x1, x1 = x, y2 = y1, y1 = x = y;
    }
    std::ranges::reverse(*h);
  }
  return {left, right};
}

TEST(VelvetResponseTest, IsWhatTheGeneratorLeadsTo) {
  // Switches between 0 and 1 are on, stereo apart.
  const std::vector<Change> cases[] = {{},
                                       {{&Config::tone_enable, 0.0f}},
                                       {{&Config::enable, 0.5f},
                                        {&Config::stereo, 0.5f},
                                        {&Config::pulse_spacing, 81.0f},
                                        {&Config::tone_enable, 0.5f},
                                        {&Config::tone_corner_hz, 3000.0f},
                                        {&Config::tone_gain, 0.5f},
                                        {&Config::tone_slope, 0.5f}}};
  for (const std::vector<Change>& changes : cases) {
    Reverb reverb(changes);
    std::mt19937 random;  // starts from the same seed, and goes on
    for (int preparation = 0; preparation < 2; ++preparation) {
      ASSERT_EQ(UBR_OK, reverb.prepare());
      const auto expected = reference_responses(reverb.state, &random);
      for (int32_t c : {0, 1}) {
        const std::vector<double> h = reverb.response(c);
        for (size_t i = 0; i < h.size(); ++i)
          ASSERT_NEAR(expected.at(static_cast<size_t>(c))[i], h[i], 1e-7);
      }
    }
    EXPECT_GT(peak(reverb.render(noise(3000, 1))[0]), 0.0f);
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
