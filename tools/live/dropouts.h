// SPDX-License-Identifier: Apache-2.0
// How often sound was lost, by cause.
#ifndef ORVANE_TOOLS_LIVE_DROPOUTS_H_
#define ORVANE_TOOLS_LIVE_DROPOUTS_H_

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace live {

enum class Dropout {
  kSkipped,   // the server went on without this program, which was late
  kNoOutput,  // there was no room for a period at the output
  kNoInput,   // a period came without samples
  kServer,    // the server went away
  kCount,
};

// Counted in any thread, without waiting.
class Dropouts {
 public:
  void count(Dropout cause, uint64_t times = 1) {
    counts_[static_cast<size_t>(cause)].fetch_add(times, std::memory_order_relaxed);
  }
  uint64_t times(Dropout cause) const {
    return counts_[static_cast<size_t>(cause)].load(std::memory_order_relaxed);
  }

  // "3 skipped, 0 without output, 0 without input, 1 server gone"
  std::string text() const;

 private:
  std::array<std::atomic<uint64_t>, static_cast<size_t>(Dropout::kCount)> counts_ = {};
};

// Says what was lost when that has changed, once a second at most.
class DropoutReport {
 public:
  // `text` is that of nothing lost.
  explicit DropoutReport(std::string text) : last_(std::move(text)) {}

  // `text` as it is now: whether to show it to the user.
  bool is_due(const std::string& text, std::chrono::steady_clock::time_point now);

 private:
  std::string last_;
  std::chrono::steady_clock::time_point said_ = {};
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_DROPOUTS_H_
