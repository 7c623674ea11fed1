// SPDX-License-Identifier: Apache-2.0
// The effect's own parameters of room and reverb as options, presets, help and error messages have
// them, made from the library's table.
#ifndef ORVANE_TOOLS_RENDER_PARAMETERS_H_
#define ORVANE_TOOLS_RENDER_PARAMETERS_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "renderer/parameters.h"
#include "room/shoebox.h"

namespace render {

using Parameter = orvane_parameter_t;

constexpr int32_t reverb_number(ubr_reverb_param id) { return orvane_reverb_parameter(id)->number; }
constexpr int32_t reflections_number(ubr_reflections_param id) {
  return orvane_reflections_parameter(id)->number;
}

// Numbers of the effect that more than the table knows by name.
constexpr int32_t kReverbEnable = reverb_number(UBR_REVERB_ENABLE);
constexpr int32_t kReverbDecay = reverb_number(UBR_REVERB_DECAY);
constexpr int32_t kReverbPreDelay = reverb_number(UBR_REVERB_PRE_DELAY);
constexpr int32_t kReflectionsMode = reflections_number(UBR_REFLECTIONS_MODE);
constexpr int32_t kRoomLength = reflections_number(UBR_REFLECTIONS_ROOM_X);  // then width, height
constexpr int32_t kAbsorption = reflections_number(UBR_REFLECTIONS_ABSORPTION);  // of six walls
constexpr int32_t kMaterial = reflections_number(UBR_REFLECTIONS_MATERIAL);      // likewise
constexpr int32_t kListener = reflections_number(UBR_REFLECTIONS_LISTENER_X);    // x, y, z
constexpr int32_t kNumWalls = SHOEBOX_WALLS;

// In the order of their numbers.
std::span<const Parameter> parameters();

// The one with this number, which is one of those above.
const Parameter& parameter(int32_t number);

// By name or by number; throws BadText where there is none.
const Parameter& parameter_find(std::string_view name_or_number);

// Whether the effect may take `value`; what limits it at the moment is not looked at. Of switches
// and whole numbers no fractions, which the effect would drop.
bool parameter_takes(const Parameter& parameter, double value);

// "a whole number from 1 to 27", for messages.
std::string parameter_range(const Parameter& parameter);

// "1...27", for help texts.
std::string parameter_ends(const Parameter& parameter);

// The whole table for a terminal.
std::string parameters_text();

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PARAMETERS_H_
