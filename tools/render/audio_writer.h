// SPDX-License-Identifier: Apache-2.0
// Writes audio files; nothing appears under the file's name before it is complete.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_
#define ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_

#include <sndfile.h>

#include <cstddef>
#include <memory>
#include <string>

#include "tools/render/audio_output.h"
#include "tools/render/pending_file.h"

namespace render {

class AudioWriter final : public AudioOutput {
 public:
  // The container follows the extension: .wav, .w64, .rf64, .caf, .aiff or .flac. Throws Failure.
  AudioWriter(const std::string& path, const AudioSpec& spec);

  // Whether the extension is one of these.
  static bool writes(const std::string& path);

  std::string format() const override;
  void write(const float* frames, size_t count) override;
  void commit() override;

 private:
  PendingFile pending_;
  SampleFormat sample_format_;
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;  // writes to pending_, so it is closed first
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_WRITER_H_
