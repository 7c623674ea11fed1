// SPDX-License-Identifier: Apache-2.0
// Head trackers of orvane-live: what their numbers mean, centre and prediction.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/fake_tracker.h"
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

}  // namespace
}  // namespace live
