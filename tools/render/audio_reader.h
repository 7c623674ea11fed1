// Reads the audio files that libsndfile knows, in order and block by block.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_READER_H_
#define ORVANE_TOOLS_RENDER_AUDIO_READER_H_

#include <sndfile.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/render/channel_labels.h"

namespace render {

class AudioReader {
 public:
  // Opens a regular file that holds audio, else throws Failure.
  explicit AudioReader(const std::string& path);

  const std::string& path() const { return path_; }
  size_t channels() const { return static_cast<size_t>(info_.channels); }
  int sample_rate_hz() const { return info_.samplerate; }
  uint64_t frames() const { return static_cast<uint64_t>(info_.frames); }

  // In libsndfile's words: "WAV (Microsoft), 32 bit float".
  std::string format() const;

  // As the file's format and its channel map have them.
  const ChannelLabels& labels() const { return labels_; }

  // Reads up to `count` interleaved frames; returns how many, 0 at the end. Throws Failure for a
  // file that ends before its header says, and for the first sample that is not a finite number.
  size_t read(float* frames, size_t count);

 private:
  void check_finite(const float* frames, size_t count) const;

  std::string path_;
  int fd_;  // file_ closes it
  SF_INFO info_ = {};
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;
  ChannelLabels labels_;
  uint64_t position_ = 0;  // frames read
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_READER_H_
