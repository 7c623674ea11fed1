// What the host renderer reads: trajectories, parameters and presets, with the lines it refuses.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "tools/render/failure.h"
#include "tools/render/pose.h"
#include "tools/render/trajectory.h"

namespace render {
namespace {

class TextFile {
 public:
  explicit TextFile(const std::string& text)
      : path_(::testing::TempDir() + "orvane_text" + std::to_string(getpid())) {
    std::ofstream(path_) << text;
  }
  ~TextFile() { std::filesystem::remove(path_); }
  const std::string& path() const { return path_; }

  // What a Failure says after the path; empty where `read` throws none.
  template <typename Read>
  std::string refusal(Read read) const {
    try {
      read(path_);
    } catch (const Failure& failure) {
      return std::string(failure.what()).substr(path_.size());
    }
    return "";
  }

 private:
  std::string path_;
};

// The turn about +z of a head that turns about nothing else, in degrees.
double yaw_deg(const Rotation& head) {
  const std::array<double, 3> vector = rotation_to_vector(head);
  EXPECT_NEAR(0.0, std::hypot(vector[0], vector[1]), 1e-12);
  return vector[2] * 180.0 / std::acos(-1.0);
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
    const TextFile file(text);
    const Trajectory trajectory(file.path());
    for (const auto& c : cases) {
      EXPECT_NEAR(c.yaw_deg, yaw_deg(trajectory.at(c.time_s)), 1e-6) << text << c.time_s;
    }
  }
}

TEST(TrajectoryTest, RefusesALineByItsNumber) {
  const struct {
    const char* text;
    const char* refusal;
  } cases[] = {
      {"", ": holds no pose"},
      {"time,yaw,pitch,roll\n", ": holds no pose"},
      {"\ntime,yaw\n", ":2: expected time,yaw,pitch,roll or time,qw"},
      {"time,yaw,pitch,roll\n0,0,0\n", ":2: expected 4 numbers"},
      {"time,yaw,pitch,roll\n0,0,0,nan\n", ":2: expected 4 numbers"},
      {"time,yaw,pitch,roll\n0,0,0,0\n#\n0,1,0,0\n", ":4: time 0 does not follow 0"},
      {"time,qw,qx,qy,qz\n0,1,1,0,0\n", ":2: the quaternion has length 1.41421, not 1"},
  };
  for (const auto& c : cases) {
    const TextFile file(c.text);
    const std::string refusal = file.refusal([](const std::string& path) { Trajectory{path}; });
    EXPECT_EQ(0u, refusal.find(c.refusal)) << refusal;
  }
}

TEST(TrajectoryTest, HeadToStageIsUndoneExactly) {
  const Rotation head = pose_rotation({.yaw_deg = 30, .pitch_deg = -20, .roll_deg = 50});
  const std::array<float, 6> sent = pose_head_to_stage(head);
  const Rotation back = pose_from_head_to_stage({sent[3], sent[4], sent[5]});
  const std::array<double, 3> rest =
      rotation_to_vector(rotation_multiply({head.w, -head.x, -head.y, -head.z}, back));
  EXPECT_NEAR(0.0, std::hypot(rest[0], rest[1], rest[2]), 1e-6);
}

}  // namespace
}  // namespace render
