// SPDX-License-Identifier: Apache-2.0
// The bundle's Turtle files, as text.
#ifndef ORVANE_LV2_TURTLE_H_
#define ORVANE_LV2_TURTLE_H_

#include <string>
#include <vector>

#include "tools/render/settings.h"

namespace lv2_plugin {

struct Preset {
  std::string name;  // of its file: "living-room"
  render::Settings settings;
};

// Throws Failure with the line.
Preset preset_read(const std::string& path);

// What is in the bundle, and where.
std::string manifest_turtle(const std::vector<Preset>& presets);

// The plug-ins and their ports. `version` is the project's, as in 1.2.3.
std::string plugins_turtle(const std::string& version);

// Every preset as the values of all parameters, for each plug-in: the head is the listener's.
std::string presets_turtle(const std::vector<Preset>& presets);

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_TURTLE_H_
