// SPDX-License-Identifier: Apache-2.0
#include "tools/live/options.h"

#include <CLI/CLI.hpp>

#include "tools/render/room_options.h"
#include "tools/render/shared_options.h"

namespace live {
namespace {

constexpr int kOscPort = 9000;
constexpr char kSinkLayout[] = "7.1";

constexpr char kDescription[] =
    "Renders a loudspeaker bed (5.1 to 22.2) for headphones through JACK, with a head that is\n"
    "turned over OSC. Plays the file BED; without it, takes the bed from input ports.";

constexpr char kOscHelp[] = R"(OSC messages, numbers of any type:
  /ypr YAW PITCH ROLL           the head's pose, as above
  /yaw YAW, /pitch PITCH, /roll ROLL
  /quaternion W X Y Z           the head's turn in the room frame; or /quaternions
  /adm/lis/ypr, /orientation    likewise, the latter with three or four numbers
  /recenter                     where the head is now is ahead
  /SceneRotator/ypr and the others with /SceneRotator before them
                                a turn of the scene: the inverse of the head's,
                                or with --invert-scene the head's
)";

constexpr char kExitHelp[] =
    R"(Exit status: 0 the bed has ended or the program was told to (Ctrl-C), 1 a file,
the library or the OSC port failed or no JACK server is there, 2 wrong command line.)";

void add_bed(CLI::App* app, Options* options) {
  CLI::Option* bed =
      app->add_option("BED", options->bed, "Any sound or film that ffmpeg decodes")->type_name("");
  app->add_flag("--loop", options->loop, "Play the file again and again")->needs(bed);
  render::stream_option_add(app, &options->stream)->needs(bed);
  render::ambisonics_option_add(app, &options->channels.is_ambisonic)->needs(bed);
}

void add_osc(CLI::App* app, Options* options) {
  app->add_option("--osc-port", options->osc_port, "UDP port for head poses; 0: any free one")
      ->check(CLI::Range(0, 65535).description(""))
      ->type_name("PORT")
      ->default_val(kOscPort);
  app->add_flag_callback(
      "--invert-scene", [=] { options->scene = SceneMessages::kTurnHead; },
      "/SceneRotator messages carry the turn of the head");
}

void add_sink(CLI::App* app, Options* options) {
  app->add_flag("--sink", options->sink,
                "Be an output of the desktop, through PipeWire: 7.1, or as --layout says")
      ->excludes("BED");
}

void add_jack(CLI::App* app, Options* options) {
  app->add_option("--name", options->name, "Name of the JACK client or the sink")
      ->type_name("NAME")
      ->default_val("orvane-live");
  app->add_option("--server", options->server, "Name of the JACK or PipeWire server")
      ->type_name("NAME");
  app->add_flag_callback(
      "--no-connect", [=] { options->connect = false; }, "Leave the outputs unconnected");
}

}  // namespace

std::optional<Options> options_parse(int argc, char** argv, int* exit_status) {
  Options options;
  CLI::App app(kDescription, "orvane-live");
  app.footer(std::string(render::kChannelsHelp) + "\n" + render::kPoseHelp + "\n" + kOscHelp +
             "\n" + kTrackerHelp + "\n" + render::kRoomOptionsHelp + "\n" + kExitHelp);
  add_bed(&app, &options);
  render::channel_options_add(&app, &options.channels);
  render::pose_option_add(&app, &options.pose, "Head pose until the first message,");
  render::ears_option_add(&app, &options.ears);
  add_osc(&app, &options);
  tracker_options_add(&app, &options.tracker, &options.scene);
  render::room_options_add(&app, &options.settings);
  render::decibels_option_add(&app, "--gain", &options.gain_db, "Gain of both ears");
  render::decibels_option_add(&app, "--lfe-gain", &options.channels.lfe_gain_db,
                              "Gain of the LFE channels");
  add_jack(&app, &options);
  add_sink(&app, &options);
  render::program_options_add(&app, &options.library, &options.verbose,
                              "the logs of effect and JACK, and ignored OSC messages");
  app.callback([&options] {
    if (options.sink && options.channels.layout.empty()) options.channels.layout = kSinkLayout;
    if (options.tracker.watch) return;
    if (options.bed.empty() && options.channels.layout.empty()) {
      throw CLI::ValidationError("--layout", "is needed without a BED");
    }
  });
  const std::optional<int> ended = render::options_parse_line(&app, argc, argv, [&] {
    options.settings.check();
    channel_request_check(options.channels);
  });
  if (!ended) return options;
  *exit_status = *ended;
  return std::nullopt;
}

}  // namespace live
