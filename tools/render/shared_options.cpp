// SPDX-License-Identifier: Apache-2.0
#include "tools/render/shared_options.h"

#include <cstdio>

#include "tools/render/failure.h"

#ifndef ORVANE_PROGRAM_VERSION
#define ORVANE_PROGRAM_VERSION "unknown"
#endif

namespace render {

const char kChannelsHelp[] = R"(Channels:
  Each channel is heard where the file's own label says, whatever the order, in
  the smallest layout that has a loudspeaker for every label; the others stay
  silent. Side channels without back channels are taken as the back pair. Files
  without labels are taken as mono, stereo, 5.1, 7.1, 7.1.4 or 22.2 by their
  number of channels, in the order of the WAVE_FORMAT_EXTENSIBLE mask bits:
    FL FR FC LFE BL BR [FLC FRC BC] SL SR [TC] TFL [TFC] TFR TBL [TBC] TBR
  and 22.2 with LFE2 TSL TSR BFC BFL BFR last. --channels says another order:
    FL,FR,FC,...  names of FFmpeg, of BS.2051 (M+030, U-045) or of film (L, Lrs)
    film          L R C LFE Ls Rs Lrs Rrs Ltf Rtf Ltr Rtr
    wave, android, bs2051   22.2: as above, as on a device, as in BS.2051
  Labels that say otherwise are overridden with --relabel only.
)";

const char kPoseHelp[] = R"(Poses:
  The room frame is +x ahead, +y left, +z up. Angles are degrees, right-handed
  about the head's own axes, in this order: YAW about +z (positive: head turned
  to the left), PITCH about +y (positive: nose down), ROLL about +x (positive:
  towards the right shoulder).
    90,0,0    head turned to the left: a front source is at the right ear
    0,-90,0   face up: a front source is below, towards the chin
    0,0,90    leaning to the right: a source at the right is above
)";

namespace {

constexpr int kUsageStatus = 2;
constexpr double kMaxGainDb = 120.0;

std::map<std::string, std::string> layout_names() {
  std::map<std::string, std::string> names;
  for (const Layout& layout : layouts()) names[layout.name] = layout.name;
  return names;
}

}  // namespace

CLI::Option* decibels_option_add(CLI::App* app, const std::string& name, double* decibels,
                                 const std::string& help) {
  return app->add_option(name, *decibels, help)
      ->check(CLI::Range(-kMaxGainDb, kMaxGainDb).description(""))
      ->type_name("DB");
}

CLI::Option* layout_option_add(CLI::App* app, std::string* layout, const std::string& help) {
  return choice_option_add(app, "--layout", layout, layout_names(), help);
}

void channel_options_add(CLI::App* app, ChannelRequest* channels) {
  layout_option_add(app, &channels->layout,
                    "Whose loudspeakers; default the smallest layout that holds the labels");
  app->add_option("--channels", channels->channels, "Order of the channels (see below)")
      ->type_name("NAMES|android|bs2051|film|wave");
  app->add_flag("--relabel", channels->relabel, "Let --layout or --channels override labels");
  choice_option_add(app, "--order", &channels->input_order,
                    std::map<std::string, InputOrder>{{"label", InputOrder::kLabel},
                                                      {"device", InputOrder::kDevice}},
                    "22.2: label (default) puts each channel where its name says; device feeds\n"
                    "the effect in the platform's order and is heard as on a device");
}

CLI::Option* stream_option_add(CLI::App* app, std::optional<int>* stream) {
  return app
      ->add_option_function<int>(
          "--stream", [=](const int& number) { *stream = number; },
          "Which sound stream of a film, from 1; default the one with most channels")
      ->check(CLI::Range(1, 1000).description(""))
      ->type_name("N");
}

CLI::Option* ambisonics_option_add(CLI::App* app, bool* is_ambisonic) {
  return app->add_flag("--ambisonics", *is_ambisonic,
                       "An ambisonic field of 4, 9, 16 or 25 channels (AmbiX: ACN, SN3D)");
}

CLI::Option* pose_option_add(CLI::App* app, std::optional<Pose>* pose, const std::string& help) {
  const auto parse = [pose](const std::string& text) {
    *pose = pose_parse(text);
    if (!*pose) throw CLI::ValidationError("--pose", text + " is not YAW,PITCH,ROLL in degrees");
  };
  return app->add_option_function<std::string>("--pose", parse, help + " in degrees (see below)")
      ->type_name("YAW,PITCH,ROLL");
}

void ears_option_add(CLI::App* app, std::string* ears) {
  app->add_option("--ears", *ears, "Ears to listen with; default the built-in ones")
      ->type_name("FILE.sofa");
}

void version_option_add(CLI::App* app) {
  app->set_version_flag("--version", app->get_name() + " " ORVANE_PROGRAM_VERSION);
}

void program_options_add(CLI::App* app, std::string* library, bool* verbose,
                         const std::string& shows) {
  app->add_option("--library", *library,
                  "Effect library; default next to this program, then as installed")
      ->type_name("PATH");
  app->add_flag("--verbose", *verbose, "Show " + shows);
  version_option_add(app);
}

std::optional<int> options_parse_line(CLI::App* app, int argc, char** argv,
                                      const std::function<void()>& check) {
  app->failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return failed->get_name() + ": " + error.what() + " (see --help)\n";
  });
  try {
    app->parse(argc, argv);
    check();
  } catch (const CLI::ParseError& error) {
    return app->exit(error) == 0 ? 0 : kUsageStatus;
  } catch (const BadText& bad) {
    std::fprintf(stderr, "%s: %s (see --help)\n", app->get_name().c_str(), bad.what());
    return kUsageStatus;
  }
  return std::nullopt;
}

}  // namespace render
