// SPDX-License-Identifier: Apache-2.0
// The parts of orvane-live: what messages mean, and the audio callback.
// ORVANE_LIBRARY is the path of the library.
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/counted_new.h"
#include "tools/live/bed_player.h"
#include "tools/live/engine.h"
#include "tools/live/head_glide.h"
#include "tools/live/head_messages.h"
#include "tools/live/pose_slot.h"
#include "tools/render/audio_writer.h"

namespace live {
namespace {

using render::Rotation;

// Where a head turned by `head` hears what is at `room`.
std::array<double, 3> heard(const Rotation& head, const std::array<double, 3>& room) {
  const Rotation inverse = {head.w, -head.x, -head.y, -head.z};
  const Rotation turned =
      rotation_multiply(rotation_multiply(inverse, {0.0, room[0], room[1], room[2]}), head);
  return {turned.x, turned.y, turned.z};
}

using Direction = std::array<double, 3>;
constexpr Direction kFront = {1, 0, 0}, kBack = {-1, 0, 0}, kLeft = {0, 1, 0}, kRight = {0, -1, 0},
                    kAbove = {0, 0, 1}, kBelow = {0, 0, -1};

TEST(HeadMessagesTest, SayWhereAListenerHearsFrontAndLeft) {
  const double h = std::sqrt(0.5);
  const struct {
    const char* path;
    std::vector<double> values;
    Direction front, left;                    // a sender that turns the scene
    Direction inverted_front, inverted_left;  // one that turns the head
  } cases[] = {
      {"/ypr", {90, 0, 0}, kRight, kFront, kRight, kFront},
      {"/ypr", {0, -90, 0}, kBelow, kLeft, kBelow, kLeft},
      {"/ypr", {0, 0, 90}, kFront, kBelow, kFront, kBelow},
      {"/ypr", {90, 90, 0}, kRight, kAbove, kRight, kAbove},
      {"/yaw", {-90}, kLeft, kBack, kLeft, kBack},
      {"/pitch", {90}, kAbove, kLeft, kAbove, kLeft},
      {"/roll", {-90}, kFront, kAbove, kFront, kAbove},
      {"/quaternions", {h, 0, 0, h}, kRight, kFront, kRight, kFront},
      {"/SceneRotator/ypr", {90, 0, 0}, kLeft, kBack, kRight, kFront},
      {"/SceneRotator/ypr", {0, 90, 0}, kBelow, kLeft, kAbove, kLeft},
      {"/SceneRotator/ypr", {0, 0, 90}, kFront, kAbove, kFront, kBelow},
      {"/SceneRotator/ypr", {90, 90, 0}, kLeft, kAbove, kRight, kAbove},
      {"/SceneRotator/yaw", {90}, kLeft, kBack, kRight, kFront},
      {"/SceneRotator/quaternions", {h, 0, 0, h}, kLeft, kBack, kRight, kFront},
      {"/SceneRotator/quaternions", {-3, 0, -3, 0}, kBelow, kLeft, kAbove, kLeft},
  };
  for (const auto& c : cases) {
    for (const bool inverted : {false, true}) {
      HeadMessages messages({}, inverted ? SceneMessages::kTurnHead : SceneMessages::kTurnScene);
      const auto head = messages.read(c.path, c.values);
      ASSERT_TRUE(head) << c.path;
      const Direction front = heard(*head, kFront), left = heard(*head, kLeft);
      for (size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR((inverted ? c.inverted_front : c.front)[i], front[i], 1e-9) << c.path << i;
        EXPECT_NEAR((inverted ? c.inverted_left : c.left)[i], left[i], 1e-9) << c.path << i;
      }
    }
  }
}

TEST(HeadMessagesTest, OneAngleKeepsTheOthersWhateverSetThem) {
  HeadMessages messages({.yaw_deg = 10, .pitch_deg = 20, .roll_deg = 30},
                        SceneMessages::kTurnScene);
  const Rotation turn = render::pose_rotation({.yaw_deg = -120, .pitch_deg = 40, .roll_deg = 100});
  const auto expect = [](const render::Pose& pose, const std::optional<Rotation>& head) {
    const Rotation expected = render::pose_rotation(pose);
    ASSERT_TRUE(head);
    EXPECT_NEAR(1.0,
                std::fabs(expected.w * head->w + expected.x * head->x + expected.y * head->y +
                          expected.z * head->z),
                1e-12);
  };
  expect({50, 20, 30}, messages.read("/yaw", std::array{50.0}));
  expect({50, 20, -7}, messages.read("/SceneRotator/roll", std::array{7.0}));
  messages.read("/quaternions", std::array{turn.w, turn.x, turn.y, turn.z});
  expect({-120, -5, 100}, messages.read("/pitch", std::array{-5.0}));

  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    const char* path;
    std::vector<double> values;
  } ignored[] = {
      {"/ypr", {1, 2}},       {"/yaw", {nan}}, {"/quaternions", {0, 0, 0, 0}},
      {"/ypr/", {1, 2, 3}},   {"/yaw", {}},    {"/quaternions", {1.7e308, 1.7e308, 0, 0}},
      {"/SceneRotator", {1}}, {"", {1}}};
  for (const auto& message : ignored) {
    EXPECT_FALSE(messages.read(message.path, message.values)) << message.path;
  }
  expect({0, -5, 100}, messages.read("/yaw", std::array{0.0}));
}

double yaw_degrees(const Rotation& head) { return pose_from_rotation(head).yaw_deg; }

// A head that turns by 90 degrees a second, sent every 10 ms between blocks that do not divide
// them.
TEST(HeadGlideTest, BlocksBetweenPosesTurnTheHeadEvenly) {
  for (const size_t block : {64, 100, 256}) {
    HeadGlide glide;
    double last = 0.0;
    size_t sent = 0;
    for (size_t begin = 0; begin < 24000; begin += block) {
      if (begin >= 480 * sent) {
        glide.aim(render::pose_rotation({.yaw_deg = 0.9 * static_cast<double>(++sent)}));
      }
      const double now = yaw_degrees(glide.advance(block).value_or(Rotation()));
      const double even = 90.0 * static_cast<double>(block) / render::kEffectRateHz;
      if (begin > 9600) {
        EXPECT_NEAR(even, now - last, 0.7 * even) << block << " at " << begin;
      }
      EXPECT_NEAR(90.0 * static_cast<double>(begin + block) / render::kEffectRateHz, now, 2.0);
      last = now;
    }
  }
}

TEST(HeadGlideTest, RestsWhereTheLastPoseIs) {
  HeadGlide glide;
  EXPECT_FALSE(glide.advance(64));
  glide.aim(render::pose_rotation({.yaw_deg = 30}));
  double reached = 0.0;
  size_t blocks = 0;
  while (const auto head = glide.advance(64)) reached = yaw_degrees(*head), ++blocks;
  EXPECT_NEAR(30.0, reached, 1e-9);
  EXPECT_EQ(8u, blocks);  // 10 ms
}

TEST(EngineTest, APeriodIsMadeOfEqualBlocksThatTheEffectTakes) {
  const size_t cases[][2] = {{1, 1},      {256, 256},   {1024, 1024}, {1025, 205},
                             {1536, 768}, {2048, 1024}, {4096, 1024}, {6000, 1000}};
  for (const auto& c : cases) EXPECT_EQ(c[1], block_frames_of(c[0])) << c[0];
}

// An engine that plays a 5.1 file, or has input ports for 5.1 that are fed the same noise in every
// period.
class LiveEngine {
 public:
  explicit LiveEngine(size_t period, const std::string& file = "")
      : effect_(ORVANE_LIBRARY, render::layout_find("5.1")->mask),
        plan_(channel_plan_make("inputs", std::vector<render::Speaker>(6), {.layout = "5.1"})),
        engine_(&effect_, plan_, open(file), &poses_, 1.0f),
        ears_(2 * period),
        period_(period) {
    for (int32_t id : {100, 200}) effect_.set_parameter(id, 0.0f, "dry");
    for (size_t i = 0; i < 6 * period; ++i)
      noise_.push_back(static_cast<float>(i * i % 97) * 0.01f);
    for (size_t i = 0; i < 6; ++i) inputs_.push_back(noise_.data() + i * period);
    engine_.set_period(period);
    engine_.start();
    engine_.check();
  }

