// SPDX-License-Identifier: Apache-2.0
// What ffprobe says of a file.
#ifndef ORVANE_TOOLS_RENDER_PROBE_H_
#define ORVANE_TOOLS_RENDER_PROBE_H_

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/render/channel_labels.h"

namespace render {

struct MediaStream {
  int index = 0;      // in the file, as FFmpeg counts
  std::string kind;   // audio, video, subtitle, attachment or data
  std::string codec;  // FFmpeg's name
  size_t channels = 0;
  int sample_rate_hz = 0;
  std::string layout;       // FFmpeg's description of the channels
  double duration_s = 0.0;  // 0: unknown
  std::string language, title;
  std::map<std::string, std::string> tags;  // all of them, with names in small letters
  bool is_default = false;
  bool is_picture = false;  // a cover, not a film
};

struct MediaInfo {
  std::string format;       // FFmpeg's long name
  double duration_s = 0.0;  // 0: unknown
  std::vector<MediaStream> streams;
  std::map<std::string, std::string> tags;

  std::vector<const MediaStream*> of_kind(std::string_view kind) const;
};

// Reads the output of the command below. Throws BadText for what ffprobe does not write.
MediaInfo probe_parse(std::string_view text);

// `path` for FFmpeg's command line, whatever it begins with.
std::string ffmpeg_path(const std::string& path);

// The options before an input: nothing but files and pipes is opened.
std::vector<std::string> ffmpeg_input(const std::string& path);

// What an error line of FFmpeg says, without the part that repeats `path`.
std::string ffmpeg_reason(const std::vector<std::string>& lines, const std::string& path);

// Runs ffprobe on a file, or on `input` where that is not negative. Throws Failure with ffprobe's
// reason or because there is no ffprobe.
MediaInfo probe_file(const std::string& path, int input = -1);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PROBE_H_
