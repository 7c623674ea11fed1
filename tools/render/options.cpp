// SPDX-License-Identifier: Apache-2.0
#include "tools/render/options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/room_options.h"
#include "tools/render/shared_options.h"

namespace render {
namespace {

constexpr size_t kMostThreads = 64;

constexpr char kDescription[] =
    "Renders a loudspeaker bed (5.1 to 22.2) for headphones with the Spatializer effect.\n"
    "`orvane-render identify` lets one loudspeaker sound after the other, and\n"
    "`orvane-render info` tells what is in a file; each has its own --help. A file of\n"
    "such a name is ./identify or ./info.";

constexpr char kIdentifyDescription[] =
    "Lets one loudspeaker of a layout sound after the other, renders that for headphones and\n"
    "prints what sounds when, from where: degrees to the left and upwards.";

constexpr char kInfoDescription[] =
    "Tells what orvane-render would do with a file, and what it would refuse.";

constexpr char kTrajectoryHelp[] =
    R"(  A trajectory is a CSV file; its first line says what its columns are:
    time,yaw,pitch,roll   seconds, and angles as above
    time,qw,qx,qy,qz      the same turn of the head as a unit quaternion
    time,rx,ry,rz         head-to-stage rotation vector as the effect takes it,
                          radians about +x right, +y ahead, +z up
  Between two lines the head turns evenly, the shorter way round. Every block
  is sent a pose, at least every 10 ms, and at its end the head is where the
  trajectory says.
)";

constexpr char kLevelsHelp[] = R"(Levels:
  --normalize brings the true peak to -1 dBTP, --loudness the integrated
  loudness to so many LUFS (for instance -23, or -16 for phones) as far as the
  true peak allows (ITU-R BS.1770-4); --gain comes on top of both. They keep the
  rendering on the disk beside OUT before it is written. Float files keep what
  is beyond full scale, others clip it; with --fail-on-clip there is no OUT
  then, and the exit status is 1. A cinema plays the LFE channel of a film
  10 dB louder than its file has it: --film does so, as --lfe-gain 10.
)";

constexpr char kIdentifyHelp[] = R"(Sounds:
  Three bursts of noise per loudspeaker, of a 60 Hz tone per LFE, in the order of
  a file's channels. With --bed take .wav or .rf64 for OUT, as the other formats
  have no names for the channels of most layouts; none has for those of 5.1.2
  and 22.2, with which orvane-render will ask for --layout.
)";

constexpr char kInfoHelp[] = R"(
Exit status: 0 it would be rendered, 1 it would be refused (the last line says
why) or cannot be read, 2 wrong command line.)";

constexpr char kExitHelp[] = R"(
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
  CLI::Option* normalize =
      app->add_flag("--normalize", options->normalize, "Bring the true peak to -1 dBTP first");
  app->add_option_function<double>(
         "--loudness", [=](const double& lufs) { options->loudness_lufs = lufs; },
         "Bring the loudness there first, with a true peak of at most -1 dBTP")
      ->check(CLI::Range(-70.0, 0.0).description(""))
      ->type_name("LUFS")
      ->excludes(normalize);
  app->add_flag("--measure", options->measure, "Report loudness and true peak of input and output");
  app->add_flag("--fail-on-clip", options->fail_on_clip, "Refuse what exceeds full scale");
}

void add_input(CLI::App* app, const std::string& name, Options* options) {
  app->add_option(name, options->input.path,
                  "Any sound or film that ffmpeg decodes, or - for standard input")
      ->type_name("")
      ->required();
  stream_option_add(app, &options->input.stream);
  choice_option_add(app, "--raw", &options->input.raw,
                    std::map<std::string, std::optional<RawSample>>{{"f32", RawSample::kFloat32},
                                                                    {"f64", RawSample::kFloat64},
                                                                    {"s16", RawSample::kInt16},
                                                                    {"s24", RawSample::kInt24},
                                                                    {"s32", RawSample::kInt32}},
                    "Samples without a header, little-endian; needs --channels or --layout");
  app->add_option("--raw-rate", options->input.raw_rate_hz, "Their sample rate; default 48000")
      ->check(CLI::Range(1000, 768000).description(""))
      ->type_name("HZ")
      ->needs(app->get_option("--raw"));
  ambisonics_option_add(app, &options->channels.is_ambisonic);
  app->add_flag("--strict", options->strict,
                "Exit status 1 after a warning, for instance of a damaged file");
}

void add_output(CLI::App* app, const std::string& what, Options* options) {
  app->add_option("OUT", options->output, what)->type_name("")->required();
  choice_option_add(app, "--format", &options->sample_format,
                    std::map<std::string, SampleFormat>{{"float", SampleFormat::kFloat32},
                                                        {"24", SampleFormat::kInt24},
                                                        {"16", SampleFormat::kInt16}},
                    "Samples of .wav and its kin; default float, for .flac 24");
}

