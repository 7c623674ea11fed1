// SPDX-License-Identifier: Apache-2.0
#include "tools/live/live.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <thread>

#include "tools/live/bed_player.h"
#include "tools/live/dropouts.h"
#include "tools/live/engine.h"
#include "tools/live/head_trackers.h"
#include "tools/live/jack_client.h"
#include "tools/live/sink_run.h"
#include "tools/live/watch.h"
#include "tools/render/audio_input.h"
#include "tools/render/decibels.h"
#include "tools/render/failure.h"
#include "tools/render/interrupt.h"

namespace live {
namespace {

constexpr std::chrono::milliseconds kLook(50);  // how often to look whether it is over

// A bed is opened more than once.
void refuse_pipe(const std::string& bed) {
  std::error_code error;
  if (bed == "-" || std::filesystem::is_fifo(bed, error)) {
    throw render::Failure(bed, "is a pipe, which orvane-render takes");
  }
}

render::ChannelPlan plan_of(const Options& options) {
  if (!options.bed.empty()) {
    refuse_pipe(options.bed);
    const auto input = render::audio_input_open({.path = options.bed});
    render::ChannelPlan plan = channel_plan_make(options.bed, input->labels(), options.channels);
    if (plan.layout->ambisonic_order == 0) return plan;
    throw render::Failure(options.bed, "is ambisonics, which orvane-render takes");
  }
  const size_t inputs = render::layout_find(options.channels.layout)->rows.size();
  return channel_plan_make("inputs", std::vector<render::Speaker>(inputs), options.channels);
}

// One per channel; none where a file is played.
std::vector<std::string> input_names(const Options& options, const render::ChannelPlan& plan) {
  std::vector<std::string> names;
  if (!options.bed.empty()) return names;
  for (const render::Speaker speaker : plan.labels) {
    names.emplace_back(speaker_name(speaker));
  }
  return names;
}

std::chrono::duration<double> period_of(const JackClient& jack) {
  return std::chrono::duration<double>(static_cast<double>(jack.period_frames()) /
                                       render::kEffectRateHz);
}

void print_opentrack(const HeadTrackers& trackers) {
  if (const auto port = trackers.opentrack_port()) std::printf("opentrack port %d\n", *port);
}

void print_start(const Options& options, const render::ChannelPlan& plan, const JackClient& jack,
                 const std::vector<std::string>& ears, const HeadTrackers& trackers) {
  const std::string input = options.bed.empty() ? "ports of " + jack.name() : options.bed;
  std::string output = ears.empty() ? "not connected" : ears.front();
  if (ears.size() > 1) output += ", " + ears.back();
  std::printf("layout  %s\ninput   %s\noutput  %s\nperiod  %zu frames, %.1f ms\nosc     port %d\n",
              plan.layout->name.c_str(), input.c_str(), output.c_str(), jack.period_frames(),
              1000.0 * period_of(jack).count(), trackers.osc_port());
  print_opentrack(trackers);
  std::fflush(stdout);
}

// What was lost so far, by cause.
std::string losses_text(const JackClient& jack, const BedPlayer* player) {
  std::string text = std::to_string(jack.xruns()) + " xruns";
  if (player) text += ", " + std::to_string(player->missing_frames()) + " frames of the bed late";
  return text;
}

// Returns when the bed has ended or the user wants an end.
void wait_for_end(const JackClient& jack, const Engine& engine, const BedPlayer* player) {
  DropoutReport report(losses_text(jack, player));
  try {
    while (!player || !player->finished()) {
      render::interrupt_check();
      const std::string losses = losses_text(jack, player);
      if (report.is_due(losses, std::chrono::steady_clock::now())) {
        std::printf("lost    %s\n", losses.c_str());
        std::fflush(stdout);
      }
      jack.check();
      engine.check();
      if (player) player->check();
      std::this_thread::sleep_for(kLook);
    }
  } catch (const render::Interrupted&) {  // for a program that may have no other end
  }
}

void print_end(const JackClient& jack, const BedPlayer* player) {
  std::printf("xruns   %u\n", jack.xruns());
  if (player && player->missing_frames() > 0) {
    std::printf("late    %llu frames of the bed\n",
                static_cast<unsigned long long>(player->missing_frames()));
  }
}

}  // namespace

void live_run(const Options& options) {
  if (options.tracker.watch) return watch_run(options);
  const render::ChannelPlan plan = plan_of(options);
  for (const std::string& notice : plan.notices) {
    std::fprintf(stderr, "orvane-live: note: %s\n", notice.c_str());
  }
  render::EffectHost effect(render::effect_library_find(options.library), plan.layout->mask,
                            options.ears);
  settings_send(options.settings, &effect);
  std::optional<BedPlayer> player;
  if (!options.bed.empty()) {
    player.emplace(options.bed, plan, settings_tail_frames(options.settings), options.loop);
  }
  PoseSlot poses;
  const render::Pose start = options.pose.value_or(render::Pose{});
  poses.write(pose_rotation(start));
  Engine engine(&effect, plan, player ? &*player : nullptr, &poses,
                static_cast<float>(render::decibels_to_factor(options.gain_db)));

  if (options.sink) {
    const HeadTrackers trackers(options, &poses);
    print_opentrack(trackers);
    sink_run(options, plan, &engine, trackers.osc_port());
    return;
  }
  JackClient jack(options.name, options.server);
  jack.add_ports(input_names(options, plan));
  engine.set_period(jack.period_frames());
  const HeadTrackers trackers(options, &poses);
  jack.activate(&engine);
  const std::vector<std::string> ears =
      options.connect ? jack.connect_ears() : std::vector<std::string>();
  print_start(options, plan, jack, ears, trackers);
  std::this_thread::sleep_for(2 * period_of(jack));  // the server connects from a later period on
  engine.start();
  wait_for_end(jack, engine, player ? &*player : nullptr);
  print_end(jack, player ? &*player : nullptr);
}

}  // namespace live
