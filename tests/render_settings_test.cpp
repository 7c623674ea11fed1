// SPDX-License-Identifier: Apache-2.0
// What the host renderer reads: trajectories, parameters and presets, with the lines it refuses.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>

#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/pose.h"
#include "tools/render/presets.h"
#include "tools/render/settings.h"
#include "tools/render/text.h"
#include "tools/render/trajectory.h"

namespace render {
namespace {

std::string write_text(const char* text) {
  const std::string path = ::testing::TempDir() + "orvane_text" + std::to_string(getpid());
  std::ofstream(path) << text;
  return path;
}

// Of `head` from `other`, in radians.
double angle_between(const Rotation& head, const Rotation& other) {
  const Rotation back = {other.w, -other.x, -other.y, -other.z};
  const std::array<double, 3> rest = rotation_to_vector(rotation_multiply(back, head));
  return std::hypot(rest[0], rest[1], rest[2]);
}

TEST(TrajectoryTest, TurnsEvenlyBetweenTheLinesOfEveryFormat) {
  const char* files[] = {
      "time,yaw,pitch,roll\n1,0,0,0\n2,90,0,0\n4,-150,0,0\n",
      "# a comment\r\n\r\n time, qw ,qx,qy,qz\r\n 1,1,0,0,0\r\n2,.7071,0,0,.7071\r\n"
      "4,0.2588190451,0,0,-.9659258263",
      "time,rx,ry,rz\n1,0,0,0\n2,0,0,-1.570796327\n4,0,0,2.617993878\n",
  };
  const struct {
    double time_s, yaw_deg;
  } cases[] = {{-5, 0}, {1, 0}, {1.5, 45}, {2, 90}, {3, 150}, {4, -150}, {1e6, -150}};
  for (const char* text : files) {
    const Trajectory trajectory(write_text(text));
    for (const auto& c : cases) {
      const Rotation expected = pose_rotation({.yaw_deg = c.yaw_deg});
      EXPECT_NEAR(0.0, angle_between(trajectory.at(c.time_s), expected), 1e-7) << text << c.time_s;
    }
  }
}

TEST(TrajectoryTest, ReadsBackWhatTheEffectIsSent) {
  const Rotation head = pose_rotation({.yaw_deg = 30, .pitch_deg = -20, .roll_deg = 50});
  const std::array<float, 6> sent = pose_head_to_stage(head);
  EXPECT_NEAR(0.0, angle_between(pose_from_head_to_stage({sent[3], sent[4], sent[5]}), head), 1e-6);
}

TEST(TextFileTest, RefusesALineByItsNumber) {
  const auto read_trajectory = [](const std::string& path) { Trajectory{path}; };
  const auto read_preset = [](const std::string& path) {
    Settings settings;
    preset_read(path, &settings);
  };
  const struct {
    void (*read)(const std::string& path);
    const char* text;
    const char* refusal;
  } cases[] = {
      {read_trajectory, "time,yaw,pitch,roll\n", ": holds no pose"},
      {read_trajectory, "\ntime,yaw\n", ":2: expected time,yaw,pitch,roll or time,qw"},
      {read_trajectory, "time,yaw,pitch,roll\n0,0,0\n", ":2: expected 4 numbers"},
      {read_trajectory, "time,yaw,pitch,roll\n0,0,0,nan\n", ":2: expected 4 numbers"},
      {read_trajectory, "time,rx,ry,rz\n0,0,0,0\n#\n0,1,0,0\n", ":4: time 0 does not follow 0"},
      {read_trajectory, "time,qw,qx,qy,qz\n0,1,1,0,0\n", ":2: the quaternion has length 1.41421"},
      {read_trajectory, "time,rx,ry,rz\n0,1.7e308,1.7e308,0\n", ":2: the rotation vector is too"},
      {read_preset, "# fine\nreverb.decay = 0.5 \n", ""},
      {read_preset, "\n reverb.decay = 3", ":2: reverb.decay takes 0 to 2, not 3"},
      {read_preset, "reverb.decay 1\n", ":1: reverb.decay 1 is not NAME=VALUE"},
      {read_preset, "decay = 1\n", ":1: there is no parameter decay: --parameters lists them"},
      {read_preset, "absorption.door=1",
       ":1: there is no parameter absorption.door: it may be absorption.fro"},
      {read_preset, "material.front = 2.5\n", ":1: material.front takes a whole number from 1 to"},
  };
  for (const auto& c : cases) {
    const std::string path = write_text(c.text);
    std::string refusal = path;
    try {
      c.read(path);
    } catch (const Failure& failure) {
      refusal = failure.what();
    }
    EXPECT_EQ(path + c.refusal, refusal.substr(0, (path + c.refusal).size())) << refusal;
  }
}

bool settings_take(const Parameter& parameter, float value) {
  Settings settings;
  try {
    settings.set(parameter, text_format("%.9g", static_cast<double>(value)));
    settings.check();
  } catch (const BadText&) {
    return false;
  }
  return true;
}

bool effect_takes(EffectHost* effect, const Parameter& parameter, float value) {
  try {
    effect->set_parameter(parameter.number, value, parameter.name);
  } catch (const Failure&) {
    return false;
  }
  return true;
}

TEST(SettingsTest, EveryOptionEndsWhereTheEffectsParameterDoes) {
  EffectHost effect(ORVANE_LIBRARY, layouts().front().mask);
  for (const Parameter& parameter : parameters()) {
    const float limit = parameter.limiting ? render::parameter(parameter.limiting).default_value
                                           : parameter.maximum;  // the effect's order
    const orvane_range_t range = orvane_parameter_range(&parameter, limit);
    for (const float end : {range.minimum, range.maximum}) {
      EXPECT_TRUE(settings_take(parameter, end)) << parameter.name << " " << end;
      EXPECT_TRUE(effect_takes(&effect, parameter, end)) << parameter.name << " " << end;
      effect.configure(layouts().front().mask);  // back to the default room
    }
    const float step = parameter.kind == ORVANE_KIND_SWITCH ? 1.0f : 1e-3f;
    for (const float beyond : {range.minimum - step, range.maximum + step}) {
      EXPECT_FALSE(settings_take(parameter, beyond)) << parameter.name << " " << beyond;
      EXPECT_FALSE(effect_takes(&effect, parameter, beyond)) << parameter.name << " " << beyond;
    }
  }
}

TEST(SettingsTest, SendsTheRoomBeforeWhatDependsOnIt) {
  Settings settings;
  for (const char* text : {"reflections.mode=3", "listener.x=4", "material.back=5", "room.length=9",
                           "100=1", "absorption.back=0.5", "absorption.left=0.1", "212=7"}) {
    settings.set_assignment("", text);
  }
  std::vector<int32_t> sent;
  for (const Settings::Write& write : settings.writes()) sent.push_back(write.parameter->number);
  // Of a wall's material and absorption, only the one that came last.
  EXPECT_EQ((std::vector<int32_t>{100, 201, 205, 212, 216, 200}), sent);
}

}  // namespace
}  // namespace render