  void turn_head(double yaw_deg) { poses_.write(render::pose_rotation({.yaw_deg = yaw_deg})); }

  // Left ear, then right ear.
  const std::vector<float>& process() {
    float* const ears[] = {ears_.data(), ears_.data() + period_};
    engine_.process(inputs_.data(), ears, period_);
    return ears_;
  }

  std::vector<float> noise_;

 private:
  BedPlayer* open(const std::string& file) {
    return file.empty() ? nullptr
                        : &player_.emplace(render::InputRequest{.path = file}, plan_, 1000, false);
  }

  render::EffectHost effect_;
  render::ChannelPlan plan_;
  PoseSlot poses_;
  std::optional<BedPlayer> player_;
  Engine engine_;
  std::vector<const float*> inputs_;
  std::vector<float> ears_;
  size_t period_;
};

TEST(EngineTest, APoseIsHeardInTheNextPeriodAndWholeAfterTwo) {
  LiveEngine still(512), turning(512), turned(512);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(still.process(), turning.process());
  turning.turn_head(90.0);
  turned.turn_head(90.0);
  EXPECT_NE(still.process(), turning.process());
  for (int i = 0; i < 3; ++i) turned.process(), turning.process();
  EXPECT_EQ(turned.process(), turning.process());
}

TEST(EngineTest, ABadSampleOfAnotherProgramIsNotHeard) {
  LiveEngine engine(256);
  engine.noise_[100] = std::numeric_limits<float>::infinity();
  engine.noise_[500] = std::numeric_limits<float>::quiet_NaN();
  for (const float sample : engine.process()) EXPECT_TRUE(std::isfinite(sample));
}

// In strict mode the kernel ends a process at any system call but read, write and exit.
TEST(EngineTest, TheCallbackNeitherAllocatesNorCallsTheSystem) {
  const std::string file = testing::TempDir() + "bed" + std::to_string(getpid()) + ".wav";
  render::AudioSpec spec;
  spec.channels = 6;
  render::AudioWriter writer(file, spec);
  writer.write(std::vector<float>(6 * 4800, 0.1f).data(), 4800);
  writer.commit();
  const struct {
    size_t period;
    std::string file;
  } cases[] = {{64, ""}, {256, ""}, {2048, ""}, {64, file}, {2048, file}};
  for (const auto& [period, bed] : cases) {
    const pid_t child = fork();
    if (child == 0) {
      LiveEngine engine(period, bed);
      if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0) _exit(77);
      const size_t before = g_allocations;
      for (int i = 0; i < 200; ++i) {
        if (i % 3 == 0) engine.turn_head(i);
        engine.process();
      }
      syscall(SYS_exit, g_allocations == before ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no seccomp here";
    EXPECT_EQ(0, status) << period << " " << bed;
  }
  std::remove(file.c_str());
}

}  // namespace
}  // namespace live
