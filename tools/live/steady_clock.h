// SPDX-License-Identifier: Apache-2.0
#ifndef ORVANE_TOOLS_LIVE_STEADY_CLOCK_H_
#define ORVANE_TOOLS_LIVE_STEADY_CLOCK_H_

#include <chrono>

namespace live {

// Seconds since some moment before the program began.
inline double steady_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_STEADY_CLOCK_H_
