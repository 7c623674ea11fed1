// SPDX-License-Identifier: Apache-2.0
// The options of room and reverb.
#ifndef ORVANE_TOOLS_RENDER_ROOM_OPTIONS_H_
#define ORVANE_TOOLS_RENDER_ROOM_OPTIONS_H_

#include "tools/render/settings.h"

namespace CLI {
class App;
}

namespace render {

// What several options set, the later one in the order of the help text decides.
void room_options_add(CLI::App* app, Settings* settings);

// For the end of the help text.
extern const char kRoomOptionsHelp[];

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_ROOM_OPTIONS_H_
