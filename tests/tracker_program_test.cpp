// SPDX-License-Identifier: Apache-2.0
// orvane-live with fake senders of every protocol of head trackers. ORVANE_LIVE_PROGRAM is its
// path.
#include <gtest/gtest.h>
#include <unistd.h>

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

TEST_F(TrackerProgramTest, ShowsWhatEveryTrackerSends) {
  ASSERT_NO_FATAL_FAILURE(start("--tracker webcam"));
  // A webcam tracker: yaw grows to the right, pitch upwards, roll to the right.
  EXPECT_TRUE(shows(opentrack_, opentrack(30, 0, 0), "yaw  -30.0 right"));
  EXPECT_TRUE(shows(opentrack_, opentrack(0, 15, 0), "pitch  -15.0 up"));
  EXPECT_TRUE(shows(opentrack_, opentrack(0, 0, 20), "roll  +20.0 right"));
  program_->send(SIGUSR1);
  EXPECT_TRUE(
      shows(opentrack_, opentrack(0, 0, 20), "yaw   +0.0 -      pitch   +0.0 -     roll   +0.0"));

  program_->terminate();
  EXPECT_EQ(0, program_->wait());
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
