// SPDX-License-Identifier: Apache-2.0
#include "tools/live/tracker_options.h"

#include <string>

namespace live {
namespace {

constexpr int kOpentrackPort = 4242;
constexpr double kMaxPredictMs = 100.0;

void use_preset(const std::string& name, TrackerOptions* tracker, SceneMessages* scene) {
  const TrackerPreset* const preset = tracker_preset_find(name);
  if (!preset) {
    throw CLI::ValidationError("--tracker", name + " is not one of " + tracker_preset_names());
  }
  tracker->axes = *TrackerAxes::parse(preset->axes);
  if (preset->opentrack) tracker->opentrack_port = kOpentrackPort;
  if (preset->turns_head) *scene = SceneMessages::kTurnHead;
}

}  // namespace

const char kTrackerHelp[] = R"(Trackers:
  --tracker says how a kind of tracker is taken; the options after it change that.
  --tracker-axes says which of the tracker's angles (y, p, r, with a minus where it
  grows the other way) are the head's yaw, pitch and roll: -y,-p,r for a tracker
  whose yaw grows to the right and whose pitch grows upwards.
  Look ahead and send /recenter or SIGUSR1, or press c, and that is ahead.
)";

void tracker_options_add(CLI::App* app, TrackerOptions* tracker, SceneMessages* scene) {
  app->add_option_function<std::string>(
         "--tracker", [=](const std::string& name) { use_preset(name, tracker, scene); },
         "What turns the head (see below)")
      ->type_name(tracker_preset_names())
      ->trigger_on_parse();
  app->add_option_function<std::string>(
         "--tracker-axes",
         [=](const std::string& text) {
           const auto axes = TrackerAxes::parse(text);
           if (!axes) throw CLI::ValidationError("--tracker-axes", text + " is not like -y,-p,r");
           tracker->axes = *axes;
         },
         "The tracker's angles (see below)")
      ->type_name("YAW,PITCH,ROLL")
      ->trigger_on_parse();
  app->add_option_function<int>(
         "--opentrack", [=](int port) { tracker->opentrack_port = port; },
         "UDP port for opentrack, whose own is 4242; 0: any free one")
      ->check(CLI::Range(0, 65535).description(""))
      ->type_name("PORT")
      ->trigger_on_parse();
  app->add_option("--predict", tracker->predict_ms, "Turn the head ahead of its tracker by so much")
      ->check(CLI::Range(0.0, kMaxPredictMs).description(""))
      ->type_name("MS");
  app->add_flag("--watch", tracker->watch, "Show the head's pose as text, and play nothing");
}

}  // namespace live
