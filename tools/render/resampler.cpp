// SPDX-License-Identifier: Apache-2.0
#include "tools/render/resampler.h"

#include <soxr.h>

#include <utility>

#include "tools/render/failure.h"

namespace render {
namespace {

// 20 bits: errors 120 dB below full scale. soxr computes more than that in double precision, which
// would take half as long again and more than all else in a dry rendering.
constexpr unsigned long kQuality = SOXR_20_BITQ;
constexpr size_t kInputFrames = 1024;  // 21 ms, so that a pipe does not wait

}  // namespace

soxr* resampler_create(const std::string& subject, double input_rate_hz, double output_rate_hz,
                       size_t channels) {
  const soxr_quality_spec_t quality = soxr_quality_spec(kQuality, 0);
  soxr_error_t error = nullptr;
  soxr_t resampler = soxr_create(input_rate_hz, output_rate_hz, static_cast<unsigned>(channels),
                                 &error, nullptr, &quality, nullptr);
  if (error) throw Failure(subject, std::string("cannot resample: ") + soxr_strerror(error));
  return resampler;
}

Resampler::Resampler(std::string subject, double input_rate_hz, double output_rate_hz,
                     size_t channels, Pull pull)
    : subject_(std::move(subject)),
      channels_(channels),
      pull_(std::move(pull)),
      soxr_(resampler_create(subject_, input_rate_hz, output_rate_hz, channels), soxr_delete),
      input_(kInputFrames * channels) {}

void Resampler::refill() {
  input_begin_ = 0;
  input_end_ = pull_(input_.data(), kInputFrames);
  ended_ = input_end_ == 0;
}

size_t Resampler::read(float* frames, size_t count) {
  size_t produced = 0;
  while (produced < count) {
    if (!ended_ && input_begin_ == input_end_) refill();
    // A null input tells soxr that the end has come and drains its delay.
    const float* input = ended_ ? nullptr : input_.data() + input_begin_ * channels_;
    size_t consumed = 0;
    size_t done = 0;
    const soxr_error_t error =
        soxr_process(soxr_.get(), input, input_end_ - input_begin_, &consumed,
                     frames + produced * channels_, count - produced, &done);
    if (error) throw Failure(subject_, std::string("cannot resample: ") + soxr_strerror(error));
    input_begin_ += consumed;
    produced += done;
    if (ended_ && done == 0) break;
  }
  return produced;
}

}  // namespace render
