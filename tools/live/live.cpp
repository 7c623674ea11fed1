// SPDX-License-Identifier: Apache-2.0
#include "tools/live/live.h"

#include <cstdio>
#include <filesystem>
#include <optional>

#include "tools/live/bed_player.h"
#include "tools/live/engine.h"
#include "tools/live/head_trackers.h"
#include "tools/live/jack_run.h"
#include "tools/live/sink_run.h"
#include "tools/live/watch.h"
#include "tools/render/audio_input.h"
#include "tools/render/block_renderer.h"
#include "tools/render/decibels.h"
#include "tools/render/failure.h"

namespace live {
namespace {

// A bed is opened more than once.
void refuse_pipe(const std::string& bed) {
  std::error_code error;
  if (bed == "-" || std::filesystem::is_fifo(bed, error)) {
    throw render::Failure(bed, "is a pipe, which orvane-render takes");
  }
}

render::InputRequest bed_request(const Options& options) {
  return {.path = options.bed, .stream = options.stream};
}

render::ChannelPlan plan_of(const Options& options) {
  if (!options.bed.empty()) {
    refuse_pipe(options.bed);
    const auto input = render::audio_input_open(bed_request(options));
    return channel_plan_make(options.bed, input->labels(), options.channels);
  }
  const size_t inputs = render::layout_find(options.channels.layout)->rows.size();
  return channel_plan_make("inputs", std::vector<render::Speaker>(inputs), options.channels);
}

void print_opentrack(const HeadTrackers& trackers) {
  if (const auto port = trackers.opentrack_port()) std::printf("opentrack port %d\n", *port);
}

}  // namespace

void live_run(const Options& options) {
  if (options.tracker.watch) return watch_run(options);
  const render::ChannelPlan plan = plan_of(options);
  for (const std::string& notice : plan.notices) {
    std::fprintf(stderr, "orvane-live: note: %s\n", notice.c_str());
  }
  render::EffectHost effect =
      render::effect_make(options.library, *plan.layout, options.settings, options.ears);
  settings_send(options.settings, &effect);
  std::optional<BedPlayer> player;
  if (!options.bed.empty()) {
    const size_t tail_frames = settings_tail_frames(options.settings);
    player.emplace(bed_request(options), plan, tail_frames, options.loop);
  }
  PoseSlot poses;
  const render::Pose start = options.pose.value_or(render::Pose{});
  poses.write(pose_rotation(start));
  Engine engine(&effect, plan, player ? &*player : nullptr, &poses,
                static_cast<float>(render::decibels_to_factor(options.gain_db)));

  const HeadTrackers trackers(options, &poses);
  print_opentrack(trackers);
  if (options.sink) return sink_run(options, plan, &engine, trackers.osc_port());
  jack_run(options, plan, &engine, player ? &*player : nullptr, trackers.osc_port());
}

}  // namespace live
