// SPDX-License-Identifier: Apache-2.0
// Sound of any file that the user's own ffmpeg decodes, in a process of its own.
#ifndef ORVANE_TOOLS_RENDER_FFMPEG_INPUT_H_
#define ORVANE_TOOLS_RENDER_FFMPEG_INPUT_H_

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "tools/render/audio_input.h"
#include "tools/render/byte_source.h"
#include "tools/render/probe.h"
#include "tools/render/subprocess.h"

namespace render {

// The sound stream that is meant: number `wanted` of them, from 1, or else the one with most
// channels, the first of equals. Throws Failure that names `path`.
const MediaStream& sound_stream_find(const std::string& path, const MediaInfo& info,
                                     std::optional<int> wanted);

// Decodes at the stream's own rate, in time with the file: what the container delays or leaves out
// is silence, what the encoder has put in front is gone.
class FfmpegInput final : public AudioInput {
 public:
  // Reads `pipe` where there is one, else the file. Throws Failure.
  FfmpegInput(const InputRequest& request, std::unique_ptr<ByteSource> pipe);
  ~FfmpegInput() override;

  std::map<std::string, std::string> tags() const override;
  const MediaInfo* media() const override { return &media_; }
  const MediaStream* stream() const override { return &stream_; }

 private:
  void feed();
  void note_end();
  size_t read_frames(float* frames, size_t count) override;

  std::unique_ptr<ByteSource> pipe_;
  MediaInfo media_;
  MediaStream stream_;
  std::unique_ptr<Subprocess> ffmpeg_;
  std::thread feeder_;
  bool ended_ = false;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_FFMPEG_INPUT_H_
