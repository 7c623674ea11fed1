// Writes audio files; nothing appears under the file's name before it is complete.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_
#define ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/limits.h"
#include "tools/render/pending_file.h"
#include "tools/render/speakers.h"

namespace render {

enum class SampleFormat { kFloat32, kInt24 };

struct AudioSpec {
  size_t channels = 2;
  int sample_rate_hz = ORVANE_SAMPLE_RATE;
  uint64_t expected_frames = 0;               // a .wav of 4 GiB or more becomes RF64
  std::optional<SampleFormat> sample_format;  // unset: float, or 24-bit where the file has no float
  std::vector<Speaker> speakers;              // written as the channel map unless empty
};

class AudioWriter {
 public:
  // The container follows the extension: .wav, .w64, .rf64, .caf or .flac. Throws Failure.
  AudioWriter(const std::string& path, const AudioSpec& spec);

  SampleFormat sample_format() const { return sample_format_; }

  // Appends interleaved frames; 24-bit samples beyond full scale are clipped. Throws Failure.
  void write(const float* frames, size_t count);

  // Completes the file. Without this call the destructor leaves nothing behind. Throws Failure.
  void commit();

 private:
  PendingFile pending_;
  SampleFormat sample_format_;
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;  // writes to pending_, so it is closed first
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_
