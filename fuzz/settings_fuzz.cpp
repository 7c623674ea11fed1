// SPDX-License-Identifier: Apache-2.0
// What the host renderer reads from its user and from pipes: trajectories, presets, command lines,
// ffprobe's answers, WAV and raw samples.
#include <fcntl.h>

#include <cstdlib>

#include "fuzz/input.h"
#include "fuzz/temporary.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/options.h"
#include "tools/render/presets.h"
#include "tools/render/probe.h"
#include "tools/render/stream_input.h"
#include "tools/render/text.h"
#include "tools/render/trajectory.h"

namespace {

// The longest tail of the effect's parameters is not quite this long.
constexpr size_t kLongestTail = size_t{3} * render::kEffectRateHz;

void require_turn(const render::Rotation& turn) {
  const double length = std::hypot(std::hypot(turn.w, turn.x), std::hypot(turn.y, turn.z));
  require(std::fabs(length - 1.0) < 1e-6, "a pose is a turn");
  for (const float value : render::pose_head_to_stage(turn)) {
    require(std::isfinite(value), "the effect is sent finite poses");
  }
}

// Each of its settings must be one that the effect accepts.
void require_valid(const render::Settings& settings) {
  for (const render::Settings::Write& write : settings.writes()) {
    require(render::parameter_takes(*write.parameter, write.value), "a setting is in its range");
  }
  require(render::settings_tail_frames(settings) < kLongestTail, "a tail ends");
}

void read_trajectory(Input* input) {
  double times[4];
  for (double& time : times) time = static_cast<double>(input->number());
  const MemoryFile file(input->text());
  const render::Trajectory trajectory(file.path());
  for (const double time : times) require_turn(trajectory.at(time));
  for (double time = -1.0; time < 4.0; time += 0.25) require_turn(trajectory.at(time));
}

void read_preset(Input* input) {
  const MemoryFile file(input->text());
  render::Settings settings;
  render::preset_read(file.path(), &settings);
  require_valid(settings);
}

// One argument a line. Without slashes they name no device, which might never end.
void read_options(Input* input) {
  std::string text = input->text();
  std::erase_if(text, [](char c) { return c == '/' || c == '\0'; });
  std::vector<std::string> arguments = {"orvane-render"};
  for (const std::string_view line : render::text_split(text, '\n')) arguments.emplace_back(line);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  int status = -1;
  const auto options = render::options_parse(static_cast<int>(argv.size()), argv.data(), &status);
  if (!options) return require(status == 0 || status == 2, "a wrong command line has its status");
  require(options->block_frames >= 1 && options->block_frames <= render::kEffectMaxFrames,
          "a block is one that the effect takes");
  require(std::fabs(options->gain_db) <= 120.0, "a gain is in its range");
  require(std::fabs(options->channels.lfe_gain_db) <= 120.0, "a gain is in its range");
  if (options->pose) require_turn(render::pose_rotation(*options->pose));
  require_valid(options->settings);
}

// What ffprobe prints, up to the plan of the channels of each stream.
void read_probe(Input* input) try {
  const render::MediaInfo info = render::probe_parse(input->text());
  for (const render::MediaStream& stream : info.streams) {
    const auto labels = render::labels_from_ffmpeg(stream.layout, stream.channels);
    require(labels.speakers.size() == stream.channels, "every channel has a label or none");
    if (stream.channels == 0) continue;
    const auto plan = render::channel_plan_make("film", labels, {});
    require(plan.labels.size() == stream.channels, "every channel has its place");
  }
} catch (const render::BadText&) {
  // What ffprobe does not write.
}

// A pipe of any length that may break off anywhere.
void read_stream(Input* input) {
  render::InputRequest request;
  request.path = "-";
  const uint8_t kind = input->take<uint8_t>();
  if (kind & 1) request.raw = static_cast<render::RawSample>(kind / 2 % 6);
  request.raw_channels = 1 + kind / 16;
  const std::string text = input->text();
  const MemoryFile file(text);
  const int fd = open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
  render::StreamInput stream(std::make_unique<render::ByteSource>("-", fd), request);
  std::vector<float> block(stream.channels() * 64);
  uint64_t frames = 0;
  while (const size_t count = stream.read(block.data(), 64)) {
    require(count <= 64, "a stream delivers at most what was asked for");
    frames += count;
  }
  require(frames * stream.channels() <= text.size(), "a stream delivers what is there");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  try {
    switch (input.below(10)) {
      case 0:
      case 5:
        read_trajectory(&input);
        break;
      case 1:
      case 6:
        read_preset(&input);
        break;
      case 2:  // seldom: a command line's parser takes as long to make as ten files to read
        read_options(&input);
        break;
      case 3:
      case 7:
        read_probe(&input);
        break;
      default:
        read_stream(&input);
    }
  } catch (const render::Failure&) {
    // What the user is told.
  }
  return 0;
}
