// SPDX-License-Identifier: Apache-2.0
// Which layout holds a set of labelled channels.
#ifndef ORVANE_TOOLS_RENDER_PLACING_H_
#define ORVANE_TOOLS_RENDER_PLACING_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/render/layouts.h"

namespace render {

struct Placed {
  const Layout* layout;
  std::vector<Speaker> labels;  // with the layout's own names
  std::vector<std::string> notices;
};

// The labels in `layout`, if need be with substitutes.
std::optional<Placed> labels_place_in(const Layout& layout, std::vector<Speaker> labels);

// The labels in the smallest layout that has a loudspeaker for each.
std::optional<Placed> labels_place(const std::vector<Speaker>& labels);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PLACING_H_
