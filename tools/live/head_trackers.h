// SPDX-License-Identifier: Apache-2.0
// All that turns the head: trackers over OSC and opentrack, and what sets the centre.
#ifndef ORVANE_TOOLS_LIVE_HEAD_TRACKERS_H_
#define ORVANE_TOOLS_LIVE_HEAD_TRACKERS_H_

#include <optional>

#include "tools/live/head_input.h"
#include "tools/live/opentrack_receiver.h"
#include "tools/live/options.h"
#include "tools/live/osc_receiver.h"
#include "tools/live/pose_slot.h"
#include "tools/live/recentring.h"

namespace live {

class HeadTrackers {
 public:
  // Listens as `options` say and writes to `poses`, which must outlive it. Throws Failure when a
  // port cannot be opened.
  HeadTrackers(const Options& options, PoseSlot* poses);

  const HeadInput& input() const { return input_; }
  int osc_port() const { return osc_.port(); }
  std::optional<int> opentrack_port() const;

 private:
  HeadInput input_;
  OscReceiver osc_;
  std::optional<OpentrackReceiver> opentrack_;
  Recentring recentring_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_TRACKERS_H_
