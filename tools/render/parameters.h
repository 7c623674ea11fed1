// The effect's own parameters of room and reverb: the one table that options, presets, help and
// error messages are made from.
#ifndef ORVANE_TOOLS_RENDER_PARAMETERS_H_
#define ORVANE_TOOLS_RENDER_PARAMETERS_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace render {

// Ids of the effect that more than the table knows by name.
constexpr int32_t kReverbEnable = 100;
constexpr int32_t kReverbDecay = 103;
constexpr int32_t kReverbPreDelay = 105;
constexpr int32_t kReflectionsMode = 200;
constexpr int32_t kRoomLength = 201;  // then width and height
constexpr int32_t kAbsorption = 204;  // of the front wall, then the others
constexpr int32_t kMaterial = 210;    // likewise
constexpr int32_t kListener = 216;    // x, then y and z
constexpr int32_t kNumWalls = 6;      // front, back, left, right, ceiling, floor

struct Parameter {
  int32_t id;
  std::string_view name;  // FAMILY.WHAT
  double minimum, maximum;
  bool whole;                   // takes whole numbers only
  std::optional<double> start;  // value of a new effect; none where another parameter has it
  const char* meaning;
};

// In the order of their ids.
std::span<const Parameter> parameters();

// The one with this id, which is one of those above.
const Parameter& parameter(int32_t id);

// By name or by number; throws BadText where there is none.
const Parameter& parameter_find(std::string_view name_or_id);

// "0.1 to 1", for messages.
std::string parameter_range(const Parameter& parameter);

// The whole table for a terminal.
std::string parameters_text();

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PARAMETERS_H_
