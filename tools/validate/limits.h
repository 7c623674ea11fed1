// The one table of what the report measures and of the limits that it holds the library to.
#ifndef ORVANE_TOOLS_VALIDATE_LIMITS_H_
#define ORVANE_TOOLS_VALIDATE_LIMITS_H_

#include <optional>
#include <span>
#include <string>

namespace validate {

struct Limit {
  const char* id;    // SECTION.FIGURE
  const char* what;  // in words
  const char* unit;
  std::optional<double> at_least, at_most;
};

std::span<const Limit> limits();

// The one with this id. Throws std::logic_error where there is none.
const Limit& limit_find(const std::string& id);

// "at most -110 dB", "144 to 146 samples"
std::string limit_text(const Limit& limit);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_LIMITS_H_
