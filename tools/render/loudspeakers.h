// SPDX-License-Identifier: Apache-2.0
// Where the effect's loudspeakers stand, for those who listen.
#ifndef ORVANE_TOOLS_RENDER_LOUDSPEAKERS_H_
#define ORVANE_TOOLS_RENDER_LOUDSPEAKERS_H_

#include <cstddef>
#include <optional>
#include <string>

#include "tools/render/channel_map.h"

namespace render {

struct Direction {
  double azimuth_deg;    // positive to the left
  double elevation_deg;  // positive upwards
};

// Of an input of the effect; none for an LFE, which is heard from nowhere.
std::optional<Direction> loudspeaker_direction(const Layout& layout, size_t input);

// Columns of a table: abbreviation, name, azimuth and elevation of an input's loudspeaker.
std::string loudspeaker_columns(const Layout& layout, size_t input);

// The titles of these columns.
std::string loudspeaker_titles();

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_LOUDSPEAKERS_H_
