// SPDX-License-Identifier: Apache-2.0
#include "tools/render/bed_source.h"

#include <cmath>

#include "tools/render/effect_host.h"

namespace render {

BedSource::BedSource(AudioInput& reader, const ChannelPlan& plan) : reader_(reader), plan_(plan) {
  if (reader.sample_rate_hz() == kEffectRateHz) return;
  resampler_.emplace(reader.path(), reader.sample_rate_hz(), kEffectRateHz, reader.channels(),
                     [this](float* frames, size_t count) { return reader_.read(frames, count); });
}

uint64_t BedSource::expected_frames() const {
  const double ratio = static_cast<double>(kEffectRateHz) / reader_.sample_rate_hz();
  return static_cast<uint64_t>(std::llround(static_cast<double>(reader_.frames()) * ratio));
}

size_t BedSource::read(float* bed, size_t count) {
  file_frames_.resize(count * reader_.channels());
  const size_t done = resampler_ ? resampler_->read(file_frames_.data(), count)
                                 : reader_.read(file_frames_.data(), count);
  if (meter_) meter_->add(file_frames_.data(), done);
  channel_plan_reorder(plan_, file_frames_.data(), bed, done);
  return done;
}

}  // namespace render
