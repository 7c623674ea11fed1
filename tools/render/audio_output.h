// SPDX-License-Identifier: Apache-2.0
// Sound for two ears on its way out: to a file, a film or a pipe.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_OUTPUT_H_
#define ORVANE_TOOLS_RENDER_AUDIO_OUTPUT_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/limits.h"
#include "tools/render/speakers.h"

namespace render {

struct MediaInfo;
struct MediaStream;

enum class SampleFormat { kFloat32, kInt24, kInt16 };

// What was rendered, for outputs that take more from it than the sound.
struct OutputSource {
  std::string path;                     // empty: a pipe, raw samples, or none
  const MediaInfo* media = nullptr;     // null: libsndfile reads it
  const MediaStream* stream = nullptr;  // of media, the one that was rendered
  std::map<std::string, std::string> tags;
};

struct AudioSpec {
  size_t channels = 2;
  int sample_rate_hz = ORVANE_SAMPLE_RATE;
  uint64_t expected_frames = 0;               // 0: unknown; a .wav of 4 GiB or more becomes RF64
  std::optional<SampleFormat> sample_format;  // unset: float, or 24-bit where the file has no float
  std::vector<Speaker> speakers;              // written as the channel map unless empty
  std::string codec;                          // for FFmpeg's containers; empty: what suits it
  bool replace = false;                       // a film loses the stream that was rendered
  OutputSource source;
};

class AudioOutput {
 public:
  virtual ~AudioOutput() = default;
  AudioOutput(const AudioOutput&) = delete;
  AudioOutput& operator=(const AudioOutput&) = delete;

  // Of the samples, in words.
  virtual std::string format() const = 0;

  // Appends interleaved frames; integer samples beyond full scale are clipped. Throws Failure or
  // Interrupted.
  virtual void write(const float* frames, size_t count) = 0;

  // Completes the output. Without this call the destructor leaves no file behind. Throws Failure
  // or Interrupted.
  virtual void commit() = 0;

  // What could not be taken over from the source.
  virtual std::vector<std::string> notices() const { return {}; }

 protected:
  AudioOutput() = default;
};

// "-" is WAV on standard output; .wav, .w64, .rf64, .caf, .aiff and .flac are written here, and
// through ffmpeg what its containers hold: .mkv, .mp4, .mov, .m4a, .opus and more. Throws Failure.
std::unique_ptr<AudioOutput> audio_output_open(const std::string& path, const AudioSpec& spec);

// Whether the path's extension is one of those.
bool audio_output_is_known(const std::string& path);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_OUTPUT_H_
