// SPDX-License-Identifier: Apache-2.0
// An output at another sample rate than the effect's.
#ifndef ORVANE_TOOLS_RENDER_RATE_OUTPUT_H_
#define ORVANE_TOOLS_RENDER_RATE_OUTPUT_H_

#include <memory>
#include <string>
#include <vector>

#include "tools/render/audio_output.h"

struct soxr;

namespace render {

class RateOutput final : public AudioOutput {
 public:
  // Converts stereo from the effect's rate to that of `output`.
  RateOutput(std::unique_ptr<AudioOutput> output, const std::string& path, int rate_hz);

  std::string format() const override { return output_->format(); }
  void write(const float* frames, size_t count) override;
  void commit() override;
  std::vector<std::string> notices() const override { return output_->notices(); }

 private:
  void convert(const float* frames, size_t count);

  std::unique_ptr<AudioOutput> output_;
  std::unique_ptr<soxr, void (*)(soxr*)> soxr_;
  std::vector<float> converted_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RATE_OUTPUT_H_
