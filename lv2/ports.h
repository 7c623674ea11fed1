// SPDX-License-Identifier: Apache-2.0
// The plug-ins of the bundle and their ports, made from the library's tables: the one home of both
// for the plug-in itself, for the files that describe it to hosts, and for tests.
#ifndef ORVANE_LV2_PORTS_H_
#define ORVANE_LV2_PORTS_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"

namespace lv2_plugin {

// The layouts that have a plug-in each.
constexpr std::string_view kLayoutNames[] = {"5.1", "7.1", "7.1.4"};

// The URI of a layout's plug-in.
struct Uri {
  char text[40] = "urn:orvane:headphones:";

  constexpr explicit Uri(std::string_view layout) {
    size_t end = std::string_view(text).size();
    for (const char letter : layout) text[end++] = letter;
  }
};

constexpr const orvane_layout_t* find_layout(std::string_view name) {
  for (const orvane_layout_t& layout : orvane_layouts) {
    if (layout.name == name) return &layout;
  }
  return nullptr;
}

constexpr uint32_t max_channels() {
  uint32_t most = 0;
  for (const std::string_view name : kLayoutNames) {
    const uint32_t channels = find_layout(name)->num_channels;
    if (channels > most) most = channels;
  }
  return most;
}

// Pose of the head, in degrees, as docs/desktop.md describes it.
enum HeadPort : uint32_t { kYaw, kPitch, kRoll, kNumHeadPorts };
constexpr float kMaxAngle = 180.0f;  // to either side

// The property of a plug-in that names the SOFA file of the listener's ears; empty: the built-in.
constexpr char kEarsUri[] = "urn:orvane:ears";

// Ports of one plug-in, by index: the layout's channels in the order of its table, the ears, the
// head, the library's parameters in the order of their table, the latency, and messages.
struct Ports {
  uint32_t channels;

  constexpr uint32_t ear(uint32_t side) const { return channels + side; }
  constexpr uint32_t head(uint32_t angle) const { return channels + 2 + angle; }
  constexpr uint32_t parameter(uint32_t row) const { return head(kNumHeadPorts) + row; }
  constexpr uint32_t latency() const { return parameter(ORVANE_NUM_PARAMETERS); }
  constexpr uint32_t messages() const { return latency() + 1; }
  constexpr uint32_t count() const { return messages() + 1; }
};

constexpr uint32_t kMaxPorts = Ports{max_channels()}.count();

// Range and default of a parameter's port. A port always has a value, so a parameter without a
// default has one more value, below its range, at which it is left alone.
constexpr float kUnset = 0.0f;
constexpr float port_minimum(const orvane_parameter_t& parameter) {
  return parameter.has_default ? parameter.minimum : kUnset;
}
constexpr float port_default(const orvane_parameter_t& parameter) {
  return parameter.has_default ? parameter.default_value : kUnset;
}

constexpr bool unset_is_below_every_range() {
  for (const orvane_parameter_t& parameter : orvane_parameters) {
    if (!parameter.has_default && parameter.minimum <= kUnset) return false;
  }
  return true;
}
static_assert(unset_is_below_every_range());

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_PORTS_H_
