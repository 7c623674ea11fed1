// SPDX-License-Identifier: Apache-2.0
// The whole job of orvane-live.
#ifndef ORVANE_TOOLS_LIVE_LIVE_H_
#define ORVANE_TOOLS_LIVE_LIVE_H_

#include "tools/live/options.h"

namespace live {

// Renders until the bed has ended or a signal has come. Throws Failure.
void live_run(const Options& options);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_LIVE_H_
