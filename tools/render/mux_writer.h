// SPDX-License-Identifier: Apache-2.0
// Files that the user's own ffmpeg encodes and writes, in a process of its own: films that keep
// their picture, and sound in codecs that are not written here.
#ifndef ORVANE_TOOLS_RENDER_MUX_WRITER_H_
#define ORVANE_TOOLS_RENDER_MUX_WRITER_H_

#include <memory>
#include <string>
#include <vector>

#include "tools/render/audio_output.h"
#include "tools/render/pending_file.h"
#include "tools/render/subprocess.h"

namespace render {

// A film keeps its picture as it is, subtitles, chapters, tags and sound streams; the new stereo
// stream comes before the others and is the default. Sound alone keeps its tags.
class MuxWriter final : public AudioOutput {
 public:
  // Throws Failure for a codec that the container does not hold.
  MuxWriter(const std::string& path, const AudioSpec& spec);

  // Whether the extension is one of ffmpeg's containers.
  static bool writes(const std::string& path);

  // Those extensions: ".mkv, .mp4"
  static std::string extensions();

  std::string format() const override { return format_; }
  void write(const float* frames, size_t count) override;
  void commit() override;
  std::vector<std::string> notices() const override { return notices_; }

 private:
  [[noreturn]] void fail();

  PendingFile pending_;
  size_t frame_bytes_;
  std::string format_;
  std::vector<std::string> notices_;
  std::unique_ptr<Subprocess> ffmpeg_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_MUX_WRITER_H_
