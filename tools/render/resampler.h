// SPDX-License-Identifier: Apache-2.0
// Sample-rate conversion of interleaved frames, pulled block by block.
#ifndef ORVANE_TOOLS_RENDER_RESAMPLER_H_
#define ORVANE_TOOLS_RENDER_RESAMPLER_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct soxr;

namespace render {

// soxr's converter for interleaved floats: linear phase, high quality (20 bits). `subject`
// names the file in a Failure. For soxr_delete().
soxr* resampler_create(const std::string& subject, double input_rate_hz, double output_rate_hz,
                       size_t channels);

class Resampler {
 public:
  // Fills a buffer with up to that many interleaved frames; returns how many, 0 at the end.
  using Pull = std::function<size_t(float* frames, size_t count)>;

  // As resampler_create().
  Resampler(std::string subject, double input_rate_hz, double output_rate_hz, size_t channels,
            Pull pull);

  // Delivers exactly `count` frames until the end of the input, then fewer, then 0.
  size_t read(float* frames, size_t count);

 private:
  void refill();

  std::string subject_;
  size_t channels_;
  Pull pull_;
  std::unique_ptr<soxr, void (*)(soxr*)> soxr_;
  std::vector<float> input_;
  size_t input_begin_ = 0;  // unread frames of input_
  size_t input_end_ = 0;
  bool ended_ = false;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RESAMPLER_H_
