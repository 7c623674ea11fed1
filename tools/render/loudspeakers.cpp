// SPDX-License-Identifier: Apache-2.0
#include "tools/render/loudspeakers.h"

#include <cmath>

#include "renderer/loudspeaker_layouts.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;

// The table's four digits are a direction to a hundredth of a degree; whole degrees are meant.
double degrees(double radians) { return std::round(radians * kDegreesPerRadian) + 0.0; }

}  // namespace

std::optional<Direction> loudspeaker_direction(const Layout& layout, size_t input) {
  const orvane_loudspeaker_t& at = orvane_find_layout(layout.mask)->loudspeakers[input];
  if (at.is_lfe) return std::nullopt;
  const double x = static_cast<double>(at.x), y = static_cast<double>(at.y);
  return Direction{degrees(std::atan2(y, x)),
                   degrees(std::atan2(static_cast<double>(at.z), std::hypot(x, y)))};
}

std::string loudspeaker_columns(const Layout& layout, size_t input) {
  const Speaker speaker = layout.rows[input];
  const std::string names =
      text_format("%-4s  %-21s", speaker_name(speaker), speaker_long_name(speaker));
  const std::optional<Direction> direction = loudspeaker_direction(layout, input);
  if (!direction) return names + text_format("  %7s  %9s", "-", "-");
  return names + text_format("  %7.0f  %9.0f", direction->azimuth_deg, direction->elevation_deg);
}

std::string loudspeaker_titles() {
  return text_format("%-27s  %7s  %9s", "loudspeaker", "azimuth", "elevation");
}

}  // namespace render
