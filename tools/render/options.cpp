#include "tools/render/options.h"

#include <CLI/CLI.hpp>
#include <map>

#include "tools/render/effect_host.h"

#ifndef ORVANE_VERSION
#define ORVANE_VERSION "unknown"
#endif

namespace render {
namespace {

constexpr int kUsageStatus = 2;

constexpr char kDescription[] =
    "Renders a loudspeaker bed (5.1 to 22.2) for headphones with the Spatializer effect.";

constexpr char kConventions[] = R"(Channels:
  The file's channel map names the layout and places each channel, whatever its
  order. 5.1 with side instead of back channels is 5.1; 5.1 with top front
  channels is 5.1.2. Files without a map, and those whose map has no names for
  their height channels (5.1.2 with top sides, 22.2), need --layout; their
  channels are taken in the order of the WAVE_FORMAT_EXTENSIBLE mask bits:
    FL FR FC LFE BL BR [FLC FRC BC] SL SR [TC] TFL [TFC] TFR TBL [TBC] TBR
  and 22.2 as --file-order says, LFE2 TSL TSR BFC BFL BFR last by default.

Poses:
  The room frame is +x ahead, +y left, +z up. Angles are degrees, right-handed
  about the head's own axes, in this order: YAW about +z (positive: head turned
  to the left), PITCH about +y (positive: nose down), ROLL about +x (positive:
  towards the right shoulder). `--pose 90,0,0` turns the head to the left: what
  was in front is then heard at the right ear.

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

CLI::Option* add_pose(CLI::App* app, std::optional<Pose>* pose) {
  const auto parse = [pose](const std::string& text) {
    *pose = pose_parse(text);
    if (!*pose) throw CLI::ValidationError("--pose", text + " is no YAW,PITCH,ROLL in degrees");
  };
  return app->add_option_function<std::string>("--pose", parse, "Head pose in degrees (see below)")
      ->type_name("YAW,PITCH,ROLL");
}

void add_options(CLI::App* app, Options* options) {
  ChannelRequest* channels = &options->channels;
  app->add_option("IN", options->input, "wav, w64, rf64, caf or flac, at any sample rate")
      ->type_name("")
      ->required();
  app->add_option("OUT", options->output, "stereo at 48 kHz: .wav, .w64, .rf64, .caf or .flac")
      ->type_name("")
      ->required();
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
  add_pose(app, &options->pose);
  app->add_option("--block", options->block_frames, "Frames per call of the effect")
      ->check(CLI::Range(size_t{1}, kEffectMaxFrames).description(""))
      ->type_name("1..." + std::to_string(kEffectMaxFrames))
      ->default_val(kEffectMaxFrames);
  add_choice(app, "--format", &options->sample_format,
             std::map<std::string, SampleFormat>{{"float", SampleFormat::kFloat32},
                                                 {"24", SampleFormat::kInt24}},
             "Samples of OUT; default float, but flac is always 24");
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
  app.footer(kConventions);
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return failed->get_name() + ": " + error.what() + " (see --help)\n";
  });
  add_options(&app, &options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    *exit_status = app.exit(error) == 0 ? 0 : kUsageStatus;
    return std::nullopt;
  }
  return options;
}

}  // namespace render
