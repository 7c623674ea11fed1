// SPDX-License-Identifier: Apache-2.0
// orvane-live with fake senders of every protocol of head trackers. ORVANE_LIVE_PROGRAM is its
// path.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "tests/support/child_process.h"
#include "tests/support/fake_tracker.h"

namespace live {
namespace {

// The program shows what it receives as text.
class TrackerProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ =
        std::filesystem::path(::testing::TempDir()) / ("orvane-watch-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override {
    if (program_) program_->terminate(), program_->wait();
    std::filesystem::remove_all(folder_);
  }
  std::string text(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(folder_ / name).rdbuf();
    return text.str();
  }

  // A number that the program has printed with the end of its line; 0 where it has not.
  int port_after(const std::string& words) const {
    const std::string out = text("out");
    const size_t at = out.find(words);
    if (at == out.npos || out.find('\n', at) == out.npos) return 0;
    return std::atoi(out.c_str() + at + words.size());
  }

  void start(const std::string& arguments) {
    std::filesystem::remove(folder_ / "out");
    program_ = std::make_unique<ChildProcess>(
        "exec " ORVANE_LIVE_PROGRAM " --watch --osc-port 0 --opentrack 0 " + arguments,
        folder_ / "out", folder_ / "errors");
    const auto listens = [&] {
      osc_ = port_after("osc     port ");
      opentrack_ = port_after("opentrack port ");
      return osc_ > 0 && opentrack_ > 0;
    };
    ASSERT_TRUE(wait_until(listens)) << text("errors");
  }

  // Whether the program shows this pose while the sender goes on.
  bool shows(int port, const std::string& datagram, const std::string& pose) {
    const Sender sender(port);
    return wait_until([&] {
      if (!datagram.empty()) sender.send(datagram);
      const std::string out = text("out");
      return out.rfind(pose) != out.npos && out.rfind(pose) > out.rfind('\n', out.size() - 2);
    });
  }

  std::filesystem::path folder_;
  std::unique_ptr<ChildProcess> program_;
  int osc_ = 0, opentrack_ = 0;
};

// A turn to the left, nose down, and to the right shoulder, as right-handed turns about +z, +y and
// +x: what a tracker's numbers mean shows in the words beside them.
TEST_F(TrackerProgramTest, EveryPresetShowsWhatItsTrackerSends) {
  using Datagrams = std::array<std::string, 3>;  // that turn about one axis each
  const Datagrams udp = {opentrack(30, 0, 0), opentrack(0, 15, 0), opentrack(0, 0, 20)};
  const Datagrams orientation = {osc("/orientation", {30, 0, 0}), osc("/orientation", {0, 15, 0}),
                                 osc("/orientation", {0, 0, 20})};
  const Datagrams angles = {osc("/ypr", {30, 0, 0}), osc("/ypr", {0, 15, 0}),
                            osc("/ypr", {0, 0, 20})};
  const auto scene = [](float x, float y, float z) {
    return osc("/SceneRotator/quaternions", {std::sqrt(1.0f - x * x - y * y - z * z), x, y, z});
  };
  const Datagrams scenes = {scene(0, 0, 0.258819f), scene(0, 0.1305262f, 0),
                            scene(0.1736482f, 0, 0)};
  const Datagrams to_right = {"yaw  -30.0 right", "pitch  -15.0 up", "roll  +20.0 right"};
  const Datagrams to_left = {"yaw  +30.0 left", "pitch  +15.0 down", "roll  +20.0 right"};
  const Datagrams inverse = {"yaw  -30.0 right", "pitch  -15.0 up", "roll  -20.0 left"};
  const struct {
    const char* preset;
    const Datagrams &sent, &shown;
  } cases[] = {{"opentrack", udp, to_right},    {"aitrack", udp, to_right},
               {"webcam", udp, to_right},       {"phone", orientation, to_right},
               {"supperware", angles, to_left}, {"nvsonic", scenes, inverse}};
  for (const auto& c : cases) {
    ASSERT_NO_FATAL_FAILURE(start(std::string("--tracker ") + c.preset));
    const int port = &c.sent == &udp ? opentrack_ : osc_;
    for (size_t axis = 0; axis < 3; ++axis) {
      EXPECT_TRUE(shows(port, c.sent[axis], c.shown[axis])) << c.preset << text("out");
    }
    program_->send(SIGUSR1);
    EXPECT_TRUE(shows(port, c.sent[2], "yaw   +0.0 -      pitch   +0.0 -     roll   +0.0"));
    program_->terminate();
    EXPECT_EQ(0, program_->wait());
  }
}

TEST_F(TrackerProgramTest, TheKeyAtItsTerminalRecentres) {
  int terminal = -1;
  const std::string command = "exec " ORVANE_LIVE_PROGRAM " --watch --osc-port 0 >" +
                              (folder_ / "out").string() + " 2>" + (folder_ / "errors").string();
  const pid_t program = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (program == 0) {
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }
  if (program < 0 && access("/dev/pts/ptmx", F_OK) != 0) {
    GTEST_SKIP() << "no pseudo-terminals here";
  }
  ASSERT_GT(program, 0);
  EXPECT_TRUE(wait_until([&] { return (osc_ = port_after("osc     port ")) > 0; }));
  EXPECT_TRUE(shows(osc_, osc("/ypr", {30, 0, 0}), "yaw  +30.0 left"));
  EXPECT_EQ(2, write(terminal, "xc", 2));
  EXPECT_TRUE(shows(osc_, "", "yaw   +0.0"));
  kill(program, SIGTERM);
  int status = 0;
  EXPECT_EQ(program, waitpid(program, &status, 0));
  EXPECT_EQ(0, status);
  close(terminal);
}

TEST_F(TrackerProgramTest, TakesSignsAndRecentresOverOsc) {
  ASSERT_NO_FATAL_FAILURE(start("--tracker-axes y,p,r"));
  EXPECT_TRUE(shows(osc_, osc("/ypr", {30, 0, 0}), "yaw  +30.0 left"));
  EXPECT_TRUE(shows(osc_, osc("/adm/lis/ypr", {0, 12, 0}), "pitch  +12.0 down"));
  EXPECT_TRUE(shows(osc_, osc("/SceneRotator/ypr", {45, 0, 0}), "yaw  -45.0 right"));
  const Sender sender(osc_);
  sender.send(osc("/recenter", {}));
  EXPECT_TRUE(shows(osc_, "", "yaw   +0.0"));
  EXPECT_TRUE(shows(opentrack_, opentrack(0, 0, 0), "yaw  +45.0 left"));
}

TEST_F(TrackerProgramTest, RefusesOptionsThatMeanNothing) {
  const char* const cases[] = {"--tracker mouse", "--tracker-axes y,p", "--predict 500",
                               "--opentrack x"};
  for (const char* arguments : cases) {
    ChildProcess program(std::string("exec " ORVANE_LIVE_PROGRAM " --watch ") + arguments,
                         folder_ / "out", folder_ / "errors");
    EXPECT_EQ(2, program.wait()) << arguments;
  }
}

}  // namespace
}  // namespace live
