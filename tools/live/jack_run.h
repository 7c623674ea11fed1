// SPDX-License-Identifier: Apache-2.0
// orvane-live as a client of JACK.
#ifndef ORVANE_TOOLS_LIVE_JACK_RUN_H_
#define ORVANE_TOOLS_LIVE_JACK_RUN_H_

#include "tools/live/bed_player.h"
#include "tools/live/engine.h"
#include "tools/live/options.h"
#include "tools/render/channel_map.h"

namespace live {

// Joins the server and renders until the bed has ended or a signal has come. A server that goes is
// waited for; one that was not there at first is not. `player` is null where input ports are
// rendered. Throws Failure.
void jack_run(const Options& options, const render::ChannelPlan& plan, Engine* engine,
              const BedPlayer* player, int osc_port);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_JACK_RUN_H_
