// SPDX-License-Identifier: Apache-2.0
#include "tools/live/head_trackers.h"

namespace live {
namespace {

render::Pose start_of(const Options& options) { return options.pose.value_or(render::Pose{}); }

}  // namespace

HeadTrackers::HeadTrackers(const Options& options, PoseSlot* poses)
    : input_(pose_rotation(start_of(options)), options.tracker.predict_ms / 1000.0, poses),
      osc_(options.osc_port, HeadMessages(start_of(options), options.scene, options.tracker.axes),
           &input_, options.verbose),
      recentring_(&input_) {
  if (!options.tracker.opentrack_port) return;
  opentrack_.emplace(*options.tracker.opentrack_port, options.tracker.axes, &input_,
                     options.verbose);
}

std::optional<int> HeadTrackers::opentrack_port() const {
  return opentrack_ ? std::optional<int>(opentrack_->port()) : std::nullopt;
}

}  // namespace live
