// SPDX-License-Identifier: Apache-2.0
// Head trackers of orvane-live: what their numbers mean, centre and prediction, and the program
// with fake senders of every protocol. ORVANE_LIVE_PROGRAM is its path.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tools/live/head_input.h"
#include "tools/live/head_messages.h"
#include "tools/live/opentrack_receiver.h"
#include "tools/live/osc_receiver.h"
#include "tools/live/tracker_axes.h"

namespace live {
namespace {

using render::Pose;
using render::Rotation;

// Degrees between two turns.
double angle_between(const Rotation& a, const Rotation& b) {
  const Rotation inverse = {a.w, -a.x, -a.y, -a.z};
  const std::array<double, 3> way = rotation_to_vector(rotation_multiply(inverse, b));
  return std::hypot(way[0], way[1], way[2]) * 180.0 / 3.14159265358979323846;
}

Rotation turn(double yaw, double pitch = 0.0, double roll = 0.0) {
  return render::pose_rotation({yaw, pitch, roll});
}

std::string opentrack(double yaw, double pitch, double roll) {
  const double values[] = {1.0, 2.0, 3.0, yaw, pitch, roll};
  std::string datagram;
  for (const double value : values) {
    const auto bits = std::bit_cast<uint64_t>(value);
    for (int i = 0; i < 8; ++i) datagram += static_cast<char>(bits >> (8 * i));
  }
  return datagram;
}

std::string osc(const std::string& path, const std::vector<float>& values) {
  const auto padded = [](std::string text) {
    do text += '\0';
    while (text.size() % 4 != 0);
    return text;
  };
  std::string message = padded(path) + padded("," + std::string(values.size(), 'f'));
  for (const float value : values) {
    const auto bits = std::bit_cast<uint32_t>(value);
    for (int i = 3; i >= 0; --i) message += static_cast<char>(bits >> (8 * i));
  }
  return message;
}

class Sender {
 public:
  explicit Sender(int port) : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<uint16_t>(port));
    EXPECT_EQ(0, connect(fd_, reinterpret_cast<sockaddr*>(&to), sizeof(to)));
  }
  ~Sender() { close(fd_); }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  void send(const std::string& datagram) const {
    [[maybe_unused]] const ssize_t sent = ::send(fd_, datagram.data(), datagram.size(), 0);
  }

 private:
  int fd_;
};

TEST(TrackerAxesTest, SayWhichAngleIsWhichAndWhichWayItGrows) {
  const Pose tracker = {10, 20, 30};
  const struct {
    const char* text;
    Pose head;
  } cases[] = {{"y,p,r", {10, 20, 30}}, {"-y,-p,r", {-10, -20, 30}}, {"r,-y,p", {30, -10, 20}}};
  for (const auto& c : cases) {
    const auto axes = TrackerAxes::parse(c.text);
    ASSERT_TRUE(axes) << c.text;
    EXPECT_NEAR(0.0, angle_between(pose_rotation(c.head), pose_rotation(axes->pose(tracker))),
                1e-9);
    const Pose back = axes->tracker_pose(axes->pose(tracker));
    EXPECT_EQ(10.0, back.yaw_deg);
    EXPECT_EQ(20.0, back.pitch_deg);
    EXPECT_EQ(30.0, back.roll_deg);
  }
  for (const char* text : {"", "y,p", "y,y,r", "y,p,r,", "--y,p,r", "y p r", "yaw,p,r"}) {
    EXPECT_FALSE(TrackerAxes::parse(text)) << text;
  }
  // A turn and the angles that it has in the tracker's frame mean the same head.
  const auto axes = *TrackerAxes::parse("-y,-p,r");
  EXPECT_NEAR(0.0, angle_between(axes.turn(turn(10, 20, 30)), turn(-10, -20, 30)), 1e-9);
  for (const char* name : {"aitrack", "nvsonic", "opentrack", "phone", "supperware", "webcam"}) {
    ASSERT_TRUE(tracker_preset_find(name)) << name;
    EXPECT_TRUE(TrackerAxes::parse(tracker_preset_find(name)->axes)) << name;
  }
  EXPECT_FALSE(tracker_preset_find("tracker"));
}

TEST(HeadMessagesTest, OtherTrackersSayTheSameInTheirOwnWords) {
  const double h = std::sqrt(0.5);
  const struct {
    const char* path;
    std::vector<double> values;
  } left[] = {{"/adm/lis/ypr", {90, 0, 0}},
              {"/orientation", {90, 0, 0}},
              {"/orientation", {h, 0, 0, h}},
              {"/quaternion", {h, 0, 0, h}},
              {"/quaternions", {h, 0, 0, h}},
              {"/SceneRotator/quaternion", {h, 0, 0, -h}},
              {"/yaw", {90}}};
  for (const auto& message : left) {
    HeadMessages messages({}, SceneMessages::kTurnScene);
    const auto head = messages.read(message.path, message.values);
    ASSERT_TRUE(head) << message.path;
    EXPECT_NEAR(0.0, angle_between(*head, turn(90)), 1e-9) << message.path;
  }
  HeadMessages mirrored({0, 5, 0}, SceneMessages::kTurnScene, *TrackerAxes::parse("-y,-p,r"));
  EXPECT_NEAR(0.0, angle_between(*mirrored.read("/yaw", std::vector{30.0}), turn(-30, 5)), 1e-9);
}

