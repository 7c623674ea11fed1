// SPDX-License-Identifier: Apache-2.0
#include "tools/live/dropouts.h"

#include <cstddef>

namespace live {

std::string Dropouts::text() const {
  constexpr const char* kCauses[] = {"skipped", "without output", "without input", "server gone"};
  static_assert(std::size(kCauses) == static_cast<size_t>(Dropout::kCount));
  std::string text;
  for (size_t i = 0; i < std::size(kCauses); ++i) {
    text +=
        (i == 0 ? "" : ", ") + std::to_string(times(static_cast<Dropout>(i))) + " " + kCauses[i];
  }
  return text;
}

bool DropoutReport::is_due(const std::string& text, std::chrono::steady_clock::time_point now) {
  constexpr std::chrono::seconds kPause(1);
  if (said_ != std::chrono::steady_clock::time_point() && now - said_ < kPause) return false;
  if (text == last_) return false;
  last_ = text;
  said_ = now;
  return true;
}

}  // namespace live
