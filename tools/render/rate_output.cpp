// SPDX-License-Identifier: Apache-2.0
#include "tools/render/rate_output.h"

#include <soxr.h>

#include <utility>

#include "tools/render/effect_host.h"
#include "tools/render/resampler.h"

namespace render {

RateOutput::RateOutput(std::unique_ptr<AudioOutput> output, const std::string& path, int rate_hz)
    : output_(std::move(output)),
      soxr_(resampler_create(path, kEffectRateHz, rate_hz, 2), soxr_delete),
      converted_(2 * kEffectMaxFrames) {}

// A null pointer stands for the end.
void RateOutput::convert(const float* frames, size_t count) {
  for (;;) {
    size_t consumed = 0, done = 0;
    soxr_process(soxr_.get(), frames, count, &consumed, converted_.data(), converted_.size() / 2,
                 &done);
    if (done > 0) output_->write(converted_.data(), done);
    if (frames) frames += 2 * consumed;
    count -= consumed;
    if (done == 0 && count == 0) return;
  }
}

void RateOutput::write(const float* frames, size_t count) {
  if (count > 0) convert(frames, count);
}

void RateOutput::commit() {
  convert(nullptr, 0);
  output_->commit();
}

}  // namespace render
