// SPDX-License-Identifier: Apache-2.0
// The tables of the documents say what the library's tables say.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>

#include "ambisonics/binauralizer.h"
#include "base/limits.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"

namespace {

std::string document(const char* name) {
  std::stringstream text;
  text << std::ifstream(std::string(ORVANE_SOURCE_DIR "/docs/") + name).rdbuf();
  return text.str();
}

// `part` is what the document has to hold, word by word.
void expect_holds(const char* name, const std::string& part) {
  EXPECT_NE(std::string::npos, document(name).find(part)) << "docs/" << name << " lacks this:\n"
                                                          << part;
}

// Whole degrees, which is what the table's four digits stand for.
long degrees(float opposite, float adjacent) {
  const double angle = std::atan2(static_cast<double>(opposite), static_cast<double>(adjacent));
  return std::lround(angle * 180.0 / std::numbers::pi);
}

std::string direction(const orvane_layout_t& layout, uint32_t channel) {
  std::ostringstream text;
  for (uint32_t i = 0; i < layout.num_channels; ++i) {
    const orvane_loudspeaker_t& at = layout.loudspeakers[i];
    if (at.channel != channel) continue;
    if (at.is_lfe) return "all";
    text << degrees(at.y, at.x) << ", " << degrees(at.z, std::hypot(at.x, at.y));
  }
  return text.str();
}

TEST(DocumentedLayoutTest, MasksAndChannelsInTheOrderOfTheInputs) {
  std::ostringstream table;
  table
      << "| layout | mask | channels | in the order of the effect's inputs |\n|---|---|---|---|\n";
  for (const orvane_layout_t& layout : orvane_layouts) {
    table << "| " << layout.name << " | 0x" << std::hex << std::uppercase << layout.mask << std::dec
          << " | " << layout.num_channels << " |";
    for (uint32_t i = 0; i < layout.num_channels; ++i) {
      table << " " << orvane_channel_names[layout.loudspeakers[i].channel].abbreviation;
    }
    table << " |\n";
  }
  table << "\n";
  expect_holds("conventions.md", table.str());
}

TEST(DocumentedLayoutTest, AzimuthAndElevationOfEveryLoudspeaker) {
  std::ostringstream table, rule;
  table << "| channel | |";
  rule << "|---|---|";
  for (const orvane_layout_t& layout : orvane_layouts) {
    table << " " << layout.name << " |";
    rule << "---|";
  }
  table << "\n" << rule.str() << "\n";
  for (uint32_t channel = 0; channel < ORVANE_NUM_CHANNELS; ++channel) {
    const orvane_channel_name_t& names = orvane_channel_names[channel];
    table << "| " << names.abbreviation << " | " << names.name << " |";
    for (const orvane_layout_t& layout : orvane_layouts) {
      table << " " << direction(layout, channel) << " |";
    }
    table << "\n";
  }
  table << "\n";
  expect_holds("conventions.md", table.str());
}

TEST(DocumentedConstantTest, OrdersLengthsAndLatency) {
  const std::string order = std::to_string(ORVANE_MAX_ORDER);
  const std::string channels = std::to_string(ORVANE_MAX_CHANNELS);
  const std::string latency = std::to_string(BINAURALIZER_LATENCY);
  expect_holds("conventions.md", "orders 1 to " + order + " (4, 9, 16, " + channels + " channels)");
  expect_holds("data.md", "holds " + std::to_string(BINAURALIZER_TAPS) + " taps for each of the " +
                              channels + " channels");
  expect_holds("orvane-live.md", "| " + latency + ", of the ear filters");
  expect_holds("orvane-live.md",
               "longer than " + std::to_string(ORVANE_MAX_FRAME_SIZE) + " frames");
}

std::string range_text(const orvane_parameter_t& parameter) {
  const auto name_of = [](int32_t number) { return orvane_find_parameter(number)->name; };
  const std::string unit = parameter.unit[0] ? std::string(" ") + parameter.unit : "";
  std::ostringstream text;
  if (parameter.kind == ORVANE_KIND_SWITCH) {
    text << "above " << parameter.minimum - 1.0f << ", below " << parameter.maximum + 1.0f;
  } else if (parameter.limit == ORVANE_LIMIT_BETWEEN) {
    text << "half of `" << name_of(parameter.limiting) << "` to either side";
  } else if (parameter.limit == ORVANE_LIMIT_BELOW) {
    text << parameter.minimum << unit << " to `" << name_of(parameter.limiting) << "`";
  } else {
    text << parameter.minimum << " to " << parameter.maximum << unit;
  }
  if (parameter.kind == ORVANE_KIND_WHOLE) text << ", fraction dropped";
  return text.str();
}

TEST(DocumentedParameterTest, NumberNameRangeAndDefault) {
  for (const orvane_parameter_t& parameter : orvane_parameters) {
    std::ostringstream row;
    row << "\n| " << parameter.number << " | `" << parameter.name << "` | " << range_text(parameter)
        << " | ";
    if (parameter.has_default) row << parameter.default_value << " ";
    expect_holds("parameters.md", row.str() + "| ");
  }
}

}  // namespace
