// SPDX-License-Identifier: Apache-2.0
// The command line of orvane-render.
#ifndef ORVANE_TOOLS_RENDER_OPTIONS_H_
#define ORVANE_TOOLS_RENDER_OPTIONS_H_

#include <cstddef>
#include <optional>
#include <string>

#include "tools/render/audio_input.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"
#include "tools/render/pose.h"
#include "tools/render/settings.h"

namespace render {

enum class Job {
  kRender,    // IN OUT
  kIdentify,  // identify --layout NAME OUT
  kInfo,      // info FILE
};

struct Options {
  Job job = Job::kRender;
  InputRequest input;
  std::string output;
  std::string library;  // empty: search for it
  ChannelRequest channels;
  std::optional<SampleFormat> sample_format;
  std::optional<Pose> pose;
  std::string trajectory;  // empty: none
  std::string ears;        // SOFA file; empty: the built-in ones
  Settings settings;       // of room and reverb
  double gain_db = 0.0;
  bool normalize = false;
  std::optional<double> loudness_lufs;  // to aim at, within the true peak
  bool measure = false;                 // loudness of input and output
  bool fail_on_clip = false;
  bool keep_latency = false;
  int output_rate_hz = kEffectRateHz;
  std::string codec;      // empty: what suits the container
  bool replace = false;   // a film loses the stream that was rendered
  bool bed_only = false;  // identify: OUT is the bed itself
  size_t block_frames = 0;
  size_t threads = 0;   // that render; 0: one for each processor
  bool strict = false;  // what is a warning else ends with exit status 1
  bool verbose = false;
};

// Nothing where the program has nothing more to do (help, version, a wrong command line); then
// `exit_status` is set and the text has been printed. Throws Failure for a preset file.
std::optional<Options> options_parse(int argc, char** argv, int* exit_status);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_OPTIONS_H_
