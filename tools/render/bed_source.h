// SPDX-License-Identifier: Apache-2.0
// The bed of an audio file.
#ifndef ORVANE_TOOLS_RENDER_BED_SOURCE_H_
#define ORVANE_TOOLS_RENDER_BED_SOURCE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/audio_input.h"
#include "tools/render/bed.h"
#include "tools/render/channel_map.h"
#include "tools/render/loudness.h"
#include "tools/render/resampler.h"

namespace render {

class BedSource final : public Bed {
 public:
  // Keeps references to both, which must outlive it.
  BedSource(AudioInput& reader, const ChannelPlan& plan);

  const Layout& layout() const override { return *plan_.layout; }
  uint64_t expected_frames() const override;
  bool is_length_certain() const override { return reader_.is_length_certain(); }
  std::vector<std::string> warnings() const override { return reader_.warnings(); }
  size_t read(float* bed, size_t count) override;

  // Measures the channels of the file from now on. Null: no more.
  void set_meter(LoudnessMeter* meter) { meter_ = meter; }

 private:
  AudioInput& reader_;
  const ChannelPlan& plan_;
  std::optional<Resampler> resampler_;  // none where the file has the effect's rate
  std::vector<float> file_frames_;
  LoudnessMeter* meter_ = nullptr;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_BED_SOURCE_H_
