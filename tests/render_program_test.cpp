// orvane-render from the outside: what it hears, refuses and leaves behind.
// ORVANE_RENDER_PROGRAM and ORVANE_LIBRARY are the paths of the program and of the library.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"

namespace render {
namespace {

class RenderProgramTest : public ::testing::Test {
 protected:
  std::string text_of(const char* name) const {
    std::stringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
  }
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ =
        std::filesystem::path(::testing::TempDir()) / (test->name() + std::to_string(getpid()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string path(const char* name) const { return folder_ / name; }

  // Exit status of the program run in the folder; `errors_` is what it said.
  int run(const std::string& arguments, const std::string& before = "") {
    std::string command =
        "cd " + folder_.string() + " && " + before + ORVANE_RENDER_PROGRAM " " + arguments;
    if (!arguments.starts_with("info") && arguments.find("--library") == std::string::npos)
      command += " --library " ORVANE_LIBRARY;
    const int status = std::system((command + " >log 2>errors").c_str());
    errors_ = text_of("errors");
    return WEXITSTATUS(status);
  }

  // What the last run printed.
  std::string log() const { return text_of("log"); }

  // A float file with the layout's channel map where WAVE has one, else without.
  void write(const char* name, const char* layout, int rate_hz, const std::vector<float>& samples) {
    AudioSpec spec;
    spec.channels = layout_find(layout)->rows.size();
    spec.sample_rate_hz = rate_hz;
    if (spec.channels < 24) spec.speakers = layout_find(layout)->rows;
    AudioWriter writer(path(name), spec);
    writer.write(samples.data(), samples.size() / spec.channels);
    writer.commit();
  }

  std::vector<float> read(const char* name) {
    AudioReader reader(path(name));
    std::vector<float> samples(reader.frames() * reader.channels());
    reader.read(samples.data(), reader.frames());
    return samples;
  }

  bool holds_only(std::initializer_list<const char*> names) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      if (std::find(names.begin(), names.end(), entry.path().filename()) == names.end())
        return false;
      ++count;
    }
    return count == names.size();
  }

