// SPDX-License-Identifier: Apache-2.0
// Sound on its way in, block by block: from a file or a pipe, whoever decodes it.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_INPUT_H_
#define ORVANE_TOOLS_RENDER_AUDIO_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/limits.h"
#include "tools/render/channel_labels.h"
#include "tools/render/sample_format.h"

namespace render {

struct MediaInfo;
struct MediaStream;

struct InputRequest {
  std::string path;                   // "-": standard input
  std::optional<int> stream = {};     // of the sound, from 1; unset: the one with most channels
  std::optional<RawSample> raw = {};  // samples without a header
  int raw_rate_hz = ORVANE_SAMPLE_RATE;
  size_t raw_channels = 0;
};

class AudioInput {
 public:
  virtual ~AudioInput() = default;
  AudioInput(const AudioInput&) = delete;
  AudioInput& operator=(const AudioInput&) = delete;

  const std::string& path() const { return path_; }
  size_t channels() const { return channels_; }
  int sample_rate_hz() const { return sample_rate_hz_; }

  // As far as is known before the end: 0 where nothing is known, about right from a film.
  uint64_t frames() const { return frames_; }

  // Whether no more frames than those will come.
  bool is_length_certain() const { return is_length_certain_; }

  // Of the file and its samples, in words.
  const std::string& format() const { return format_; }

  const ChannelLabels& labels() const { return labels_; }

  // Reads up to `count` interleaved frames; fewer only at the end. Throws Failure for the first
  // sample that is not a finite number, and Interrupted.
  size_t read(float* frames, size_t count);

  // Frames read.
  uint64_t position() const { return position_; }

  // By the names that FFmpeg gives them: title, artist, album.
  virtual std::map<std::string, std::string> tags() const { return {}; }

  // What ffprobe says of the file, and which of its streams this is; null where libsndfile reads.
  virtual const MediaInfo* media() const { return nullptr; }
  virtual const MediaStream* stream() const { return nullptr; }

  // What is wrong with the sound, complete when read() has come to the end.
  const std::vector<std::string>& warnings() const { return warnings_; }

 protected:
  explicit AudioInput(std::string path) : path_(std::move(path)) {}

  virtual size_t read_frames(float* frames, size_t count) = 0;

  std::string path_;
  size_t channels_ = 0;
  int sample_rate_hz_ = 0;
  uint64_t frames_ = 0;
  bool is_length_certain_ = false;
  std::string format_;
  ChannelLabels labels_;
  std::vector<std::string> warnings_;

 private:
  void check_finite(const float* frames, size_t count) const;

  uint64_t position_ = 0;
};

// Opens WAV, W64, RF64, CAF, FLAC, AIFF, AU, raw samples, and WAV from a pipe in this process, all
// else through ffmpeg. Throws Failure.
std::unique_ptr<AudioInput> audio_input_open(const InputRequest& request);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_INPUT_H_