TEST(OpentrackTest, SixLittleEndianDoublesAreAPose) {
  const auto parse = [](const std::string& bytes) {
    return opentrack_parse({reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
  };
  const auto pose = parse(opentrack(1.5, -2.5, 179));
  ASSERT_TRUE(pose);
  EXPECT_EQ(1.5, pose->yaw_deg);
  EXPECT_EQ(-2.5, pose->pitch_deg);
  EXPECT_EQ(179.0, pose->roll_deg);
  EXPECT_FALSE(parse(opentrack(0, std::numeric_limits<double>::infinity(), 0)));
  EXPECT_FALSE(parse(opentrack(0, 0, 0) + "x"));
  EXPECT_FALSE(parse(""));
}

TEST(HeadInputTest, ACentreTakesOutHowTheTrackerSits) {
  PoseSlot slot;
  HeadInput input(turn(5), 0.0, &slot);
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(5)), 1e-9) << "until the first pose";
  input.recentre();
  const Rotation askew = turn(40, 10, -7);
  input.take(askew, 1.0);
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(0)), 1e-9) << "the first pose is the centre";
  input.take(rotation_multiply(askew, turn(-20)), 1.1);
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(-20)), 1e-9) << "about its own axes";
  input.recentre();
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(0)), 1e-9) << "at once";
  EXPECT_EQ(2u, input.state().poses);
}

// A head that looks to and fro by 30 degrees once per second, told 60 times per second with a noise
// of .05 degrees and 40 ms late. Returns the RMS error of what is heard, in degrees.
double tracking_error(double predict_s) {
  PoseSlot slot;
  HeadInput input({}, predict_s, &slot);
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0.0, 0.05);
  const auto yaw = [](double t) { return 30.0 * std::sin(2.0 * 3.14159265358979323846 * t); };
  double sum = 0.0;
  constexpr int kPoses = 600, kSettling = 60;
  for (int i = 0; i < kPoses; ++i) {
    const double now = i / 60.0;
    input.take(turn(yaw(now - 0.04) + noise(random)), now);
    const double error = angle_between(*slot.take(), turn(yaw(now)));
    if (i >= kSettling) sum += error * error;
  }
  return std::sqrt(sum / (kPoses - kSettling));
}

TEST(HeadInputTest, PredictionMakesUpForMostOfATrackersDelay) {
  const double late = tracking_error(0.0), predicted = tracking_error(0.04);
  std::printf("40 ms late: %.2f degrees off, with --predict 40: %.2f\n", late, predicted);
  EXPECT_NEAR(5.3, late, 0.2);
  EXPECT_LT(predicted, 0.5 * late);
}

TEST(HeadInputTest, APredictionEndsWhenNoPoseFollows) {
  PoseSlot slot;
  HeadInput input({}, 0.05, &slot);
  for (int i = 0; i <= 20; ++i) input.take(turn(i), 0.01 * i);
  EXPECT_NEAR(5.0, angle_between(*slot.take(), turn(20)), 0.5) << "100 degrees per second";
  input.settle(0.25);
  EXPECT_FALSE(slot.take());
  input.settle(0.5);
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(20)), 1e-9);
  input.take(turn(80), 2.0);
  EXPECT_NEAR(0.0, angle_between(*slot.take(), turn(80)), 1e-9) << "a pause is no movement";
}

TEST(OscReceiverTest, StandsAFloodOfGarbage) {
  PoseSlot slot;
  HeadInput input({}, 0.0, &slot);
  OscReceiver receiver(0, HeadMessages({}, SceneMessages::kTurnScene), &input, false);
  const Sender sender(receiver.port());
  std::mt19937 random(2);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes = osc("/ypr", {1, 2, 3});
    if (i % 3 == 0) bytes.resize(random() % 64);
    for (unsigned k = 1 + random() % 8; k > 0 && !bytes.empty(); --k) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    sender.send(bytes);
  }
  const auto arrives = [&] {
    sender.send(osc("/ypr", {33, 0, 0}));
    return angle_between(input.state().head, turn(33)) < 1e-3;
  };
  EXPECT_TRUE(wait_until(arrives));
}

// The program itself, which shows what it receives as text.
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
