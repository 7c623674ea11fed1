// SPDX-License-Identifier: Apache-2.0
// orvane-render from the outside: what it refuses, what it says and what it leaves behind.
#include "tests/support/render_program.h"

#include <signal.h>

#include <limits>
#include <sstream>

#include "tools/render/effect_host.h"

namespace render {
namespace {

TEST_F(RenderProgramTest, RefusesWithOneLineAndLeavesNothing) {
  std::vector<float> bed(6 * 480);
  write("bed.wav", "5.1", ORVANE_SAMPLE_RATE, bed);
  bed[6 * 3 + 1] = std::numeric_limits<float>::quiet_NaN();
  write("nan.wav", "5.1", ORVANE_SAMPLE_RATE, bed);
  bed.resize(6 * ORVANE_SAMPLE_RATE);
  for (size_t i = 0; i < bed.size(); ++i) bed[i] = static_cast<float>(i * i % 101) * 0.001f;
  write("long.wav", "5.1", ORVANE_SAMPLE_RATE, bed);
  const struct {
    const char* arguments;
    int status;
    const char* reason;
    const char* before = "";
  } cases[] = {
      {"none.wav out.wav", 1, "none.wav: No such file or directory"},
      {"errors out.wav", 1, "errors: cannot be read as audio"},
      {"bed.wav bed.wav", 1, "bed.wav: is the input file as well"},
      {"bed.wav ./none/out.wav", 1, "./none/out.wav: No such file or directory"},
      {"bed.wav out.xyz", 1, "out.xyz: the extension says no format"},
      {"bed.wav out.flac --format float", 1, "out.flac: FLAC holds no float"},
      {"bed.wav /dev/null", 1, "/dev/null: exists and is not a regular file"},
      {"bed.wav out.m4a --codec flac", 1, "out.m4a: holds no flac, only --codec aac or alac"},
      {"bed.wav out.mkv --replace", 1, "out.mkv: is no film, so --replace has no effect"},
      {"bed.wav out.wav --codec aac", 1, "out.wav: its format has one codec"},
      {"bed.wav out.wav --stream 2", 1, "bed.wav: has no sound stream 2, only 1 to 1"},
      {"log out.wav", 1, "log: is read through ffmpeg: ffprobe: is not installed", "PATH=none; "},
      {"bed.wav out.wav --raw f32", 2, "--raw needs --channels with names, or --layout"},
      {". out.wav", 1, ".: is neither a file nor a pipe"},
      {"- out.wav", 1, "-: holds nothing", ": | "},
      {"nan.wav out.wav", 1, "nan.wav: sample is not a finite number: frame 3, channel 2 of 6"},
      {"bed.wav out.wav --library none.so", 1, "none.so: cannot open shared object file"},
      {"long.wav out.wav", 1, "out.wav: File too large", "ulimit -f 16; "},
      {"long.wav out.flac", 1, "out.flac: File too large", "ulimit -f 1; "},
      {"bed.wav out.wav --block 1025", 2, "--block: "},
      {"bed.wav out.wav --pose 1,2", 2, "--pose: 1,2 is not YAW,PITCH,ROLL"},
      {"bed.wav out.wav --trajectory errors", 1, "errors: holds no pose"},
      {"bed.wav out.wav --trajectory none --pose 0,0,0", 2, "--pose excludes --trajectory"},
      {"long.wav out.wav --dry --gain 60 --fail-on-clip", 1, " samples clip, the peak is +4"},
      {"bed.wav out.wav --room 5x4", 2, "--room: 5x4 is not LxWxH"},
      {"bed.wav out.wav --room 0.6x5x4", 2, "--room: room.length takes 1 to 14, not 0.6"},
      {"bed.wav out.wav --room 5x4x15", 2, "--room: room.height takes 1 to 14, not 15"},
      {"bed.wav out.wav --listener 0,-3.1,1", 2, "listener.y takes -3 to 3 in this room, not -3.1"},
      {"bed.wav out.wav --absorption left=0.1,up=1", 2,
       "--absorption: there is no parameter absorption.up"},
      {"bed.wav out.wav --reverb decay=2.1", 2, "--reverb: reverb.decay takes 0 to 2, not 2.1"},
      {"bed.wav out.wav --param 110=1", 2, "--param: there is no parameter 110"},
      {"bed.wav out.wav --preset attic", 2,
       "there is no preset attic: it may be cinema, dry, hall, living-room"},
      {"bed.wav", 2, "OUT is required"},
      {"identify out.wav", 2, "--layout is required"},
      {"identify out.flac --layout 5.1.4 --bed", 1, "out.flac: "},
      {"bed.wav out.wav --relabel", 2, "--relabel needs --layout or --channels"},
      {"bed.wav out.wav --channels FL,XX", 2, "--channels: there is no channel XX"},
      {"identify out.wav --layout 5.1 --bed --dry", 2, "--bed: is not rendered"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.status, run(c.arguments, c.before)) << c.arguments;
    EXPECT_NE(errors_.find(c.reason), std::string::npos) << c.arguments << "\n" << errors_;
    EXPECT_EQ(0u, errors_.find("orvane-render")) << errors_;
    EXPECT_EQ(errors_.size() - 1, errors_.find('\n')) << errors_;
    EXPECT_TRUE(holds_only({"bed.wav", "nan.wav", "long.wav", "log", "errors"})) << c.arguments;
  }
}

TEST_F(RenderProgramTest, ASignalLeavesNothing) {
  AudioSpec spec;
  spec.channels = 6;
  AudioWriter writer(path("bed.flac"), spec);
  const std::vector<float> second(6 * ORVANE_SAMPLE_RATE);
  for (int i = 0; i < 120; ++i) writer.write(second.data(), ORVANE_SAMPLE_RATE);
  writer.commit();
  const pid_t child = fork();
  if (child == 0) {
    execl(ORVANE_RENDER_PROGRAM, ORVANE_RENDER_PROGRAM, "--library", ORVANE_LIBRARY, "--layout",
          "5.1", path("bed.flac").c_str(), path("out.wav").c_str(), nullptr);
    _exit(127);
  }
  while (holds_only({"bed.flac"}) && waitpid(child, nullptr, WNOHANG) == 0) usleep(1000);
  ASSERT_FALSE(holds_only({"bed.flac"}));  // its temporary file
  kill(child, SIGTERM);
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
  EXPECT_TRUE(holds_only({"bed.flac"}));
}

TEST_F(RenderProgramTest, InfoTellsWhatARenderingWouldDo) {
  std::vector<float> bed(6 * 4410);
  bed[6 * 4000 + 1] = 0.5f;
  write("bed.wav", "5.1", 44100, bed);
  bed[6 * 4400] = std::numeric_limits<float>::infinity();
  write("inf.wav", "5.1", ORVANE_SAMPLE_RATE, bed);
  write("bed22.wav", "22.2", ORVANE_SAMPLE_RATE, std::vector<float>(24 * 48));
  const struct {
    const char* arguments;
    int status;
    std::vector<const char*> lines;
  } cases[] = {
      {"bed.wav",
       0,
       {"bed.wav, WAVEX (Microsoft), 32 bit float\n", "44100 Hz, will be 48000 Hz\n",
        "0.100 s, 4410 frames\n", "map       FL FR FC LFE BL BR\n", "layout    5.1\n",
        "      2  FR    FR    front right                -45          0   -6.0 dBFS\n",
        "      4  LFE   LFE   low frequencies              -          -      silent\n"}},
      {"inf.wav", 1, {"refused   inf.wav: sample is not a finite number: frame 4400, channel 1"}},
      {"bed22.wav",
       0,
       {"map       none\n", "note      has no channel map; taken as FL FR FC LFE BL BR FLC FRC"}},
      {"bed22.wav --layout 22.2 --channels bs2051", 0, {"     10  ?     LFE2  low frequencies 2"}},
      {"bed.wav --layout 7.1", 0, {"layout    7.1\n"}},
      {"bed.wav --channels film",
       1,
       {"refused   bed.wav: its channel map says the same, so --channels"}},

  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.status, run(std::string("info ") + c.arguments)) << errors_;
    for (const char* line : c.lines) {
      EXPECT_NE(log().find(line), std::string::npos) << line << "\nin\n" << log();
    }
  }
}

// The table says what the ears hear.
TEST_F(RenderProgramTest, IdentifySoundsWhenAndWhereItSays) {
  const struct {
    const char* layout;
    size_t lines;
  } cases[] = {{"5.1.2", 8}, {"22.2", 24}};
  for (const auto& c : cases) {
    const std::string layout = std::string(" --layout ") + c.layout;
    ASSERT_EQ(0, run("identify who.wav --dry" + layout)) << errors_;
    const std::string table = log();
    const std::vector<float> ears = read("who.wav");
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);
    size_t count = 0;
    for (; std::getline(lines, line) && !line.empty(); ++count) {
      const size_t begin = static_cast<size_t>(std::stod(line) * kEffectRateHz);
      const double left = energy(ears, 0, begin, begin + kEffectRateHz);
      const double right = energy(ears, 1, begin, begin + kEffectRateHz);
      EXPECT_GT(left + right, 1.0) << line;
      const std::string azimuth = line.substr(45, 9);
      const double to_left = azimuth.ends_with(" -") ? 0.0 : std::sin(std::stod(azimuth) / 57.3);
      const char* side = left > 1.5 * right ? "left" : right > 1.5 * left ? "right" : "middle";
      EXPECT_STREQ(to_left > 0.1 ? "left" : -to_left > 0.1 ? "right" : "middle", side) << line;
    }
    EXPECT_EQ(c.lines, count);
    ASSERT_EQ(0, run("identify bed.wav --bed" + layout)) << errors_;
    ASSERT_EQ(0, run("bed.wav ears.wav --dry" + layout)) << errors_;
    EXPECT_EQ(ears, read("ears.wav"));
  }
}

}  // namespace
}  // namespace render
