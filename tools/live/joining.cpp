// SPDX-License-Identifier: Apache-2.0
#include "tools/live/joining.h"

#include <cstdio>

#include "tools/render/failure.h"

namespace live {

void say(const char* what, const std::string& text) {
  std::printf("%-8s%s\n", what, text.c_str());
  std::fflush(stdout);
}

void Joining::attempt(const std::function<void()>& join) {
  constexpr std::chrono::seconds kPause(1);
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + kPause;
  try {
    join();
    trouble_.clear();
    say("server", "joined");
  } catch (const render::Failure& failure) {
    if (trouble_ != failure.what()) say("server", failure.what());
    trouble_ = failure.what();
  }
}

}  // namespace live
