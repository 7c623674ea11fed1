// SPDX-License-Identifier: Apache-2.0
// What orvane-render makes of a bed, heard in the files that it writes.
#include <cmath>
#include <random>

#include "renderer/loudspeaker_layouts.h"
#include "room/shoebox.h"
#include "tests/support/harmonics.h"
#include "tests/support/render_program.h"
#include "tools/render/effect_host.h"

namespace render {
namespace {

using RenderedSoundTest = RenderProgramTest;

TEST_F(RenderedSoundTest, LengthAndLatencyAreTheSameAtEverySampleRate) {
  size_t usual = 0;
  for (const int rate_hz : {kEffectRateHz, 44100, 96000}) {
    const size_t frames = static_cast<size_t>(rate_hz);
    std::vector<float> bed(6 * frames);
    bed[6 * (frames / 2) + 2] = 1.0f;  // front centre
    write("bed.wav", "5.1", rate_hz, bed);
    ASSERT_EQ(0, run("bed.wav out.caf --dry --block 333")) << errors_;
    const std::vector<float> ears = read("out.caf");
    ASSERT_EQ(48000u + 255u - 145u, ears.size() / 2) << rate_hz;
    size_t peak = 0;
    for (size_t i = 0; i < ears.size(); ++i) {
      if (std::fabs(ears[i]) > std::fabs(ears[peak])) peak = i;
    }
    EXPECT_NEAR(24000.0, static_cast<double>(peak / 2), 4.0) << rate_hz;
    if (rate_hz == kEffectRateHz) usual = peak / 2;
    EXPECT_NEAR(static_cast<double>(usual), static_cast<double>(peak / 2), 1.0) << rate_hz;
    ASSERT_EQ(0, run("bed.wav late.caf --dry --block 333 --keep-latency")) << errors_;
    const std::vector<float> late = read("late.caf");
    ASSERT_EQ(ears.size() + 2 * kEarLatencyFrames, late.size());
    EXPECT_TRUE(std::equal(ears.begin(), ears.end(), late.begin() + 2 * kEarLatencyFrames));
  }
}

TEST_F(RenderedSoundTest, PoseHoldsFromTheFirstSample) {
  std::vector<float> bed(6 * 64);
  bed[2] = 1.0f;  // front centre
  write("bed.wav", "5.1", kEffectRateHz, bed);
  ASSERT_EQ(0, run("bed.wav out.w64 --dry --pose 90,0,0")) << errors_;
  const std::vector<float> ears = read("out.w64");
  EXPECT_GT(energy(ears, 1, 0, ears.size() / 2), 2.0 * energy(ears, 0, 0, ears.size() / 2));
}

TEST_F(RenderedSoundTest, TrajectoryTurnsTheHeadOnTime) {
  std::vector<float> bed(6 * 24000);
  for (const size_t frame : {0, 12000}) bed[6 * frame + 2] = 1.0f;  // front centre
  write("bed.wav", "5.1", kEffectRateHz, bed);
  std::ofstream(path("turn.csv")) << "time,yaw,pitch,roll\n0,90,0,0\n0.24,90,0,0\n0.25,-90,0,0\n";
  std::ofstream(path("still.csv")) << "time,yaw,pitch,roll\n0,40,-30,20\n";
  ASSERT_EQ(0, run("bed.wav out.wav --dry --trajectory turn.csv")) << errors_;
  const std::vector<float> turned = read("out.wav");
  EXPECT_GT(energy(turned, 1, 0, 2000), 2.0 * energy(turned, 0, 0, 2000));
  EXPECT_GT(energy(turned, 0, 12000, 14000), 2.0 * energy(turned, 1, 12000, 14000));

  ASSERT_EQ(0, run("bed.wav out.wav --dry --trajectory still.csv --block 300")) << errors_;
  const std::vector<float> still = read("out.wav");
  ASSERT_EQ(0, run("bed.wav out.wav --dry --pose 40,-30,20")) << errors_;
  const std::vector<float> posed = read("out.wav");
  ASSERT_EQ(posed.size(), still.size());
  for (size_t i = 0; i < posed.size(); ++i) ASSERT_NEAR(posed[i], still[i], 1e-6f) << i;
}

// Of all degrees up to `order`, in the order of ACN.
std::vector<double> harmonics(int order, double azimuth, double elevation) {
  std::vector<double> values;
  for (int n = 0; n <= order; ++n) {
    for (int m = -n; m <= n; ++m) {
      values.push_back(test_support::harmonic(n, m, azimuth, elevation));
    }
  }
  return values;
}

TEST_F(RenderedSoundTest, AFieldSoundsAsTheLoudspeakerThatItHolds) {
  constexpr size_t kFrames = 4800, kLoudspeaker = 4;
  const Layout& layout = *layout_find("7.1");
  const orvane_loudspeaker_t& row = orvane_find_layout(layout.mask)->loudspeakers[kLoudspeaker];
  const double x = static_cast<double>(row.x), y = static_cast<double>(row.y);
  const std::vector<double> weights =
      harmonics(4, std::atan2(y, x), std::atan2(static_cast<double>(row.z), std::hypot(x, y)));
  const auto fill = [&](size_t channels, const std::vector<double>& gains, const char* name) {
    std::vector<float> samples(channels * kFrames);
    std::minstd_rand random;
    for (size_t i = 0; i < kFrames; ++i) {
      const double sample = 1e-10 * static_cast<double>(random());
      for (size_t c = 0; c < channels; ++c) {
        samples[i * channels + c] = static_cast<float>(gains[c] * sample);
      }
    }
    AudioSpec spec;
    spec.channels = channels;
    spec.expected_frames = kFrames;
    if (channels == layout.rows.size()) spec.speakers = layout.rows;
    AudioWriter writer(path(name), spec);
    writer.write(samples.data(), kFrames);
    writer.commit();
  };
  std::vector<double> only(layout.rows.size());
  only[kLoudspeaker] = 1.0;
  fill(layout.rows.size(), only, "bed.wav");
  fill(25, weights, "field.wav");
  fill(4, weights, "first.wav");
  fill(10, std::vector<double>(10), "ten.wav");
  for (const std::string arguments : {"--dry", "--dry --pose 100,20,5", "--preset living-room"}) {
    ASSERT_EQ(0, run("bed.wav ears.wav " + arguments)) << errors_;
    const std::vector<float> ears = read("ears.wav");
    ASSERT_EQ(0, run("field.wav field-ears.wav --ambisonics " + arguments)) << errors_;
    const std::vector<float> field = read("field-ears.wav");
    ASSERT_EQ(ears.size(), field.size());
    if (arguments.find("dry") == std::string::npos) continue;  // a field's room is another one
    for (size_t i = 0; i < ears.size(); ++i) ASSERT_NEAR(ears[i], field[i], 1e-5f) << i;
  }
  ASSERT_EQ(0, run("first.wav ears.wav --ambisonics --preset living-room --pose 90,0,0"));
  EXPECT_EQ(1, run("ten.wav ears.wav --ambisonics"));
  EXPECT_NE(errors_.find("10 channels, but ambisonics has 4, 9, 16 or 25"), std::string::npos);
  EXPECT_EQ(2, run("first.wav ears.wav --ambisonics --layout 5.1"));
  // As FFmpeg marks them.
  ASSERT_EQ(0, std::system(("cd " + folder_.string() +
                            " && ffmpeg -v error -guess_layout_max 0 -i first.wav -af "
                            "'aformat=channel_layouts=ambisonic 1' -c:a libopus -mapping_family 2 "
                            "first.opus")
                               .c_str()));
  ASSERT_EQ(0, run("info first.opus")) << log();
  EXPECT_NE(log().find("ambisonics of order 1"), std::string::npos) << log();
  ASSERT_EQ(0, run("first.opus ears.wav --dry")) << errors_;
}

TEST_F(RenderedSoundTest, SoundsTheSameWithEveryNumberOfThreads) {
  std::vector<float> bed(6 * 16 * 44100);
  std::minstd_rand random;
  for (float& sample : bed) sample = 1e-10f * static_cast<float>(random());
  write("bed.wav", "5.1", 44100, bed);
  std::ofstream(path("turn.csv")) << "\xEF\xBB\xBFTime, Yaw ,PITCH,roll\r\n0,0,0,0\n20,720,30,5\n";
  for (const std::string arguments :
       {"--preset hall --trajectory turn.csv", "--pose 30,0,0 --reflections 2 --block 333",
        "--dry --trajectory turn.csv --block 700 --loudness -20 --measure"}) {
    ASSERT_EQ(0, run("bed.wav one.wav --threads 1 " + arguments)) << errors_;
    EXPECT_EQ(arguments.find("turn") != std::string::npos,
              errors_.find("turn.csv: note: turns by 720 degrees") != std::string::npos);
    ASSERT_EQ(0, run("bed.wav three.wav --threads 3 " + arguments)) << errors_;
    EXPECT_TRUE(read("one.wav") == read("three.wav")) << arguments;
  }
  // What is wrong with a late sample ends all threads.
  bed[6 * 15 * 44100] = NAN;
  write("bed.wav", "5.1", 44100, bed);
  EXPECT_EQ(1, run("bed.wav out.wav --dry --threads 3"));
  EXPECT_NE(errors_.find("frame 661500, channel 1 of 6"), std::string::npos) << errors_;
  EXPECT_TRUE(holds_only({"bed.wav", "turn.csv", "one.wav", "three.wav", "log", "errors"}));
}

TEST_F(RenderedSoundTest, LevelsFollowTheirOptions) {
  std::vector<float> bed(6 * 4800);
  bed[2] = 1.0f;             // front centre
  bed[6 * 2000 + 3] = 1.0f;  // LFE
  write("bed.wav", "5.1", kEffectRateHz, bed);
  const auto render = [&](const std::string& arguments) {
    EXPECT_EQ(0, run("bed.wav out.wav --dry " + arguments)) << errors_;
    return read("out.wav");
  };
  const auto level = [](const std::vector<float>& ears, size_t begin) {
    return 10.0 * std::log10(energy(ears, 0, begin, begin + 1000));
  };
  const std::vector<float> plain = render(""), louder = render("--gain 6 --lfe-gain -10");
  EXPECT_NEAR(level(plain, 0) + 6.0, level(louder, 0), 1e-3);
  EXPECT_NEAR(level(plain, 2000) - 4.0, level(louder, 2000), 1e-3);
  float peak = 0.0f;
  for (const float sample : render("--normalize --gain -5 --fail-on-clip")) {
    peak = std::max(peak, std::fabs(sample));
  }
  // Between two samples there may be more than at each of them.
  EXPECT_NEAR(-6.3, 20.0 * std::log10(static_cast<double>(peak)), 0.31);
}

TEST_F(RenderedSoundTest, TheOutputEndsWhenTheRoomHasFallenSilent) {
  std::vector<float> bed(6 * 480);
  bed[6 * 479] = 1.0f;  // front left
  write("bed.wav", "5.1", kEffectRateHz, bed);
  bed.resize(6 * 144000);
  write("longer.wav", "5.1", kEffectRateHz, bed);
  const struct {
    const char* arguments;
    size_t frames, slack;  // length of the output; how much of its end may be silent
  } cases[] = {
      {"--dry", 480 + 255, 10},
      {"", 480 + 1440 + 12000 - 1, 100},  // pre-delay and decay of the effect's own start
      {"--reverb decay=2,predelay=100,level=1", 480 + 4800 + 96000 - 1, 100},
      {"--no-reverb --reflections 4 --room 14x14x14 --listener 7,7,14", 480 + 255 + 4059, 300},
      {"--preset hall", 480 + 2978 + 2001 + 35564 - 1, 5000},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(0, run(std::string("bed.wav out.wav --keep-latency ") + c.arguments)) << errors_;
    const size_t frames = read("out.wav").size() / 2;
    EXPECT_EQ(c.frames, frames) << c.arguments;
    ASSERT_EQ(0, run(std::string("longer.wav out.wav --keep-latency ") + c.arguments)) << errors_;
    const std::vector<float> ears = read("out.wav");
    EXPECT_LT(energy(ears, 0, frames, ears.size() / 2), 1e-12) << c.arguments;
    EXPECT_GT(energy(ears, 0, frames - c.slack, frames), 1e-12) << c.arguments;
  }
}

TEST_F(RenderedSoundTest, AWallEchoesFromItsDistance) {
  std::vector<float> bed(6 * 480);
  bed[2] = 1.0f;  // front centre
  write("bed.wav", "5.1", kEffectRateHz, bed);
  // The front wall is 6 m ahead, so that it mirrors a loudspeaker at 1 m to 11 m.
  ASSERT_EQ(
      0, run("bed.wav out.wav --no-reverb --reflections 4 --room 12x14x14 --listener 0,0,7 "
             "--keep-latency --absorption back=1,left=1,right=1 --param 208=1 --material floor=1"));
  const std::vector<float> ears = read("out.wav");
  const size_t echo =
      kEarLatencyFrames +
      static_cast<size_t>(11.0 / static_cast<double>(SHOEBOX_SPEED_OF_SOUND) * kEffectRateHz);
  const double before = energy(ears, 0, 400, echo - 200);
  EXPECT_GT(energy(ears, 0, echo - 100, echo + 200), 100.0 * before);
  ASSERT_EQ(0, run("bed.wav out.wav --preset hall --dry --keep-latency"));
  EXPECT_EQ(480u + 255u, read("out.wav").size() / 2);
}

// One impulse per channel, one after the other.
TEST_F(RenderedSoundTest, EveryChannelOf22_2IsHeardOnItsSide) {
  constexpr size_t kSpacing = 1024;
  std::vector<float> bed(24 * 24 * kSpacing);
  for (size_t c = 0; c < 24; ++c) bed[24 * kSpacing * c + c] = 1.0f;
  write("bed.wav", "22.2", kEffectRateHz, bed);
  // Left, right or middle, in the file's order.
  const std::string ffmpeg = "LRM.LRLRMLRMLMRLMR.LRMLR", bs2051 = "LRM.LRLRM.LRLRMMLRLRMMLR";
  const auto misplaced = [&](const std::string& arguments, const std::string& sides) {
    EXPECT_EQ(0, run("bed.wav out.rf64 --dry --keep-latency --layout 22.2 " + arguments))
        << errors_;
    const std::vector<float> ears = read("out.rf64");
    size_t count = 0;
    for (size_t c = 0; c < 24; ++c) {
      const double left = energy(ears, 0, c * kSpacing, (c + 1) * kSpacing);
      const double right = energy(ears, 1, c * kSpacing, (c + 1) * kSpacing);
      const char side = left > 1.05 * right ? 'L' : right > 1.05 * left ? 'R' : 'M';
      if (sides[c] != '.' && sides[c] != side) ++count;
    }
    return count;
  };
  EXPECT_EQ(0u, misplaced("", ffmpeg));
  EXPECT_EQ(0u, misplaced("--channels bs2051", bs2051));
  EXPECT_GT(misplaced("--order device", ffmpeg), 0u);
}

}  // namespace
}  // namespace render
