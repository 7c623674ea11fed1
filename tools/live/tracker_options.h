// SPDX-License-Identifier: Apache-2.0
// Options of orvane-live about head trackers.
#ifndef ORVANE_TOOLS_LIVE_TRACKER_OPTIONS_H_
#define ORVANE_TOOLS_LIVE_TRACKER_OPTIONS_H_

#include <CLI/CLI.hpp>
#include <optional>

#include "tools/live/head_messages.h"
#include "tools/live/tracker_axes.h"

namespace live {

struct TrackerOptions {
  TrackerAxes axes;
  std::optional<int> opentrack_port;
  double predict_ms = 0.0;
  bool watch = false;
};

extern const char kTrackerHelp[];  // for the end of a help text

// --tracker, --tracker-axes, --opentrack, --predict and --watch.
void tracker_options_add(CLI::App* app, TrackerOptions* tracker, SceneMessages* scene);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_TRACKER_OPTIONS_H_
