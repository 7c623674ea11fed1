// SPDX-License-Identifier: Apache-2.0
// Sound from a pipe that this process decodes itself: WAV and its kin, and raw samples.
#ifndef ORVANE_TOOLS_RENDER_STREAM_INPUT_H_
#define ORVANE_TOOLS_RENDER_STREAM_INPUT_H_

#include <memory>
#include <vector>

#include "tools/render/audio_input.h"
#include "tools/render/byte_source.h"

namespace render {

// Reads on to the end where the header leaves the length open, and where sound goes on after one of
// 32 bits.
class StreamInput final : public AudioInput {
 public:
  // `request.raw`, or a WAV header at the beginning of `source`. Throws Failure.
  StreamInput(std::unique_ptr<ByteSource> source, const InputRequest& request);

 private:
  void read_header();
  bool continues();
  size_t read_frames(float* frames, size_t count) override;

  std::unique_ptr<ByteSource> source_;
  RawSample sample_ = RawSample::kFloat32;
  bool is_open_ended_ = true;
  uint64_t bytes_left_ = 0;     // of the length that the header says
  size_t alignment_bytes_ = 1;  // of the chunk after it
  size_t padding_bytes_ = 0;
  bool may_wrap_ = false;  // that length
  bool ended_ = false;
  std::vector<unsigned char> bytes_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_STREAM_INPUT_H_
