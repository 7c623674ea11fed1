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

std::string DropoutReport::look(std::chrono::steady_clock::time_point now) {
  constexpr std::chrono::seconds kPause(1);
  if (said_ != std::chrono::steady_clock::time_point() && now - said_ < kPause) return {};
  const std::string text = dropouts_.text();
  if (text == last_) return {};
  last_ = text;
  said_ = now;
  return text;
}

}  // namespace live
