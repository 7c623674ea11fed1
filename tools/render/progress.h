// SPDX-License-Identifier: Apache-2.0
// A line on the terminal that says how far a job is.
#ifndef ORVANE_TOOLS_RENDER_PROGRESS_H_
#define ORVANE_TOOLS_RENDER_PROGRESS_H_

#include <chrono>
#include <cstdint>

namespace render {

// Shows nothing unless standard error is a terminal. The line is gone when the object is.
class Progress {
 public:
  // `total` and `done` in frames at `rate_hz`; a total of 0 is unknown.
  Progress(uint64_t total, int rate_hz);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void update(uint64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  uint64_t total_;
  int rate_hz_;
  bool shown_;
  Clock::time_point start_;
  Clock::time_point next_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PROGRESS_H_
