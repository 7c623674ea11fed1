// SPDX-License-Identifier: Apache-2.0
// orvane-live as a sink of the desktop.
#ifndef ORVANE_TOOLS_LIVE_SINK_RUN_H_
#define ORVANE_TOOLS_LIVE_SINK_RUN_H_

#include "tools/live/engine.h"
#include "tools/live/options.h"
#include "tools/render/channel_map.h"

namespace live {

// Offers the sink until a signal comes; waits for the server while there is none. `engine` renders
// the channels of `plan`. Throws Failure when it cannot.
void sink_run(const Options& options, const render::ChannelPlan& plan, Engine* engine,
              int osc_port);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_SINK_RUN_H_
