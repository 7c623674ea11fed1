// SPDX-License-Identifier: Apache-2.0
// The command line of orvane-live.
#ifndef ORVANE_TOOLS_LIVE_OPTIONS_H_
#define ORVANE_TOOLS_LIVE_OPTIONS_H_

#include <optional>
#include <string>

#include "tools/live/head_messages.h"
#include "tools/live/tracker_options.h"
#include "tools/render/channel_map.h"
#include "tools/render/pose.h"
#include "tools/render/settings.h"

namespace live {

struct Options {
  std::string bed;            // empty: input ports
  std::optional<int> stream;  // of the bed's sound, from 1
  bool loop = false;
  render::ChannelRequest channels;
  std::optional<render::Pose> pose;
  std::string ears;           // SOFA file; empty: the built-in ones
  render::Settings settings;  // of room and reverb
  double gain_db = 0.0;
  int osc_port = 0;
  SceneMessages scene = SceneMessages::kTurnScene;
  TrackerOptions tracker;
  std::string name;    // of the client
  std::string server;  // empty: the default one
  bool connect = true;
  bool sink = false;    // of the desktop, instead of a JACK client
  std::string library;  // empty: search for it
  bool verbose = false;
};

// As render::options_parse.
std::optional<Options> options_parse(int argc, char** argv, int* exit_status);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_OPTIONS_H_
