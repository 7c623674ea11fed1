#include "tools/render/options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "tools/render/effect_host.h"
#include "tools/render/room_options.h"
#include "tools/render/shared_options.h"

namespace render {
namespace {

constexpr char kDescription[] =
    "Renders a loudspeaker bed (5.1 to 22.2) for headphones with the Spatializer effect.";

constexpr char kTrajectoryHelp[] =
    R"(  A trajectory is a CSV file; its first line says what its columns are:
    time,yaw,pitch,roll   seconds, and angles as above
    time,qw,qx,qy,qz      the same turn of the head as a unit quaternion
    time,rx,ry,rz         head-to-stage rotation vector as the effect takes it,
                          radians about +x right, +y ahead, +z up
  Between two lines the head turns evenly, the shorter way round. Every 10 ms of
  audio the effect is sent a pose; with blocks of 10 ms or more, the default,
  the head is where the trajectory says at the end of each of them.
)";

constexpr char kLevelsHelp[] = R"(Levels:
  --normalize renders twice: first to find the peak, which then becomes -1 dBFS
  before --gain. Float files keep what is beyond full scale, others clip it;
  with --fail-on-clip there is no OUT then, and the exit status is 1.

Exit status: 0 rendered, 1 a file or the library failed, 2 wrong command line.
OUT appears only when it is complete; an earlier OUT is then replaced.)";

void add_head(CLI::App* app, Options* options) {
  CLI::Option* pose = pose_option_add(app, &options->pose, "Head pose");
  app->add_option("--trajectory", options->trajectory, "Head poses over time (see below)")
      ->type_name("FILE.csv")
      ->excludes(pose);
}

void add_levels(CLI::App* app, Options* options) {
  decibels_option_add(app, "--gain", &options->gain_db, "Gain of both ears");
  app->add_flag("--normalize", options->normalize, "Bring the peak to -1 dBFS first");
  decibels_option_add(app, "--lfe-gain", &options->channels.lfe_gain_db,
                      "Gain of the LFE channels");
  app->add_flag("--fail-on-clip", options->fail_on_clip, "Refuse what exceeds full scale");
}

void add_files(CLI::App* app, Options* options) {
  app->add_option("IN", options->input, "wav, w64, rf64, caf or flac, at any sample rate")
      ->type_name("")
      ->required();
  app->add_option("OUT", options->output, "stereo at 48 kHz: .wav, .w64, .rf64, .caf or .flac")
      ->type_name("")
      ->required();
  choice_option_add(app, "--format", &options->sample_format,
                    std::map<std::string, SampleFormat>{{"float", SampleFormat::kFloat32},
                                                        {"24", SampleFormat::kInt24}},
                    "Samples of OUT; default float, but flac is always 24");
}

void add_program(CLI::App* app, Options* options) {
  app->add_option("--block", options->block_frames, "Frames per call of the effect")
      ->check(CLI::Range(size_t{1}, kEffectMaxFrames).description(""))
      ->type_name("1..." + std::to_string(kEffectMaxFrames))
      ->default_val(kEffectMaxFrames);
  program_options_add(app, &options->library, &options->verbose, "the effect's log");
}

}  // namespace

std::optional<Options> options_parse(int argc, char** argv, int* exit_status) {
  Options options;
  CLI::App app(kDescription, "orvane-render");
  app.footer(std::string(kChannelsHelp) + "\n" + kPoseHelp + kTrajectoryHelp + "\n" +
             kRoomOptionsHelp + "\n" + kLevelsHelp);
  add_files(&app, &options);
  channel_options_add(&app, &options.channels);
  add_head(&app, &options);
  room_options_add(&app, &options.settings);
  add_levels(&app, &options);
  add_program(&app, &options);
  const std::optional<int> ended = options_parse_line(&app, argc, argv, options.settings);
  if (!ended) return options;
  *exit_status = *ended;
  return std::nullopt;
}

}  // namespace render
