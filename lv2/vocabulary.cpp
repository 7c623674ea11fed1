// SPDX-License-Identifier: Apache-2.0
#include "lv2/vocabulary.h"

namespace lv2_plugin {

std::string_view designation_of(uint32_t channel) {
  switch (channel) {
    case ORVANE_FRONT_LEFT:
      return "pg:left";
    case ORVANE_FRONT_RIGHT:
      return "pg:right";
    case ORVANE_FRONT_CENTRE:
      return "pg:center";
    case ORVANE_LFE:
      return "pg:lowFrequencyEffects";
    case ORVANE_BACK_LEFT:
      return "pg:rearLeft";
    case ORVANE_BACK_RIGHT:
      return "pg:rearRight";
    case ORVANE_SIDE_LEFT:
      return "pg:sideLeft";
    case ORVANE_SIDE_RIGHT:
      return "pg:sideRight";
    default:
      return "";
  }
}

std::string_view group_of(const orvane_layout_t& layout) {
  if (layout.name == std::string_view("5.1")) return "pg:FivePointOneGroup";
  if (layout.name == std::string_view("7.1")) return "pg:SevenPointOneGroup";
  return "pg:DiscreteGroup";
}

std::string_view unit_of(std::string_view unit) {
  constexpr std::string_view kUnits[][2] = {
      {"samples", "units:frame"}, {"s", "units:s"}, {"ms", "units:ms"},
      {"Hz", "units:hz"},         {"m", "units:m"}, {"degrees", "units:degree"},
  };
  for (const auto& [ours, theirs] : kUnits) {
    if (unit == ours) return theirs;
  }
  return "";
}

}  // namespace lv2_plugin
