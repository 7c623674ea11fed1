// SPDX-License-Identifier: Apache-2.0
// Ways to tell the program that the head looks ahead: a signal, and a key at its terminal.
#ifndef ORVANE_TOOLS_LIVE_RECENTRING_H_
#define ORVANE_TOOLS_LIVE_RECENTRING_H_

#include <atomic>
#include <thread>

#include "tools/live/head_input.h"

namespace live {

// Looks after `input` now and then in a thread of its own. While it exists, SIGUSR1 and, where
// standard input is a terminal in the foreground, the key c recentre `input`, which must outlive
// it. One at a time.
class Recentring {
 public:
  explicit Recentring(HeadInput* input);
  ~Recentring();
  Recentring(const Recentring&) = delete;
  Recentring& operator=(const Recentring&) = delete;

 private:
  void watch();

  HeadInput* input_;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_RECENTRING_H_