  std::filesystem::path folder_;
  std::string errors_;
};

double energy(const std::vector<float>& ears, size_t ear, size_t begin, size_t end) {
  double sum = 0.0;
  for (size_t i = begin; i < end; ++i) sum += std::pow(static_cast<double>(ears[2 * i + ear]), 2);
  return sum;
}

TEST_F(RenderProgramTest, RefusesWithOneLineAndLeavesNothing) {
  std::vector<float> bed(6 * 480);
  write("bed.wav", "5.1", 48000, bed);
  bed[6 * 3 + 1] = std::numeric_limits<float>::quiet_NaN();
  write("nan.wav", "5.1", 48000, bed);
  bed.resize(6 * 48000);
  for (size_t i = 0; i < bed.size(); ++i) bed[i] = static_cast<float>(i * i % 101) * 0.001f;
  write("long.wav", "5.1", 48000, bed);
  const struct {
    const char* arguments;
    int status;
    const char* reason;
    const char* before = "";
  } cases[] = {
      {"none.wav out.wav", 1, "none.wav: No such file or directory"},
      {"errors out.wav", 1, "errors: is no audio file"},
      {"bed.wav bed.wav", 1, "bed.wav: is the input file as well"},
      {"bed.wav ./none/out.wav", 1, "./none/out.wav: No such file or directory"},
      {"bed.wav out.mp3", 1, "out.mp3: the extension says no format"},
      {"bed.wav out.flac --format float", 1, "out.flac: FLAC holds no float"},
      {"bed.wav /dev/null", 1, "/dev/null: exists and is not a regular file"},
      {"nan.wav out.wav", 1, "nan.wav: sample is not a finite number: frame 3, channel 2 of 6"},
      {"bed.wav out.wav --library none.so", 1, "none.so: cannot open shared object file"},
      {"long.wav out.wav", 1, "out.wav: File too large", "ulimit -f 16; "},
      {"long.wav out.flac", 1, "out.flac: File too large", "ulimit -f 1; "},
      {"bed.wav out.wav --block 1025", 2, "--block: "},
      {"bed.wav out.wav --pose 1,2", 2, "--pose: 1,2 is no YAW,PITCH,ROLL"},
      {"bed.wav out.wav --trajectory errors", 1, "errors: holds no pose"},
      {"bed.wav out.wav --trajectory none --pose 0,0,0", 2, "--pose excludes --trajectory"},
      {"long.wav out.wav --dry --gain 60 --fail-on-clip", 1, " samples clip, the peak is +40."},
      {"bed.wav out.wav --room 5x4", 2, "--room: 5x4 is no LxWxH"},
      {"bed.wav out.wav --room 5x4x15", 2, "--room: room.height takes 1 to 14, not 15"},
      {"bed.wav out.wav --listener 0,-3.1,1", 2, "listener.y takes -3 to 3 in this room, not -3.1"},
      {"bed.wav out.wav --absorption left=0.1,up=1", 2, "--absorption: absorption.up is no para"},
      {"bed.wav out.wav --reverb decay=2.1", 2, "--reverb: reverb.decay takes 0 to 2, not 2.1"},
      {"bed.wav out.wav --param 110=1", 2, "--param: 110 is no parameter"},
      {"bed.wav out.wav --preset attic", 2, "attic is no preset: there is dry, hall, living-room"},
      {"bed.wav", 2, "OUT is required"},
      {"identify out.wav", 2, "--layout is required"},
      {"identify out.flac --layout 5.1 --bed", 1, "out.flac: its format cannot name"},
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
  const std::vector<float> second(6 * 48000);
  for (int i = 0; i < 120; ++i) writer.write(second.data(), 48000);
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

TEST_F(RenderProgramTest, LengthAndLatencyAreTheSameAtEverySampleRate) {
  for (const int rate_hz : {48000, 44100, 96000}) {
    const size_t frames = static_cast<size_t>(rate_hz);
    std::vector<float> bed(6 * frames);
    bed[6 * (frames / 2) + 2] = 1.0f;  // front centre
    write("bed.wav", "5.1", rate_hz, bed);
    ASSERT_EQ(0, run("bed.wav out.caf --dry --block 333")) << errors_;
    const std::vector<float> ears = read("out.caf");
    ASSERT_EQ(48000u + 255u, ears.size() / 2) << rate_hz;
    size_t peak = 0;
    for (size_t i = 0; i < ears.size(); ++i) {
      if (std::fabs(ears[i]) > std::fabs(ears[peak])) peak = i;
    }
    EXPECT_NEAR(24000.0 + 145.0, static_cast<double>(peak / 2), 1.0) << rate_hz;
  }
}

TEST_F(RenderProgramTest, PoseHoldsFromTheFirstSample) {
  std::vector<float> bed(6 * 64);
  bed[2] = 1.0f;  // front centre
  write("bed.wav", "5.1", 48000, bed);
  ASSERT_EQ(0, run("bed.wav out.w64 --dry --pose 90,0,0")) << errors_;
  const std::vector<float> ears = read("out.w64");
  EXPECT_GT(energy(ears, 1, 0, ears.size() / 2), 2.0 * energy(ears, 0, 0, ears.size() / 2));
}

TEST_F(RenderProgramTest, TrajectoryTurnsTheHeadOnTime) {
  std::vector<float> bed(6 * 24000);
  for (const size_t frame : {0, 12000}) bed[6 * frame + 2] = 1.0f;  // front centre
  write("bed.wav", "5.1", 48000, bed);
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

TEST_F(RenderProgramTest, LevelsFollowTheirOptions) {
  std::vector<float> bed(6 * 4800);
  bed[2] = 1.0f;             // front centre
  bed[6 * 2000 + 3] = 1.0f;  // LFE
  write("bed.wav", "5.1", 48000, bed);
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
  EXPECT_NEAR(-6.0, 20.0 * std::log10(static_cast<double>(peak)), 1e-3);
}

TEST_F(RenderProgramTest, TheOutputEndsWhenTheRoomHasFallenSilent) {
  std::vector<float> bed(6 * 480);
  bed[6 * 479] = 1.0f;  // front left
  write("bed.wav", "5.1", 48000, bed);
  bed.resize(6 * 144000);
  write("longer.wav", "5.1", 48000, bed);
  const struct {
    const char* arguments;
    size_t frames, slack;  // length of the output; how much of its end may be silent
  } cases[] = {
      {"--dry", 480 + 255, 10},
      {"", 480 + 1440 + 12000 - 1, 100},  // pre-delay and decay of the effect's own start
      {"--reverb decay=2,predelay=100,level=1", 480 + 4800 + 96000 - 1, 100},
      {"--no-reverb --reflections 4 --room 14x14x14 --listener 7,7,14", 480 + 255 + 4059, 300},
      {"--preset hall", 480 + 2659 + 1200 + 67200 - 1, 2000},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(0, run(std::string("bed.wav out.wav ") + c.arguments)) << errors_;
    const size_t frames = read("out.wav").size() / 2;
    EXPECT_EQ(c.frames, frames) << c.arguments;
    ASSERT_EQ(0, run(std::string("longer.wav out.wav ") + c.arguments)) << errors_;
    const std::vector<float> ears = read("out.wav");
    EXPECT_LT(energy(ears, 0, frames, ears.size() / 2), 1e-12) << c.arguments;
    EXPECT_GT(energy(ears, 0, frames - c.slack, frames), 1e-12) << c.arguments;
  }
}

TEST_F(RenderProgramTest, AWallEchoesFromItsDistance) {
  std::vector<float> bed(6 * 480);
  bed[2] = 1.0f;  // front centre
  write("bed.wav", "5.1", 48000, bed);
  // The front wall is 6 m ahead, so that it mirrors a loudspeaker at 1 m to 11 m.
  ASSERT_EQ(0, run("bed.wav out.wav --no-reverb --reflections 4 --room 12x14x14 --listener 0,0,7 "
                   "--absorption back=1,left=1,right=1 --param 208=1 --material floor=1"));
  const std::vector<float> ears = read("out.wav");
  const size_t echo = 145 + static_cast<size_t>(11.0 / 343.0 * 48000.0);
  const double before = energy(ears, 0, 400, echo - 200);
  EXPECT_GT(energy(ears, 0, echo - 100, echo + 200), 100.0 * before);
  ASSERT_EQ(0, run("bed.wav out.wav --preset hall --dry"));
  EXPECT_EQ(480u + 255u, read("out.wav").size() / 2);
}

// One impulse per channel, one after the other.
TEST_F(RenderProgramTest, EveryChannelOf22_2IsHeardOnItsSide) {
  constexpr size_t kSpacing = 1024;
  std::vector<float> bed(24 * 24 * kSpacing);
  for (size_t c = 0; c < 24; ++c) bed[24 * kSpacing * c + c] = 1.0f;
  write("bed.wav", "22.2", 48000, bed);
  // Left, right or middle, in the file's order.
  const std::string ffmpeg = "LRM.LRLRMLRMLMRLMR.LRMLR", bs2051 = "LRM.LRLRM.LRLRMMLRLRMMLR";
  const auto misplaced = [&](const std::string& arguments, const std::string& sides) {
    EXPECT_EQ(0, run("bed.wav out.rf64 --dry --layout 22.2 " + arguments)) << errors_;
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
  EXPECT_EQ(0u, misplaced("--file-order bs2051", bs2051));
  EXPECT_GT(misplaced("--order device", ffmpeg), 0u);
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
      const size_t begin = static_cast<size_t>(std::stod(line) * 48000.0);
      const double left = energy(ears, 0, begin, begin + 48000);
      const double right = energy(ears, 1, begin, begin + 48000);
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

TEST_F(RenderProgramTest, InfoTellsWhatARenderingWouldDo) {
  std::vector<float> bed(6 * 4410);
  bed[6 * 4000 + 1] = 0.5f;
  write("bed.wav", "5.1", 44100, bed);
  bed[6 * 4400] = std::numeric_limits<float>::infinity();
  write("inf.wav", "5.1", 48000, bed);
  write("bed22.wav", "22.2", 48000, std::vector<float>(24 * 48));
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
       1,
       {"map       none\n", "refused   bed22.wav: has no channel map (24 channels)"}},
      {"bed22.wav --layout 22.2 --file-order bs2051",
       0,
       {"     10  ?     LFE2  low frequencies 2"}},
      {"bed.wav --layout 7.1", 1, {"refused   bed.wav: 6 channels, but --layout 7.1 has 8\n"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.status, run(std::string("info ") + c.arguments)) << errors_;
    for (const char* line : c.lines) {
      EXPECT_NE(log().find(line), std::string::npos) << line << "\nin\n" << log();
    }
  }
}

}  // namespace
}  // namespace render
