// SPDX-License-Identifier: Apache-2.0
// Presets: rooms as files of NAME = VALUE lines, with the names of the parameters' table.
#ifndef ORVANE_TOOLS_RENDER_PRESETS_H_
#define ORVANE_TOOLS_RENDER_PRESETS_H_

#include <string>
#include <vector>

#include "tools/render/settings.h"

namespace render {

// Sets what the file says. Throws Failure with the line.
void preset_read(const std::string& path, Settings* settings);

// The file of a preset that came with this program; throws BadText with the names there are.
std::string preset_find(const std::string& name);

// Names of those presets, in alphabetical order.
std::vector<std::string> preset_names();

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PRESETS_H_
