// The tables of the documents say what the library's tables say.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "renderer/loudspeaker_layouts.h"

namespace {

std::string document(const char* name) {
  std::stringstream text;
  text << std::ifstream(std::string(ORVANE_SOURCE_DIR "/docs/") + name).rdbuf();
  return text.str();
}

// `table` is what the document has to hold, word by word.
void expect_holds(const char* name, const std::string& table) {
  EXPECT_NE(std::string::npos, document(name).find(table))
      << "docs/" << name << " lacks this table:\n"
      << table;
}

// Whole degrees, which is what the table's four digits stand for.
long degrees(float opposite, float adjacent) {
  const double angle = std::atan2(static_cast<double>(opposite), static_cast<double>(adjacent));
  return std::lround(angle * 180.0 / M_PI);
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

}  // namespace
