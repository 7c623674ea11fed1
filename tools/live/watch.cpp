// SPDX-License-Identifier: Apache-2.0
#include "tools/live/watch.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "tools/live/head_trackers.h"
#include "tools/render/interrupt.h"
#include "tools/render/pose.h"
#include "tools/render/text.h"

namespace live {
namespace {

constexpr std::chrono::milliseconds kPause(50);
constexpr double kRateS = 1.0;     // over which poses are counted
constexpr double kStillDeg = 2.0;  // an angle below it has no word
constexpr int kHalfDial = 12, kDialDeg = 90;

const char* word(double degrees, const char* positive, const char* negative) {
  if (std::fabs(degrees) < kStillDeg) return "-";
  return degrees > 0.0 ? positive : negative;
}

// Seen from above: where the nose points, from the left over ahead to the right.
std::string dial(double yaw_deg) {
  std::string marks(2 * kHalfDial + 1, '.');
  marks[kHalfDial] = '|';
  const double place = -yaw_deg / kDialDeg * kHalfDial;
  const long at = std::lround(std::clamp(place, double{-kHalfDial}, double{kHalfDial}));
  marks[static_cast<size_t>(at + kHalfDial)] = '^';
  return marks;
}

// Poses per second, counted anew every kRateS.
class RateMeter {
 public:
  double update(const HeadInput::State& state, std::chrono::duration<double> now) {
    const double elapsed = now.count() - since_s_;
    if (elapsed >= kRateS) {
      rate_ = static_cast<double>(state.poses - poses_) / elapsed;
      poses_ = state.poses;
      since_s_ = now.count();
    }
    return rate_;
  }

 private:
  uint64_t poses_ = 0;
  double since_s_ = 0.0, rate_ = 0.0;
};

}  // namespace

std::string watch_line(const HeadInput::State& state, double poses_per_second) {
  if (state.poses == 0) return "no pose has come";
  const render::Pose pose = pose_from_rotation(state.head);
  return render::text_format(
      "L %s R  yaw %+6.1f %-5s  pitch %+6.1f %-4s  roll %+6.1f %-5s  %3.0f/s",
      dial(pose.yaw_deg).c_str(), pose.yaw_deg, word(pose.yaw_deg, "left", "right"), pose.pitch_deg,
      word(pose.pitch_deg, "down", "up"), pose.roll_deg, word(pose.roll_deg, "right", "left"),
      poses_per_second);
}

void watch_run(const Options& options) {
  PoseSlot poses;
  const HeadTrackers trackers(options, &poses);
  std::printf("osc     port %d\n", trackers.osc_port());
  if (const auto port = trackers.opentrack_port()) std::printf("opentrack port %d\n", *port);
  const bool is_terminal = isatty(STDOUT_FILENO) != 0;
  const auto start = std::chrono::steady_clock::now();
  RateMeter rate;
  std::string last;
  try {
    for (;;) {
      render::interrupt_check();
      const HeadInput::State state = trackers.input().state();
      const double per_second = rate.update(state, std::chrono::steady_clock::now() - start);
      const std::string line = watch_line(state, per_second);
      if (is_terminal) {
        std::printf("\r%-90s", line.c_str());
      } else if (line != last) {
        std::printf("%s\n", line.c_str());
      }
      std::fflush(stdout);
      last = line;
      std::this_thread::sleep_for(kPause);
    }
  } catch (const render::Interrupted&) {  // there is no other end
    if (is_terminal) std::printf("\n");
  }
}

}  // namespace live
