// SPDX-License-Identifier: Apache-2.0
#include "tools/render/loudness.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "tools/render/decibels.h"
#include "tools/render/text.h"

namespace render {
namespace {

using enum Speaker;

// Without a side pair the back pair is that of 5.1, which counts more.
int weight_of(Speaker speaker, bool has_sides) {
  switch (speaker) {
    case kFrontLeft:
      return EBUR128_LEFT;
    case kFrontRight:
      return EBUR128_RIGHT;
    case kFrontCenter:
      return EBUR128_CENTER;
    case kSideLeft:
      return EBUR128_Mp090;
    case kSideRight:
      return EBUR128_Mm090;
    case kBackLeft:
      return has_sides ? EBUR128_Mp135 : EBUR128_LEFT_SURROUND;
    case kBackRight:
      return has_sides ? EBUR128_Mm135 : EBUR128_RIGHT_SURROUND;
    case kLfe:
    case kLfe2:
      return EBUR128_UNUSED;
    default:
      return EBUR128_Up000;  // as all others: weight 1
  }
}

}  // namespace

std::string loudness_text(const Loudness& loudness) {
  std::string text = loudness.lufs ? text_format("%.1f LUFS", *loudness.lufs) : "silent";
  if (loudness.peak_dbtp) text += text_format(", true peak %.1f dBTP", *loudness.peak_dbtp);
  return text;
}

LoudnessMeter::LoudnessMeter(const std::vector<Speaker>& channels, int sample_rate_hz)
    : state_(ebur128_init(static_cast<unsigned>(channels.size()),
                          static_cast<unsigned long>(sample_rate_hz),
                          EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK)) {
  if (!state_) throw std::bad_alloc();
  const bool has_sides = std::find(channels.begin(), channels.end(), kSideLeft) != channels.end();
  for (unsigned channel = 0; channel < channels.size(); ++channel) {
    ebur128_set_channel(state_.get(), channel, weight_of(channels[channel], has_sides));
  }
}

void LoudnessMeter::add(const float* frames, size_t count) {
  if (ebur128_add_frames_float(state_.get(), frames, count) != EBUR128_SUCCESS) {
    throw std::bad_alloc();
  }
}

Loudness LoudnessMeter::loudness() const {
  Loudness loudness;
  double lufs = 0.0, peak = 0.0;
  if (ebur128_loudness_global(state_.get(), &lufs) == EBUR128_SUCCESS && std::isfinite(lufs)) {
    loudness.lufs = lufs;
  }
  for (unsigned channel = 0; channel < state_->channels; ++channel) {
    double of_channel = 0.0;
    ebur128_true_peak(state_.get(), channel, &of_channel);
    peak = std::max(peak, of_channel);
  }
  if (peak > 0.0) loudness.peak_dbtp = decibels_from_factor(peak);
  return loudness;
}

}  // namespace render
