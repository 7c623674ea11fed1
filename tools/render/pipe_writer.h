// SPDX-License-Identifier: Apache-2.0
// WAV on standard output, of a length that nobody knows yet.
#ifndef ORVANE_TOOLS_RENDER_PIPE_WRITER_H_
#define ORVANE_TOOLS_RENDER_PIPE_WRITER_H_

#include <string>
#include <vector>

#include "tools/render/audio_output.h"

namespace render {

class PipeWriter final : public AudioOutput {
 public:
  // Writes the header. Throws as write().
  explicit PipeWriter(const AudioSpec& spec);

  std::string format() const override;

  // Nothing is held back. Throws Interrupted of SIGPIPE when nobody reads any more.
  void write(const float* frames, size_t count) override;
  void commit() override {}

 private:
  void write_header(const AudioSpec& spec);
  void write_bytes(const unsigned char* bytes, size_t size);

  size_t channels_;
  SampleFormat format_;
  std::vector<unsigned char> bytes_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PIPE_WRITER_H_
