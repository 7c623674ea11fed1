#include "tools/render/parameters.h"

#include <algorithm>
#include <iterator>

#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kMaxRoom = 14.0;  // metres

// clang-format off
constexpr Parameter kParameters[] = {
    {100, "reverb.enable", 0, 1, true, 1.0, "reverberation off (0) or on (1)"},
    {101, "reverb.stereo", 0, 1, true, 1.0, "the same tail at both ears (0) or two (1)"},
    {102, "reverb.spacing", 3, 6000, false, 80.0, "samples between the pulses of the tail; fewer are smoother"},
    {103, "reverb.decay", 0, 2, false, 0.25, "seconds until the tail ends, at an amplitude of 0.001"},
    {104, "reverb.level", 0, 1, false, 0.1, "amplitude of the tail at its start"},
    {105, "reverb.predelay", 0, 100, false, 30.0, "milliseconds before the tail starts"},
    {106, "reverb.tone", 0, 1, true, 1.0, "high shelf on the tail off (0) or on (1)"},
    {107, "reverb.tone-gain", -1, 1, false, -1.0, "of the shelf: 1 changes nothing, each step of 1 below is 24 dB"},
    {108, "reverb.tone-corner", 100, 12000, false, 10000.0, "hertz above which the shelf takes away"},
    {109, "reverb.tone-slope", 0.1, 1, false, 1.0, "steepness of the shelf"},
    {200, "reflections.mode", 0, 4, true, 0.0, "early reflections off (0), or their spatial detail (1...4)"},
    {201, "room.length", 1, kMaxRoom, false, 5.0, "metres, front to back"},
    {202, "room.width", 1, kMaxRoom, false, 6.0, "metres, left to right"},
    {203, "room.height", 1, kMaxRoom, false, 4.0, "metres"},
    {204, "absorption.front", 0, 1, false, 0.2, "of the wall: 0 reflects all, 1 nothing"},
    {205, "absorption.back", 0, 1, false, 0.2, "likewise"},
    {206, "absorption.left", 0, 1, false, 0.2, "likewise"},
    {207, "absorption.right", 0, 1, false, 0.2, "likewise"},
    {208, "absorption.ceiling", 0, 1, false, 0.11, "likewise"},
    {209, "absorption.floor", 0, 1, false, 0.63, "likewise"},
    {210, "material.front", 1, 27, true, {}, "number of a material, which sets the wall's absorption"},
    {211, "material.back", 1, 27, true, {}, "likewise"},
    {212, "material.left", 1, 27, true, {}, "likewise"},
    {213, "material.right", 1, 27, true, {}, "likewise"},
    {214, "material.ceiling", 1, 27, true, {}, "likewise"},
    {215, "material.floor", 1, 27, true, {}, "likewise"},
    {216, "listener.x", -kMaxRoom / 2, kMaxRoom / 2, false, 0.0, "metres ahead of the middle, within the room"},
    {217, "listener.y", -kMaxRoom / 2, kMaxRoom / 2, false, 0.0, "metres to the left of the middle, within the room"},
    {218, "listener.z", 0.1, kMaxRoom, false, 1.6, "metres above the floor, within the room"},
};
// clang-format on

std::string start_text(const Parameter& parameter) {
  return parameter.start ? text_format("%g", *parameter.start) : "-";
}

}  // namespace

std::span<const Parameter> parameters() { return kParameters; }

const Parameter& parameter(int32_t id) {
  return *std::find_if(std::begin(kParameters), std::end(kParameters),
                       [=](const Parameter& parameter) { return parameter.id == id; });
}

const Parameter& parameter_find(std::string_view name_or_id) {
  const std::optional<double> id = text_number(name_or_id);
  for (const Parameter& parameter : kParameters) {
    if (id ? *id == parameter.id : name_or_id == parameter.name) return parameter;
  }
  std::vector<std::string> family;
  const std::string_view prefix = name_or_id.substr(0, name_or_id.find('.') + 1);
  for (const Parameter& parameter : kParameters) {
    if (!prefix.empty() && parameter.name.starts_with(prefix)) family.emplace_back(parameter.name);
  }
  throw BadText(std::string(name_or_id) + " is no parameter, but " +
                (family.empty() ? "--parameters lists them" : text_choices(family) + " is"));
}

std::string parameter_range(const Parameter& parameter) {
  return text_format("%s%g to %g", parameter.whole ? "a whole number from " : "", parameter.minimum,
                     parameter.maximum);
}

std::string parameters_text() {
  std::string text = " id  name                range          starts at  meaning\n";
  for (const Parameter& parameter : kParameters) {
    const std::string range = text_format("%g...%g", parameter.minimum, parameter.maximum);
    text += text_format("%d  %-18s  %-13s  %-9s  %s\n", parameter.id, parameter.name.data(),
                        range.c_str(), start_text(parameter).c_str(), parameter.meaning);
  }
  return text;
}

}  // namespace render