// What only a rendering of a file has.
void add_film(CLI::App* app, Options* options) {
  app->add_option("--rate", options->output_rate_hz, "Sample rate of OUT; default 48000")
      ->check(CLI::Range(8000, 192000).description(""))
      ->type_name("HZ");
  app->add_option("--codec", options->codec,
                  "Sound of a film or of .m4a, .ogg: flac, aac, alac, opus, vorbis, mp3 or pcm;\n"
                  "default what suits OUT")
      ->type_name("NAME");
  app->add_flag("--replace", options->replace, "Leave the rendered stream out of the film");
  app->add_flag("--keep-latency", options->keep_latency,
                "Keep the " + std::to_string(kEarLatencyFrames) + " samples by which the ears lag");
}

void add_program(CLI::App* app, Options* options) {
  app->add_option("--block", options->block_frames, "Frames per call of the effect")
      ->check(CLI::Range(size_t{1}, kEffectMaxFrames).description(""))
      ->type_name("1..." + std::to_string(kEffectMaxFrames))
      ->default_val(kEffectMaxFrames);
  app->add_option("--threads", options->threads,
                  "Threads that render; default one for each processor. OUT is the same")
      ->check(CLI::Range(size_t{1}, kMostThreads).description(""))
      ->type_name("N");
  program_options_add(app, &options->library, &options->verbose, "the effect's log");
}

// How the bed is rendered, whatever it is.
void add_rendering(CLI::App* app, Options* options) {
  add_head(app, options);
  ears_option_add(app, &options->ears);
  room_options_add(app, &options->settings);
  add_levels(app, options);
  add_program(app, options);
}

void add_render(CLI::App* app, Options* options) {
  app->description(kDescription);
  app->footer(std::string(kChannelsHelp) + "\n" + kPoseHelp + kTrajectoryHelp + "\n" +
              kRoomOptionsHelp + "\n" + kLevelsHelp + kExitHelp);
  add_input(app, "IN", options);
  add_output(app,
             "Stereo: .wav, .w64, .rf64, .caf, .aiff, .flac, - for WAV on standard output, or\n"
             "through ffmpeg .mkv, .mp4, .mov, .m4a, .opus and more",
             options);
  add_film(app, options);
  channel_options_add(app, &options->channels);
  CLI::Option* lfe_gain = decibels_option_add(app, "--lfe-gain", &options->channels.lfe_gain_db,
                                              "Gain of the LFE channels");
  app->add_flag("--film", options->channels.is_film, "LFE 10 dB louder, as a cinema plays it")
      ->excludes(lfe_gain);
  add_rendering(app, options);
}

bool changes_rendering(const Options& options) {
  return options.pose || !options.trajectory.empty() || !options.settings.writes().empty() ||
         options.gain_db != 0.0 || options.normalize || options.fail_on_clip;
}

void add_identify(CLI::App* app, Options* options) {
  options->job = Job::kIdentify;
  app->description(kIdentifyDescription);
  app->footer(std::string(kIdentifyHelp) + "\n" + kPoseHelp + kTrajectoryHelp + "\n" +
              kRoomOptionsHelp + "\n" + kLevelsHelp + kExitHelp);
  add_output(app, "Stereo, or with --bed the bed: .wav, .w64, .rf64, .caf or .flac", options);
  layout_option_add(app, &options->channels.layout, "Whose loudspeakers")->required();
  app->add_flag("--bed", options->bed_only, "Write the bed and do not render it");
  add_rendering(app, options);
  app->callback([options] {
    if (options->bed_only && changes_rendering(*options)) {
      throw CLI::ValidationError("--bed", "is not rendered: it goes without head, room and levels");
    }
  });
}

void add_info(CLI::App* app, Options* options) {
  options->job = Job::kInfo;
  app->description(kInfoDescription);
  app->footer(std::string(kChannelsHelp) + kInfoHelp);
  add_input(app, "FILE", options);
  channel_options_add(app, &options->channels);
  version_option_add(app);
}

// Raw samples have as many channels as the options of channels name.
void settle_raw(Options* options) {
  if (!options->input.raw) return;
  options->input.raw_channels = channel_request_count(options->channels);
  if (options->input.raw_channels == 0) {
    throw BadText("--raw needs --channels with names, or --layout");
  }
  if (options->input.stream) throw BadText("--stream has no effect with --raw");
}

}  // namespace

std::optional<Options> options_parse(int argc, char** argv, int* exit_status) {
  Options options;
  const std::string verb = argc > 1 ? argv[1] : "";
  const bool has_verb = verb == "identify" || verb == "info";
  CLI::App app("", has_verb ? "orvane-render " + verb : "orvane-render");
  (verb == "identify" ? add_identify : verb == "info" ? add_info : add_render)(&app, &options);
  if (has_verb) {
    --argc;
    ++argv;
  }
  const std::optional<int> ended = options_parse_line(&app, argc, argv, [&] {
    options.settings.check();
    channel_request_check(options.channels);
    settle_raw(&options);
  });
  if (!ended) return options;
  *exit_status = *ended;
  return std::nullopt;
}

}  // namespace render
