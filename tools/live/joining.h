// SPDX-License-Identifier: Apache-2.0
// For what plays on a server that goes and comes back.
#ifndef ORVANE_TOOLS_LIVE_JOINING_H_
#define ORVANE_TOOLS_LIVE_JOINING_H_

#include <chrono>
#include <functional>
#include <string>

namespace live {

constexpr std::chrono::milliseconds kLook(50);  // how often to look whether it is over

// A line of the program's output.
void say(const char* what, const std::string& text);

// Attempts to join a server, a second apart at least.
class Joining {
 public:
  // Calls `join`, if it is time, and says that the server has been joined, or what is in the way
  // when that has changed: the Failure that `join` throws.
  void attempt(const std::function<void()>& join);

 private:
  std::chrono::steady_clock::time_point next_ = {};
  std::string trouble_;  // as it was said last
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_JOINING_H_
