#include "tools/render/options.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>

#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/room_options.h"

#ifndef ORVANE_VERSION
#define ORVANE_VERSION "unknown"
#endif

namespace render {
namespace {

constexpr int kUsageStatus = 2;
constexpr double kMaxGainDb = 120.0;

constexpr char kDescription[] =
    "Renders a loudspeaker bed (5.1 to 22.2) for headphones with the Spatializer effect.";

constexpr char kChannelsHelp[] = R"(Channels:
  The file's channel map names the layout and places each channel, whatever its
  order. 5.1 with side instead of back channels is 5.1; 5.1 with top front
  channels is 5.1.2. Files without a map, and those whose map has no names for
  their height channels (5.1.2 with top sides, 22.2), need --layout; their
  channels are taken in the order of the WAVE_FORMAT_EXTENSIBLE mask bits:
    FL FR FC LFE BL BR [FLC FRC BC] SL SR [TC] TFL [TFC] TFR TBL [TBC] TBR
  and 22.2 as --file-order says, LFE2 TSL TSR BFC BFL BFR last by default.
)";

constexpr char kHeadHelp[] = R"(Poses:
  The room frame is +x ahead, +y left, +z up. Angles are degrees, right-handed
  about the head's own axes, in this order: YAW about +z (positive: head turned
  to the left), PITCH about +y (positive: nose down), ROLL about +x (positive:
  towards the right shoulder).
    90,0,0    head turned to the left: a front source is at the right ear
    0,-90,0   face up: a front source is below, towards the chin
    0,0,90    leaning to the right: a source at the left is above
  A trajectory is a CSV file; its first line says what its columns are:
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

// An option that takes one of a few words; `target` keeps its value where the option is not given.
template <typename Target, typename Value>
CLI::Option* add_choice(CLI::App* app, const std::string& name, Target* target,
                        const std::map<std::string, Value>& choices, const std::string& help) {
  std::string words;
  for (const auto& choice : choices) words += (words.empty() ? "" : "|") + choice.first;
  const auto choose = [=](const std::string& text) {
    const auto found = choices.find(text);
    if (found == choices.end()) throw CLI::ValidationError(name, text + " is none of " + words);
    *target = found->second;
  };
  return app->add_option_function<std::string>(name, choose, help)->type_name(words);
}

std::map<std::string, std::string> layout_names() {
  std::map<std::string, std::string> names;
  for (const Layout& layout : layouts()) names[layout.name] = layout.name;
  return names;
}

void add_head(CLI::App* app, Options* options) {
  const auto parse = [options](const std::string& text) {
    options->pose = pose_parse(text);
    if (!options->pose) {
      throw CLI::ValidationError("--pose", text + " is no YAW,PITCH,ROLL in degrees");
    }
  };
  CLI::Option* pose =
      app->add_option_function<std::string>("--pose", parse, "Head pose in degrees (see below)")
          ->type_name("YAW,PITCH,ROLL");
  app->add_option("--trajectory", options->trajectory, "Head poses over time (see below)")
      ->type_name("FILE.csv")
      ->excludes(pose);
}

void add_decibels(CLI::App* app, const std::string& name, double* decibels,
                  const std::string& help) {
  app->add_option(name, *decibels, help)
      ->check(CLI::Range(-kMaxGainDb, kMaxGainDb).description(""))
      ->type_name("DB");
}

void add_levels(CLI::App* app, Options* options) {
  add_decibels(app, "--gain", &options->gain_db, "Gain of both ears");
  app->add_flag("--normalize", options->normalize, "Bring the peak to -1 dBFS first");
  add_decibels(app, "--lfe-gain", &options->channels.lfe_gain_db, "Gain of the LFE channels");
  app->add_flag("--fail-on-clip", options->fail_on_clip, "Refuse what exceeds full scale");
}

void add_files(CLI::App* app, Options* options) {
  app->add_option("IN", options->input, "wav, w64, rf64, caf or flac, at any sample rate")
      ->type_name("")
      ->required();
  app->add_option("OUT", options->output, "stereo at 48 kHz: .wav, .w64, .rf64, .caf or .flac")
      ->type_name("")
      ->required();
  add_choice(app, "--format", &options->sample_format,
             std::map<std::string, SampleFormat>{{"float", SampleFormat::kFloat32},
                                                 {"24", SampleFormat::kInt24}},
             "Samples of OUT; default float, but flac is always 24");
}

void add_channels(CLI::App* app, ChannelRequest* channels) {
  add_choice(app, "--layout", &channels->layout, layout_names(), "What the channels are");
  add_choice(app, "--file-order", &channels->file_order,
             std::map<std::string, FileOrder>{{"ffmpeg", FileOrder::kFfmpeg},
                                              {"android", FileOrder::kAndroid},
                                              {"bs2051", FileOrder::kBs2051}},
             "Channel order of a 22.2 file; default ffmpeg");
  add_choice(app, "--order", &channels->input_order,
             std::map<std::string, InputOrder>{{"label", InputOrder::kLabel},
                                               {"device", InputOrder::kDevice}},
             "22.2: label (default) puts each channel where its name says; device feeds\n"
             "the effect in the platform's order and is heard as on a device");
}

void add_program(CLI::App* app, Options* options) {
  app->add_option("--block", options->block_frames, "Frames per call of the effect")
      ->check(CLI::Range(size_t{1}, kEffectMaxFrames).description(""))
      ->type_name("1..." + std::to_string(kEffectMaxFrames))
      ->default_val(kEffectMaxFrames);
  app->add_option("--library", options->library,
                  "Effect library; default next to this program, then as installed")
      ->type_name("PATH");
  app->add_flag("--verbose", options->verbose, "Show the effect's log");
  app->set_version_flag("--version", "orvane-render " ORVANE_VERSION);
}

}  // namespace

std::optional<Options> options_parse(int argc, char** argv, int* exit_status) {
  Options options;
  CLI::App app(kDescription, "orvane-render");
  app.footer(std::string(kChannelsHelp) + "\n" + kHeadHelp + "\n" + kRoomOptionsHelp + "\n" +
             kLevelsHelp);
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return failed->get_name() + ": " + error.what() + " (see --help)\n";
  });
  add_files(&app, &options);
  add_channels(&app, &options.channels);
  add_head(&app, &options);
  room_options_add(&app, &options.settings);
  add_levels(&app, &options);
  add_program(&app, &options);
  try {
    app.parse(argc, argv);
    options.settings.check();
  } catch (const CLI::ParseError& error) {
    *exit_status = app.exit(error) == 0 ? 0 : kUsageStatus;
    return std::nullopt;
  } catch (const BadText& bad) {
    std::fprintf(stderr, "orvane-render: %s (see --help)\n", bad.what());
    *exit_status = kUsageStatus;
    return std::nullopt;
  }
  return options;
}

}  // namespace render
