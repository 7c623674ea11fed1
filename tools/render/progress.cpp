// SPDX-License-Identifier: Apache-2.0
#include "tools/render/progress.h"

#include <unistd.h>

#include <cstdio>

#include "tools/render/files.h"

namespace render {
namespace {

constexpr std::chrono::milliseconds kInterval(100);

}  // namespace

Progress::Progress(uint64_t total, int rate_hz)
    : total_(total),
      rate_hz_(rate_hz),
      shown_(file_is_terminal(STDERR_FILENO)),
      start_(Clock::now()),
      next_(start_ + kInterval) {}

Progress::~Progress() {
  if (shown_) std::fputs("\r\033[K", stderr);
}

void Progress::update(uint64_t done) {
  if (!shown_) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + kInterval;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rendered = static_cast<double>(done) / rate_hz_;
  std::fputs("\r", stderr);
  if (total_ > 0) {
    std::fprintf(stderr, "%3.0f %%  ",
                 100.0 * static_cast<double>(done) / static_cast<double>(total_));
  }
  std::fprintf(stderr, "%.0f s of audio, %.0f x real time\033[K", rendered, rendered / seconds);
}

}  // namespace render
